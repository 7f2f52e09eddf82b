// Which accessors and buffer views of a glTF document are used, and how often.
#pragma once

#include "stage/formats/gltf/document/container.h"

namespace cadencora::stage {

struct GltfUses {
    std::vector<std::size_t> accessors, views; // uses, by index
    bool isComplete = false;                   // false: extensions that are not known may use more
};

GltfUses gltfUses(const GltfJson& document);

} // namespace cadencora::stage
