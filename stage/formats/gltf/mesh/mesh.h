// The meshes of a document on the items of a scene.
#pragma once

#include "stage/formats/gltf/document/memory.h"
#include "stage/formats/gltf/document/numbers.h"
#include "stage/scene/mesh/mesh.h"

namespace cadencora::stage::gltf {

// A mesh's primitives as one shape, points that always go together joined. `joints` is how many
// its skin has; 0: it has no skin. Problems name the element within the document. Normals and
// places on images that are not as they should be are left out.
Result<MeshShape> readShape(const Source& source, std::span<const Material> materials,
                            std::size_t mesh, std::size_t joints);

// Gives the items of nodes with meshes their meshes. Where one cannot be shown the item has none,
// and a line of the answer says which and why.
std::vector<std::string> addMeshes(Scene& scene, const Memory& memory, const ReadLimits& limits);

} // namespace cadencora::stage::gltf
