#include "stage/desktop/drawing/scene_shapes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace cadencora::stage {

namespace {

// Of any length, to either side.
Vec3 normalOf(const Face& face) {
    return cross(face.corners[1] - face.corners[0], face.corners[2] - face.corners[0]);
}
class Shaper {
public:
    Shaper(const Scene& scene, double time, double unit)
        : scene_(scene), time_(time), unit_(unit), world_(worldTransforms(scene, time)) {
        for (std::size_t i = 0; i < scene.itemCount(); ++i)
            hasMeshes_ = hasMeshes_ || scene.item(Scene::itemAt(i)).mesh;
    }

    SceneShapes shapes() {
        for (std::size_t i = 0; i < scene_.itemCount(); ++i) {
            const ItemId id = Scene::itemAt(i);
            const Item& item = scene_.item(id);
            const ItemId object = item.type == ItemType::object ? id : item.owner;
            if (object != ItemId::none && isHidden(scene_, object, time_)) continue;
            if (item.mesh) addSurface(id);
            switch (item.type) {
            case ItemType::object:
                if (!item.mesh) addCube(id);
                break;
            case ItemType::bone:
                addBone(id);
                break;
            case ItemType::light:
                addLight(id);
                break;
            case ItemType::camera:
                addCamera(id);
                break;
            }
        }
        return std::move(shapes_);
    }

private:
    const Affine& place(ItemId id) const { return world_[Scene::positionOf(id)]; }
    Vec3 point(ItemId id) const { return transformed(place(id), scene_.item(id).pivot); }
    // A point in an item's own axes, around its pivot.
    Vec3 around(ItemId id, const Vec3& own) const {
        return transformed(place(id), scene_.item(id).pivot + unit_ * own);
    }

    void addSurface(ItemId id) {
        const Mesh& mesh = *scene_.item(id).mesh;
        const Mat3& m = place(id).linear;
        const Vec3 normal = cross({m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]});
        const bool isMirrored = !mesh.skin && dot(normal, {m[0][2], m[1][2], m[2][2]}) < 0;
        shapes_.surfaces.push_back(
            {id, mesh.shape, meshPoints(scene_, id, time_, world_), isMirrored});
    }

    // By what a cube's edges of one unit are shortened.
    double cubeShare(ItemId id) const {
        const double most = hasMeshes_ ? 0.3 : 30; // units
        const Mat3& m = place(id).linear;
        double longest = 0;
        for (std::size_t c = 0; c < 3; ++c)
            longest = std::max(longest, length({m[0][c], m[1][c], m[2][c]}));
        return longest <= most ? 1 : std::min(most, 1.0) / longest;
    }

    void addCube(ItemId id) {
        const double half = 0.5 * cubeShare(id);
        constexpr int sides[6][4] = {{0, 1, 3, 2}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                     {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 3, 7, 5}};
        for (const auto& side : sides) {
            Face face{id, {}, around(id, {})};
            for (const int corner : side)
                face.corners.push_back(
                    around(id, {(corner & 1 ? half : -half), (corner & 2 ? half : -half),
                                (corner & 4 ? half : -half)}));
            shapes_.faces.push_back(std::move(face));
        }
    }

    // From the bone's joint to each joint below it; a last bone goes on to its end sites, or on as
    // its own joint came from the one above.
    void addBone(ItemId id) {
        const Item& bone = scene_.item(id);
        const Vec3 from = point(id);
        bool drawn = false;
        for (ItemId child = bone.firstChild; child != ItemId::none;
             child = scene_.item(child).nextSibling)
            if (scene_.item(child).type == ItemType::bone) {
                addTaper(id, from, point(child));
                drawn = true;
            }
        for (const Vec3& end : bone.joint.endSites) {
            addTaper(id, from, transformed(place(id), bone.pivot + end));
            drawn = true;
        }
        if (drawn) return;
        const bool inChain =
            bone.parent != ItemId::none && scene_.item(bone.parent).type == ItemType::bone;
        addTaper(id, from,
                 inChain ? from + 0.5 * (from - point(bone.parent)) : around(id, {0, 1, 0}));
    }

    void addTaper(ItemId id, const Vec3& from, const Vec3& to) {
        const Vec3 along = to - from;
        const double size = length(along);
        if (!(size > 1e-9)) return;
        const Vec3 way = (1 / size) * along;
        const Vec3 helper = std::abs(way[1]) < 0.9 ? Vec3{0, 1, 0} : Vec3{1, 0, 0};
        Vec3 side = cross(way, helper);
        side = (0.08 * size / length(side)) * side;
        const Vec3 other = cross(way, side);
        const Vec3 middle = from + 0.15 * along;
        const Vec3 ring[4] = {middle + side, middle + other, middle - side, middle - other};
        for (std::size_t i = 0; i < 4; ++i) {
            const Vec3& next = ring[(i + 1) % 4];
            shapes_.faces.push_back({id, {from, ring[i], next}, middle});
            shapes_.faces.push_back({id, {to, ring[i], next}, middle});
        }
    }

    void addEdge(ItemId id, const Vec3& a, const Vec3& b) {
        shapes_.edges.push_back({id, around(id, a), around(id, b)});
    }

    // A ball of three circles, and a ray that shows where it shines.
    void addLight(ItemId id) {
        constexpr int steps = 12;
        constexpr double radius = 0.35;
        for (std::size_t axis = 0; axis < 3; ++axis)
            for (int i = 0; i < steps; ++i) {
                Vec3 ends[2]{};
                for (int end = 0; end < 2; ++end) {
                    const double angle = (i + end) * 2 * std::numbers::pi / steps;
                    ends[end][axis] = radius * std::cos(angle);
                    ends[end][(axis + 1) % 3] = radius * std::sin(angle);
                }
                addEdge(id, ends[0], ends[1]);
            }
        addEdge(id, {0, 0, -radius}, {0, 0, -1.2});
    }

    void addCamera(ItemId id) {
        constexpr Vec3 corners[4] = {
            {-0.5, -0.35, -1}, {0.5, -0.35, -1}, {0.5, 0.35, -1}, {-0.5, 0.35, -1}};
        for (std::size_t i = 0; i < 4; ++i) {
            addEdge(id, {0, 0, 0}, corners[i]);
            addEdge(id, corners[i], corners[(i + 1) % 4]);
        }
        addEdge(id, {-0.2, 0.4, -1}, {0, 0.6, -1}); // which side is up
        addEdge(id, {0, 0.6, -1}, {0.2, 0.4, -1});
    }

    const Scene& scene_;
    double time_;
    double unit_;
    std::vector<Affine> world_;
    bool hasMeshes_ = false;
    SceneShapes shapes_;
};

} // namespace

double lightOf(const Face& face) {
    constexpr Vec3 light{0.36, 0.8, 0.48};
    const Vec3 normal = normalOf(face);
    const double size = length(normal);
    return size > 0 ? 0.45 + 0.55 * std::abs(dot(normal, light)) / size : 1;
}

bool facesEye(const Face& face, const Vec3& eye) {
    const Vec3 normal = normalOf(face);
    return (dot(normal, eye - face.corners[0]) > 0) ==
           (dot(normal, face.corners[0] - face.inside) > 0);
}

SceneShapes shapesAt(const Scene& scene, double time, double unit) {
    return Shaper(scene, time, unit).shapes();
}

Sphere sphereAround(const Scene& scene, const std::vector<ItemId>& items, double time) {
    if (items.empty()) return {};
    const auto world = worldTransforms(scene, time);
    Vec3 low, high;
    low.fill(HUGE_VAL);
    high.fill(-HUGE_VAL);
    const auto cover = [&](const Vec3& point) {
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], point[i]);
            high[i] = std::max(high[i], point[i]);
        }
    };
    for (const ItemId id : items) {
        const Item& item = scene.item(id);
        if (item.mesh)
            for (const Vec3& point : meshPoints(scene, id, time, world))
                cover(point);
        if (item.mesh && item.type == ItemType::object) continue; // a skin may be far from its node
        cover(transformed(world[Scene::positionOf(id)], item.pivot));
        for (const Vec3& end : item.joint.endSites)
            cover(transformed(world[Scene::positionOf(id)], item.pivot + end));
        if (item.type != ItemType::bone) continue;
        for (ItemId child = item.firstChild; child != ItemId::none;
             child = scene.item(child).nextSibling)
            cover(transformed(world[Scene::positionOf(child)], scene.item(child).pivot));
    }
    const double radius = length(high - low) / 2;
    return {0.5 * (low + high), radius > 1e-6 ? radius : 1};
}

Sphere sphereAroundAll(const Scene& scene, double time) {
    std::vector<ItemId> all;
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        all.push_back(Scene::itemAt(i));
    return sphereAround(scene, all, time);
}

} // namespace cadencora::stage
