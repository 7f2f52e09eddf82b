// glTF 2.0: nodes with a rest place and clips of animation, as JSON beside its buffers (.gltf) or
// with them in one file (.glb).
//
// One clip is open at a time. Its channels become envelopes; the rest of the file is remembered
// and is written byte for byte as it was. Each folder below uses only those above it:
//
//   document/   container   GLB chunks, JSON text, base64
//               files       the files that a document names, and which of them may be used
//               checked     values of the JSON, checked one by one
//               model       what concerns motion and meshes, as plain tables
//               numbers     the numbers of an accessor, bounds checked
//               quaternion  rotations as the file has them and as the scene has them
//               clock       the frame rate of the key times
//               memory      what a scene remembers of its file
//   animation/  track       the keys of a sampler
//               knots       curves sampled together
//               merge       curves of one node and path as one sampler
//   mesh/       the meshes of the items; a mesh that cannot be shown is left out
//   write/      draft       a document that is about to be written
//               fresh       a document for a scene that came from elsewhere
//               uses, edit  putting samplers into a document
//               rework      other names and lengths in a whole document
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

// `source` is of a scene from either of them.
Result<Loaded> readClip(const SourceMemory& source, const ReadOptions& options);

// Files that the document names are put beside `path` first, the document itself last. None that
// is there already with another content is overwritten.
Result<Written> writeGltf(const Scene& scene, const std::filesystem::path& path,
                          const WriteOptions& options = {});
Result<Written> writeGlb(const Scene& scene, const std::filesystem::path& path,
                         const WriteOptions& options = {});

std::unique_ptr<ClipsWriter> writeGltfClips(const std::filesystem::path& path,
                                            const WriteOptions& options);
std::unique_ptr<ClipsWriter> writeGlbClips(const std::filesystem::path& path,
                                           const WriteOptions& options);

} // namespace cadencora::stage::gltf
