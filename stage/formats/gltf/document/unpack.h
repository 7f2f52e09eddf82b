// Bytes of buffer views that EXT_meshopt_compression packs.
#pragma once

#include "stage/formats/gltf/document/model.h"

namespace cadencora::stage::gltf {

// The elements that `bytes` hold, one after the other with the stride that `packed` gives. A
// problem says only what is wrong. What claims to be far larger than its bytes can hold is refused.
Result<std::string> unpacked(const PackedBytes& packed, std::string_view bytes);

} // namespace cadencora::stage::gltf
