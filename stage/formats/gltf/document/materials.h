// How surfaces look: their base colours, and the images that they are painted with.
#pragma once

#include "stage/formats/gltf/document/memory.h"

namespace cadencora::stage::gltf {

// The materials of a document whose model and buffers have been read, by index. What is not as it
// should be is left out of a material, and a line of `notes` says what and why. Textures are taken
// where they are simple: placed by the first set of texture coordinates, and not moved on the
// surface. `limit` counts the bytes of all images.
std::vector<Material> readMaterials(const JsonDocument& json, const SourceDocument& document,
                                    std::uintmax_t limit, std::vector<std::string>& notes);

} // namespace cadencora::stage::gltf
