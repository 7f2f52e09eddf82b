#include "stage/desktop/drawing/scene_shapes.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace cadencora::stage {

namespace {

class Shaper {
public:
    Shaper(const Scene& scene, double time, const View& view, const Sight& sight)
        : scene_(scene), time_(time), view_(view), sight_(sight) {
        shapes_.world = worldTransforms(scene, time);
    }

    SceneShapes shapes() {
        for (std::size_t i = 0; i < scene_.itemCount(); ++i) {
            const ItemId id = Scene::itemAt(i);
            const Item& item = scene_.item(id);
            const ItemId object = item.type == ItemType::object ? id : item.owner;
            if (object != ItemId::none && isDissolved(object)) continue;
            if (item.mesh && sight_.meshes) addSurface(id);
            if (!sight_.bones) continue;
            switch (item.type) {
            case ItemType::object:
                if (!item.mesh) addMark(id);
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
    const Affine& place(ItemId id) const { return shapes_.world[Scene::positionOf(id)]; }
    Vec3 point(ItemId id) const { return transformed(place(id), scene_.item(id).pivot); }

    // The bones of an object follow each other.
    bool isDissolved(ItemId object) {
        if (object != asked_) isDissolved_ = isHidden(scene_, object, time_);
        asked_ = object;
        return isDissolved_;
    }

    void addSurface(ItemId id) {
        const Mesh& mesh = *scene_.item(id).mesh;
        const Mat3& m = place(id).linear;
        const Vec3 normal = cross({m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]});
        const bool isMirrored = !mesh.skin && dot(normal, {m[0][2], m[1][2], m[2][2]}) < 0;
        shapes_.surfaces.push_back(
            {id, mesh.shape, meshPoints(scene_, id, time_, shapes_.world),
             sight_.normals ? meshNormals(scene_, id, shapes_.world) : std::vector<MeshPoint>(),
             isMirrored});
    }

    void addMark(ItemId id) { shapes_.marks.push_back({id, point(id)}); }

    // To each joint below it and to each end site; else on as its own joint came from the one
    // above.
    void addBone(ItemId id) {
        const Item& bone = scene_.item(id);
        const Vec3 from = point(id);
        const std::size_t before = shapes_.bones.size();
        for (ItemId child = bone.firstChild; child != ItemId::none;
             child = scene_.item(child).nextSibling)
            if (scene_.item(child).type == ItemType::bone) addBone(id, from, point(child));
        for (const Vec3& end : bone.joint.endSites)
            addBone(id, from, transformed(place(id), bone.pivot + end));
        if (shapes_.bones.size() > before) return;
        const bool inChain =
            bone.parent != ItemId::none && scene_.item(bone.parent).type == ItemType::bone;
        if (inChain) addBone(id, from, from + 0.5 * (from - point(bone.parent)));
        if (shapes_.bones.size() == before) addMark(id);
    }

    void addBone(ItemId id, const Vec3& from, const Vec3& to) {
        if (from != to) shapes_.bones.push_back({id, from, to});
    }

    // Lines in an item's own axes, around its pivot; the sign is two units large.
    void addSign(ItemId id, std::initializer_list<std::pair<Vec3, Vec3>> lines) {
        constexpr double signPixels = 14; // of a unit
        const Vec3 middle = point(id);
        const double unit = signPixels * view_.pixelAt(middle);
        Mat3 axes = place(id).linear;
        for (std::size_t c = 0; c < 3; ++c) {
            const double size = length({axes[0][c], axes[1][c], axes[2][c]});
            for (std::size_t r = 0; r < 3 && size > 0; ++r)
                axes[r][c] /= size;
        }
        for (const auto& [from, to] : lines)
            shapes_.edges.push_back(
                {id, middle + unit * product(axes, from), middle + unit * product(axes, to)});
    }

    // A star, and a ray that shows where it shines.
    void addLight(ItemId id) {
        constexpr double r = 0.45, d = 0.26; // along an axis, and along each of three
        addSign(id, {{{-r, 0, 0}, {r, 0, 0}},
                     {{0, -r, 0}, {0, r, 0}},
                     {{0, 0, -1.4}, {0, 0, r}},
                     {{-d, -d, -d}, {d, d, d}},
                     {{-d, d, -d}, {d, -d, d}},
                     {{-d, -d, d}, {d, d, -d}},
                     {{-d, d, d}, {d, -d, -d}}});
    }

    // A pyramid, with a tip that shows which side is up.
    void addCamera(ItemId id) {
        constexpr Vec3 eye{}, a{-0.5, -0.35, -1}, b{0.5, -0.35, -1}, c{0.5, 0.35, -1},
            d{-0.5, 0.35, -1}, tip{0, 0.6, -1};
        addSign(id, {{eye, a},
                     {eye, b},
                     {eye, c},
                     {eye, d},
                     {a, b},
                     {b, c},
                     {c, d},
                     {d, a},
                     {{-0.2, 0.4, -1}, tip},
                     {tip, {0.2, 0.4, -1}}});
    }

    const Scene& scene_;
    const double time_;
    const View& view_;
    const Sight sight_;
    ItemId asked_ = ItemId::none; // by isDissolved()
    bool isDissolved_ = false;
    SceneShapes shapes_;
};

// The smallest box around points.
struct Box {
    Vec3 low{HUGE_VAL, HUGE_VAL, HUGE_VAL}, high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};

    void cover(const Vec3& point) {
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = std::min(low[i], point[i]);
            high[i] = std::max(high[i], point[i]);
        }
    }
    void cover(const Scene& scene, ItemId id, double time, std::span<const Affine> world,
               bool withMesh) {
        const Item& item = scene.item(id);
        if (item.mesh && withMesh)
            for (const Vec3& point : meshPoints(scene, id, time, world))
                cover(point);
        if (item.mesh && item.type == ItemType::object) return; // a skin may be far from its node
        cover(transformed(world[Scene::positionOf(id)], item.pivot));
        for (const Vec3& end : item.joint.endSites)
            cover(transformed(world[Scene::positionOf(id)], item.pivot + end));
        if (item.type != ItemType::bone) return;
        for (ItemId child = item.firstChild; child != ItemId::none;
             child = scene.item(child).nextSibling)
            cover(transformed(world[Scene::positionOf(child)], scene.item(child).pivot));
    }
    Sphere sphere() const {
        if (low[0] > high[0]) return {};
        const double radius = length(high - low) / 2;
        return {0.5 * (low + high), radius > 1e-6 ? radius : 1};
    }
};

std::vector<ItemId> allItems(const Scene& scene) {
    std::vector<ItemId> all;
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        all.push_back(Scene::itemAt(i));
    return all;
}

} // namespace

SceneShapes shapesAt(const Scene& scene, double time, const View& view, const Sight& sight) {
    return Shaper(scene, time, view, sight).shapes();
}

std::optional<Scene> sceneBefore(const Scene& scene, const Journal& journal) {
    const JournalEntry* edit = journal.lastEdit();
    if (!edit || edit->envelopes.empty()) return std::nullopt;
    Scene before = scene.snapshot();
    for (const JournalEntry::EnvelopeCopy& copy : edit->envelopes)
        assign(before.mutableEnvelope(copy.id), copy.other);
    return before;
}

void keepMoved(SceneShapes& shapes, const SceneShapes& now) {
    // What an edit only rounds has not moved.
    const auto isNear = [](const Vec3& a, const Vec3& b, double size) {
        return length(a - b) <= 1e-4 * size;
    };
    std::vector<bool> moved(shapes.world.size());
    for (std::size_t i = 0; i < moved.size(); ++i) {
        const Affine &before = shapes.world[i], &after = now.world[i];
        double size = length(before.offset);
        bool same = true;
        for (std::size_t r = 0; r < 3; ++r) {
            size = std::max(size, length(before.linear[r]));
            same = same && isNear(before.linear[r], after.linear[r], length(before.linear[r]));
        }
        moved[i] = !same || !isNear(before.offset, after.offset, size);
    }
    const auto isMoved = [&](const auto& shape) { return moved[Scene::positionOf(shape.item)]; };
    std::erase_if(shapes.bones, [&](const Bone& bone) { return !isMoved(bone); });
    std::erase_if(shapes.marks, [&](const Mark& mark) { return !isMoved(mark); });
    std::erase_if(shapes.edges, [&](const Edge& edge) { return !isMoved(edge); });
    std::size_t n = 0; // both list the same meshes in the same order
    std::erase_if(shapes.surfaces, [&](const Surface& surface) {
        while (n < now.surfaces.size() && now.surfaces[n].item != surface.item)
            ++n;
        if (n == now.surfaces.size()) return false;
        const std::vector<Vec3>& points = now.surfaces[n].points;
        return std::ranges::equal(surface.points, points, [&](const Vec3& a, const Vec3& b) {
            return isNear(a, b, length(a));
        });
    });
}

Sphere sphereAround(const Scene& scene, const std::vector<ItemId>& items, double time) {
    const auto world = worldTransforms(scene, time);
    Box box;
    for (const ItemId id : items)
        box.cover(scene, id, time, world, true);
    return box.sphere();
}

Sphere sphereAroundAll(const Scene& scene, double time) {
    return sphereAround(scene, allItems(scene), time);
}

Sphere sphereAroundMotion(const Scene& scene) {
    // Of joints at many times, of meshes at few, since they have a thousand times as many points.
    constexpr int looks = 24, looksAtMeshes = 4;
    // Lights, cameras and empty objects may be far away from what is to be seen.
    std::vector<ItemId> all = allItems(scene);
    const auto hasShape = [&](ItemId id) {
        return scene.item(id).mesh || scene.item(id).type == ItemType::bone;
    };
    if (std::ranges::any_of(all, hasShape)) std::erase_if(all, std::not_fn(hasShape));
    const double first = scene.rate.timeOf(scene.previewFirst);
    const double last = scene.rate.timeOf(scene.previewLast);
    Box box;
    for (int i = 0; i <= looks; ++i) {
        const double time = first + (last - first) * i / looks;
        const auto world = worldTransforms(scene, time);
        for (const ItemId id : all)
            box.cover(scene, id, time, world, i % (looks / looksAtMeshes) == 0);
        if (first == last) break;
    }
    return box.sphere();
}

std::vector<Vec3> trailOf(const Scene& scene, ItemId item) {
    constexpr std::int64_t mostPoints = 2000;
    const std::int64_t first = scene.previewFirst, last = std::max(scene.previewLast, first);
    const std::int64_t step = 1 + (last - first) / mostPoints;
    std::vector<Vec3> trail;
    for (std::int64_t frame = first; frame <= last; frame += step)
        trail.push_back(worldPosition(scene, item, scene.rate.timeOf(frame)));
    return trail;
}

} // namespace cadencora::stage
