// Which accessors and buffer views of a glTF document are used, and how often.
#pragma once

#include "stage/formats/gltf/document/container.h"

namespace cadencora::stage::gltf {

struct Uses {
    std::vector<std::size_t> accessors, views; // uses, by index
    bool isComplete = false;                   // false: extensions that are not known may use more
};

Uses countUses(const Json& document);

} // namespace cadencora::stage::gltf
