// Texts as bytes, to be sent from one process to another. They may hold any bytes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

std::string packedTexts(const std::vector<std::string>& texts);
std::vector<std::string> unpackedTexts(std::string_view bytes);

} // namespace cadencora::stage
