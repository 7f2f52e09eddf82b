// glTF 2.0: nodes with a rest place and clips of animation, as JSON beside its buffers (.gltf) or
// with them in one file (.glb).
//
// One clip is open at a time. Its channels become envelopes; the rest of the file is remembered
// and is written byte for byte as it was. Inside, a file passes through these rooms, each of which
// calls those above it alone:
//
//   gltf_container   GLB chunks, JSON text, base64
//   gltf_files       the files that a document names, and which of them may be touched
//   gltf_outline     a copy of what concerns motion, every member checked
//   gltf_model       the same as plain tables
//   gltf_primitives  which accessors meshes are made of, where meshes are asked for
//   gltf_numbers     an accessor's numbers, bounds checked
//   gltf_track       a sampler's keys; key times on frames
//   gltf_quaternion  rotations as the file has them and as the scene has them
//   gltf_memory      what a scene remembers of its file
//   gltf_mesh        the items' meshes; one that cannot be shown is left out
//   gltf_merge       curves of one node and path as one sampler
//   gltf_edit        putting samplers into a document, and nothing else
#pragma once

#include "stage/formats/format.h"

namespace cadencora::stage::gltf {

bool isGltfText(std::string_view head);
bool isGlb(std::string_view head);

// Problems name the place: "robot.glb: animations[3].samplers[1].input".
Result<Loaded> readGltf(std::string_view bytes, const std::filesystem::path& path,
                        const ReadOptions& options);
Result<Loaded> readGlb(std::string_view bytes, const std::filesystem::path& path,
                       const ReadOptions& options);

// Files that the document names are put beside `path` first, the document itself last. None that
// is there already with another content is overwritten.
Result<Written> writeGltf(const Scene& scene, const std::filesystem::path& path);
Result<Written> writeGlb(const Scene& scene, const std::filesystem::path& path);

} // namespace cadencora::stage::gltf
