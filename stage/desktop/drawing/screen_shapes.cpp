#include "stage/desktop/drawing/screen_shapes.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

namespace cadencora::stage {

namespace {

// Twice the area of a triangle, negative where it goes anticlockwise on the screen.
double area(const ScreenPoint& a, const ScreenPoint& b, const ScreenPoint& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool isInFront(const ScreenPoint& point) {
    return point.depth > 0;
}

class ScreenShaper {
public:
    ScreenShaper(const OrbitCamera& camera, double width, double height,
                 const std::vector<bool>& selected, MeshLines lines)
        : view_(camera, width, height), width_(width), height_(height), selected_(selected),
          lines_(lines) {}

    ScreenPicture picture(const SceneShapes& from) {
        constexpr std::size_t mostEdges = 120'000;
        std::size_t edges = 0;
        for (const Surface& surface : from.surfaces)
            edges += surface.shape->edges.size();
        step_ = 1 + edges / mostEdges;
        for (const Surface& surface : from.surfaces)
            addSurface(surface);
        drawn_.shapes.reserve(from.bones.size() + from.marks.size() + from.edges.size());
        for (const Bone& bone : from.bones)
            addBone(bone);
        for (const Mark& mark : from.marks)
            if (const auto point = view_.point(mark.at)) addMark(mark.item, *point, markRadius);
        for (const Edge& edge : from.edges)
            if (const auto line = view_.line(edge.from, edge.to))
                add(edge.item, 2, {line->first, line->second});
        std::ranges::stable_sort(drawn_.meshes, std::greater(), &ScreenMesh::depth);
        sortShapes();
        return std::move(drawn_);
    }

private:
    static constexpr double markRadius = 4.5, smallMark = 2.5; // pixels

    bool isSelected(ItemId item) const {
        const std::size_t at = Scene::positionOf(item);
        return at < selected_.size() && selected_[at];
    }

    // By small keys: the shapes themselves take long to move about.
    void sortShapes() {
        struct Key {
            double depth;
            bool isSelected;
            std::uint32_t at;
        };
        std::vector<Key> keys;
        keys.reserve(drawn_.shapes.size());
        for (const ScreenShape& shape : drawn_.shapes)
            keys.push_back(
                {shape.depth, shape.isSelected, static_cast<std::uint32_t>(keys.size())});
        std::ranges::sort(keys, [](const Key& a, const Key& b) {
            return a.isSelected != b.isSelected ? b.isSelected
                   : a.depth != b.depth         ? a.depth > b.depth
                                                : a.at < b.at;
        });
        std::vector<ScreenShape> sorted;
        sorted.reserve(keys.size());
        for (const Key& key : keys)
            sorted.push_back(drawn_.shapes[key.at]);
        drawn_.shapes = std::move(sorted);
    }

    void add(ItemId item, int corners, const std::array<ScreenPoint, 4>& points) {
        double depth = 0;
        for (std::size_t i = 0; i < static_cast<std::size_t>(corners); ++i)
            depth += points[i].depth / corners;
        drawn_.shapes.push_back({item, depth, isSelected(item), corners, points});
    }

    void addMark(ItemId item, const ScreenPoint& at, double radius) {
        const auto point = [&](double dx, double dy) {
            return ScreenPoint{at.x + dx * radius, at.y + dy * radius, at.depth};
        };
        add(item, 4, {point(0, -1), point(1, 0), point(0, 1), point(-1, 0)});
    }

    // Also one that is seen from its end has a mark.
    void addBone(const Bone& bone) {
        const auto line = view_.line(bone.from, bone.to);
        if (!line) return;
        const auto& [from, to] = *line;
        const double dx = to.x - from.x, dy = to.y - from.y, size = std::hypot(dx, dy);
        if (!(size > 2 * smallMark)) return addMark(bone.item, from, smallMark);
        constexpr double widest = 0.16; // along the bone
        const double half = std::clamp(0.05 * size, 1.4, 3.5) / size;
        const double x = from.x + widest * dx, y = from.y + widest * dy;
        const double depth = from.depth + widest * (to.depth - from.depth);
        add(bone.item, 4,
            {from, ScreenPoint{x + half * dy, y - half * dx, depth}, to,
             ScreenPoint{x - half * dy, y + half * dx, depth}});
    }

    void addSurface(const Surface& surface) {
        ScreenMesh drawn;
        drawn.item = surface.item;
        drawn.isSelected = isSelected(surface.item);
        drawn.shape = surface.shape;
        const bool all = lines_ == MeshLines::all;
        if (!all && !(lines_ == MeshLines::selectedOutlines && drawn.isSelected)) return;
        drawn.points.reserve(surface.points.size());
        for (const Vec3& point : surface.points) {
            drawn.points.push_back(view_.point(point).value_or(ScreenPoint{}));
            drawn.depth = std::max(drawn.depth, drawn.points.back().depth);
        }
        if (drawn.depth == 0) return;
        std::vector<bool> faces;
        faces.reserve(surface.shape->triangles.size());
        for (const MeshTriangle& triangle : surface.shape->triangles)
            faces.push_back(isFacing(drawn.points, triangle, surface.isMirrored));
        for (std::size_t i = 0; i < surface.shape->edges.size(); ++i) {
            const MeshEdge& edge = surface.shape->edges[i];
            const auto [left, right] = edge.triangles;
            const bool one = left == MeshEdge::none || faces[left];
            const bool other = right == MeshEdge::none ? one : faces[right];
            const bool isOutline = one != other || right == MeshEdge::none;
            if (isOutline && drawn.isSelected) addLine(surface, edge, drawn.points, drawn.outline);
            if (all && (i % step_ == 0 || one != other))
                addLine(surface, edge, drawn.points, one || other ? drawn.facing : drawn.away);
        }
        drawn_.meshes.push_back(std::move(drawn));
    }

    static bool isFacing(const std::vector<ScreenPoint>& points, const MeshTriangle& triangle,
                         bool isMirrored) {
        const ScreenPoint &a = points[triangle[0]], &b = points[triangle[1]],
                          &c = points[triangle[2]];
        if (!isInFront(a) || !isInFront(b) || !isInFront(c)) return true; // who can tell
        return (area(a, b, c) < 0) != isMirrored;
    }

    void addLine(const Surface& surface, const MeshEdge& edge,
                 const std::vector<ScreenPoint>& points, std::vector<ScreenLine>& lines) const {
        ScreenPoint a = points[edge.points[0]], b = points[edge.points[1]];
        if (!isInFront(a) || !isInFront(b)) {
            const auto cut =
                view_.line(surface.points[edge.points[0]], surface.points[edge.points[1]]);
            if (!cut) return;
            std::tie(a, b) = *cut;
        }
        if (const auto line = clippedLine({a.x, a.y, b.x, b.y}, width_, height_))
            lines.push_back(*line);
    }

    const View view_;
    const double width_, height_;
    const std::vector<bool>& selected_;
    const MeshLines lines_;
    std::size_t step_ = 1; // of edges; one in so many is drawn
    ScreenPicture drawn_;
};

// The place on a line that is nearest to one on the screen.
ScreenPoint nearestOn(const ScreenPoint& a, const ScreenPoint& b, double x, double y) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double square = dx * dx + dy * dy;
    const double along =
        square > 0 ? std::clamp(((x - a.x) * dx + (y - a.y) * dy) / square, 0.0, 1.0) : 0;
    return {a.x + along * dx, a.y + along * dy, a.depth + along * (b.depth - a.depth)};
}

bool isWithin(const ScreenPoint& point, double x, double y, double reach) {
    return std::hypot(point.x - x, point.y - y) <= reach;
}

bool isInside(std::span<const ScreenPoint> outline, double x, double y) {
    bool inside = false;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const ScreenPoint &a = outline[i], &b = outline[(i + 1) % outline.size()];
        if ((a.y > y) != (b.y > y) && x < a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x))
            inside = !inside;
    }
    return inside;
}

// The depth of a mesh at a place on the screen; nothing where it is not there.
std::optional<double> meshDepth(const ScreenMesh& drawn, double x, double y, double reach) {
    std::optional<double> nearest;
    const auto take = [&](double depth) {
        if (!nearest || depth < *nearest) nearest = depth;
    };
    const ScreenPoint at{x, y, 0};
    for (const MeshTriangle& triangle : drawn.shape->triangles) {
        const ScreenPoint &a = drawn.points[triangle[0]], &b = drawn.points[triangle[1]],
                          &c = drawn.points[triangle[2]];
        if (!isInFront(a) || !isInFront(b) || !isInFront(c)) continue;
        const double whole = area(a, b, c);
        if (whole == 0) continue;
        const double shareA = area(at, b, c) / whole, shareB = area(a, at, c) / whole,
                     shareC = 1 - shareA - shareB;
        if (shareA >= 0 && shareB >= 0 && shareC >= 0)
            take(shareA * a.depth + shareB * b.depth + shareC * c.depth);
    }
    for (const MeshEdge& edge : drawn.shape->edges) {
        const ScreenPoint &a = drawn.points[edge.points[0]], &b = drawn.points[edge.points[1]];
        if (!isInFront(a) || !isInFront(b)) continue;
        const ScreenPoint nearby = nearestOn(a, b, x, y);
        if (isWithin(nearby, x, y, reach)) take(nearby.depth);
    }
    return nearest;
}

bool isAt(const ScreenShape& drawn, double x, double y, double reach) {
    const std::span points(drawn.points.data(), static_cast<std::size_t>(drawn.corners));
    if (points.size() > 2 && isInside(points, x, y)) return true;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (isWithin(nearestOn(points[i], points[(i + 1) % points.size()], x, y), x, y, reach))
            return true;
    return false;
}

ItemId topmost(const ScreenPicture& drawn, double x, double y, double reach) {
    for (std::size_t i = drawn.shapes.size(); i-- > 0;)
        if (isAt(drawn.shapes[i], x, y, reach)) return drawn.shapes[i].item;
    ItemId found = ItemId::none;
    double depth = HUGE_VAL;
    for (const ScreenMesh& mesh : drawn.meshes)
        if (const auto here = meshDepth(mesh, x, y, reach); here && *here < depth) {
            found = mesh.item;
            depth = *here;
        }
    return found;
}

} // namespace

ScreenPicture screenShapes(const SceneShapes& shapes, const OrbitCamera& camera, double width,
                           double height, const std::vector<bool>& selected, MeshLines lines) {
    return ScreenShaper(camera, width, height, selected, lines).picture(shapes);
}

ItemId pickedItem(const ScreenPicture& drawn, double x, double y, double reach) {
    const ItemId exact = topmost(drawn, x, y, 1);
    return exact != ItemId::none ? exact : topmost(drawn, x, y, reach);
}

// A painter takes long over what is far outside.
std::optional<ScreenLine> clippedLine(const ScreenLine& line, double width, double height) {
    const double dx = line.x2 - line.x1, dy = line.y2 - line.y1;
    if (!std::isfinite(dx) || !std::isfinite(dy)) return std::nullopt;
    double from = 0, to = 1;
    const auto keep = [&](double step, double room) { // where step * t <= room
        if (step == 0) return room >= 0;
        if (step > 0)
            to = std::min(to, room / step);
        else
            from = std::max(from, room / step);
        return from <= to;
    };
    if (!keep(-dx, line.x1) || !keep(dx, width - line.x1) || !keep(-dy, line.y1) ||
        !keep(dy, height - line.y1))
        return std::nullopt;
    // Held to the screen: of huge numbers a rounding is huge.
    const auto at = [](double start, double way, double size) {
        return std::clamp(start + way, 0.0, size);
    };
    return ScreenLine{at(line.x1, from * dx, width), at(line.y1, from * dy, height),
                      at(line.x1, to * dx, width), at(line.y1, to * dy, height)};
}

} // namespace cadencora::stage
