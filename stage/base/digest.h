// What tells whether a file is still the one that it was.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace cadencora::stage {

// 128 bits of the bytes (XXH3), as 32 digits. For recognising, not against forgery.
std::string digestOf(std::string_view bytes);

// Nothing where the file cannot be read.
std::optional<std::string> digestOfFile(const std::filesystem::path& path);

} // namespace cadencora::stage
