// A mesh for the desktop's tests.
#pragma once

#include "stage/scene/mesh/mesh.h"

namespace cadencora::stage {

// A block from -1 to 1 along each axis, its triangles as seen from outside.
inline std::shared_ptr<const Mesh> blockMesh() {
    MeshShape shape;
    for (int corner = 0; corner < 8; ++corner)
        shape.points.push_back(
            {corner & 1 ? 1.0f : -1.0f, corner & 2 ? 1.0f : -1.0f, corner & 4 ? 1.0f : -1.0f});
    const std::array<std::array<std::uint32_t, 4>, 6> sides{
        {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}}};
    for (const auto& [a, b, c, d] : sides) {
        shape.triangles.push_back({a, b, c});
        shape.triangles.push_back({a, c, d});
    }
    shape.edges = meshEdges(shape.points, shape.triangles, {});
    Mesh mesh;
    mesh.shape = std::make_shared<const MeshShape>(std::move(shape));
    return std::make_shared<const Mesh>(std::move(mesh));
}

} // namespace cadencora::stage
