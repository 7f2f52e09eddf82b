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
    ScreenShaper(const OrbitCamera& camera, double width, double height)
        : view_(camera, width, height), eye_(camera.eye()), width_(width), height_(height) {}

    std::vector<ScreenShape> shapes(const SceneShapes& from) {
        constexpr std::size_t mostEdges = 120'000;
        std::size_t edges = 0;
        for (const Surface& surface : from.surfaces)
            edges += surface.shape->edges.size();
        step_ = 1 + edges / mostEdges;
        for (const Surface& surface : from.surfaces)
            addSurface(surface);
        for (const Face& face : from.faces)
            addFace(face);
        for (const Edge& edge : from.edges)
            if (const auto line = view_.line(edge.from, edge.to)) {
                const auto& [a, b] = *line;
                all_.push_back({edge.item, (a.depth + b.depth) / 2, 1, {a, b}, nullptr, {}, {}});
            }
        std::ranges::stable_sort(all_, std::greater(), &ScreenShape::depth);
        return std::move(all_);
    }

private:
    void addFace(const Face& face) {
        if (!facesEye(face, eye_)) return;
        ScreenShape drawn;
        drawn.item = face.item;
        for (const Vec3& corner : face.corners) {
            const auto point = view_.point(corner);
            if (!point) return;
            drawn.points.push_back(*point);
            drawn.depth += point->depth / static_cast<double>(face.corners.size());
        }
        drawn.light = lightOf(face);
        all_.push_back(std::move(drawn));
    }

    void addSurface(const Surface& surface) {
        ScreenShape drawn;
        drawn.item = surface.item;
        drawn.mesh = surface.shape;
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
            if (i % step_ == 0 || one != other)
                addLine(surface, edge, drawn.points, one || other ? drawn.facing : drawn.away);
        }
        all_.push_back(std::move(drawn));
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
        if (const auto line = clipped({a.x, a.y, b.x, b.y})) lines.push_back(*line);
    }

    // The part of a line that is on the screen: a painter takes long over what is far outside.
    std::optional<ScreenLine> clipped(const ScreenLine& line) const {
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
        if (!keep(-dx, line.x1) || !keep(dx, width_ - line.x1) || !keep(-dy, line.y1) ||
            !keep(dy, height_ - line.y1))
            return std::nullopt;
        // Held to the screen: of huge numbers a rounding is huge.
        const auto at = [](double start, double way, double size) {
            return std::clamp(start + way, 0.0, size);
        };
        return ScreenLine{at(line.x1, from * dx, width_), at(line.y1, from * dy, height_),
                          at(line.x1, to * dx, width_), at(line.y1, to * dy, height_)};
    }

    const View view_;
    const Vec3 eye_;
    const double width_, height_;
    std::size_t step_ = 1; // of edges; one in so many is drawn
    std::vector<ScreenShape> all_;
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

bool isInside(const std::vector<ScreenPoint>& outline, double x, double y) {
    bool inside = false;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        const ScreenPoint &a = outline[i], &b = outline[(i + 1) % outline.size()];
        if ((a.y > y) != (b.y > y) && x < a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x))
            inside = !inside;
    }
    return inside;
}

// The depth of a mesh at a place on the screen; nothing where it is not there.
std::optional<double> meshDepth(const ScreenShape& drawn, double x, double y, double reach) {
    std::optional<double> nearest;
    const auto take = [&](double depth) {
        if (!nearest || depth < *nearest) nearest = depth;
    };
    const ScreenPoint at{x, y, 0};
    for (const MeshTriangle& triangle : drawn.mesh->triangles) {
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
    for (const MeshEdge& edge : drawn.mesh->edges) {
        const ScreenPoint &a = drawn.points[edge.points[0]], &b = drawn.points[edge.points[1]];
        if (!isInFront(a) || !isInFront(b)) continue;
        const ScreenPoint nearby = nearestOn(a, b, x, y);
        if (isWithin(nearby, x, y, reach)) take(nearby.depth);
    }
    return nearest;
}

bool isAt(const ScreenShape& drawn, double x, double y, double reach) {
    const auto& points = drawn.points;
    if (points.size() > 2 && isInside(points, x, y)) return true;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (isWithin(nearestOn(points[i], points[(i + 1) % points.size()], x, y), x, y, reach))
            return true;
    return false;
}

ItemId topmost(std::span<const ScreenShape> drawn, double x, double y, double reach) {
    ItemId found = ItemId::none;
    double depth = 0;
    for (std::size_t i = drawn.size(); i-- > 0;) {
        const ScreenShape& shape = drawn[i];
        if (!shape.mesh) {
            if (!isAt(shape, x, y, reach)) continue;
            return found == ItemId::none ? shape.item : found;
        }
        const auto here = meshDepth(shape, x, y, reach);
        if (!here || (found != ItemId::none && *here >= depth)) continue;
        found = shape.item;
        depth = *here;
    }
    return found;
}

} // namespace

std::vector<ScreenShape> screenShapes(const SceneShapes& shapes, const OrbitCamera& camera,
                                      double width, double height) {
    return ScreenShaper(camera, width, height).shapes(shapes);
}

ItemId pickedItem(std::span<const ScreenShape> drawn, double x, double y, double reach) {
    const ItemId exact = topmost(drawn, x, y, 1);
    return exact != ItemId::none ? exact : topmost(drawn, x, y, reach);
}

} // namespace cadencora::stage
