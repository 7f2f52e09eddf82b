// Puts samplers into a glTF document, and touches nothing else.
//
// Accessors, buffer views and bytes that the replaced samplers alone used are used again, so that a
// file that is edited again and again does not grow for ever. Where a document has extensions that
// may use them in a way that is not known here, everything new is added at the end instead.
#pragma once

#include "stage/formats/gltf/write/draft.h"

namespace cadencora::stage {

struct GltfChange {
    std::size_t node = 0;
    GltfPath path = GltfPath::other;
    std::optional<GltfTrack> track; // nothing: the channel goes
    bool sameTimes = false;         // as those of the channel's sampler in the document
};

// Changes one clip: `clip` is its index, or none for a new one, which gets `name`. A clip without
// any channel left is taken out; the answer is then true.
bool applyGltfChanges(GltfDraft& draft, std::size_t clip, const std::string& name,
                      const std::vector<GltfChange>& changes, bool isGlb);

} // namespace cadencora::stage
