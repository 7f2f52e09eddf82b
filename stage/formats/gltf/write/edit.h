// Puts samplers into a glTF document, and touches nothing else.
//
// Accessors, buffer views and bytes that only the replaced samplers used are used again, so that a
// file that is edited again and again does not grow. Where a document has extensions that
// may use them in unknown ways, everything new is added at the end instead.
#pragma once

#include "stage/formats/gltf/animation/samplers.h"
#include "stage/formats/gltf/write/draft.h"

namespace cadencora::stage::gltf {

struct Change {
    std::size_t node = 0;
    Path path = Path::other;
    std::optional<Track> track; // nothing: the channel is removed
    bool sameTimes = false;     // as those of the channel's sampler in the document
};

// Changes one clip: `clip` is its index, or none for a new one, which gets `name`. A clip without
// any channel left is taken out; the answer is then true.
bool applyChanges(Draft& draft, std::size_t clip, const std::string& name,
                  const std::vector<Change>& changes, bool isGlb);

} // namespace cadencora::stage::gltf
