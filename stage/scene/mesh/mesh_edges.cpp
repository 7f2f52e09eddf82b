// The edges that show a mesh.

#include "stage/scene/mesh/mesh.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

// An edge of one triangle.
struct Side {
    std::uint32_t low, high; // points
    std::uint32_t triangle;
};

Vec3 doubles(const MeshPoint& point) {
    return {static_cast<double>(point[0]), static_cast<double>(point[1]),
            static_cast<double>(point[2])};
}

Vec3 difference(const MeshPoint& to, const MeshPoint& from) {
    return doubles(to) - doubles(from);
}

Vec3 normalOf(std::span<const MeshPoint> points, const MeshTriangle& triangle) {
    return cross(difference(points[triangle[1]], points[triangle[0]]),
                 difference(points[triangle[2]], points[triangle[0]]));
}

bool isLongest(std::span<const MeshPoint> points, const MeshTriangle& triangle, const Side& side) {
    const auto square = [&](std::uint32_t a, std::uint32_t b) {
        const Vec3 along = difference(points[b], points[a]);
        return dot(along, along);
    };
    const double own = square(side.low, side.high);
    for (std::size_t i = 0; i < 3; ++i)
        if (square(triangle[i], triangle[(i + 1) % 3]) > own) return false;
    return true;
}

bool areCoplanar(const Vec3& a, const Vec3& b) {
    constexpr double cosine = 0.97; // of 14 degrees: four-sided faces are rarely quite plane
    const double along = dot(a, b);
    return along > 0 && along * along >= cosine * cosine * dot(a, a) * dot(b, b);
}

} // namespace

std::vector<MeshEdge> meshEdges(std::span<const MeshPoint> points,
                                std::span<const MeshTriangle> triangles,
                                std::span<const std::array<std::uint32_t, 2>> lines) {
    std::vector<Side> sides;
    sides.reserve(triangles.size() * 3 + lines.size());
    for (std::size_t t = 0; t < triangles.size(); ++t)
        for (std::size_t i = 0; i < 3; ++i) {
            const std::uint32_t a = triangles[t][i], b = triangles[t][(i + 1) % 3];
            sides.push_back({std::min(a, b), std::max(a, b), static_cast<std::uint32_t>(t)});
        }
    for (const auto& [a, b] : lines)
        sides.push_back({std::min(a, b), std::max(a, b), MeshEdge::none});
    std::ranges::sort(sides, {}, [](const Side& side) {
        return std::array{side.low, side.high, side.triangle};
    });

    std::vector<bool> isHalf(triangles.size()); // of a four-sided face
    const auto joinsHalves = [&](const Side& a, const Side& b) {
        if (b.triangle == MeshEdge::none || isHalf[a.triangle] || isHalf[b.triangle]) return false;
        const MeshTriangle &left = triangles[a.triangle], &right = triangles[b.triangle];
        if (!isLongest(points, left, a) || !isLongest(points, right, b) ||
            !areCoplanar(normalOf(points, left), normalOf(points, right)))
            return false;
        isHalf[a.triangle] = isHalf[b.triangle] = true;
        return true;
    };
    std::vector<MeshEdge> edges;
    for (std::size_t first = 0, last = 0; first < sides.size(); first = last) {
        const Side& side = sides[first];
        while (last < sides.size() && sides[last].low == side.low && sides[last].high == side.high)
            ++last;
        if (last - first == 2 && joinsHalves(side, sides[first + 1])) continue;
        edges.push_back(
            {{side.low, side.high},
             {side.triangle, last - first > 1 ? sides[first + 1].triangle : MeshEdge::none}});
    }
    return edges;
}

} // namespace cadencora::stage
