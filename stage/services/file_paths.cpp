#include "stage/services/file_paths.h"

#include <optional>

namespace cadencora::stage {

std::string escapedFileName(std::string_view name) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string escaped;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto byte = static_cast<unsigned char>(name[i]);
        const bool special = byte < 0x20 || byte == 0x7f || byte == '/' || byte == '\\' ||
                             byte == '%' || (byte == '.' && i == 0);
        if (special) {
            escaped += '%';
            escaped += digits[byte >> 4];
            escaped += digits[byte & 15];
        } else {
            escaped += name[i];
        }
    }
    return escaped;
}

Result<std::filesystem::path> resolvePath(std::string_view text,
                                          const std::set<std::string, std::less<>>& chosen) {
    const auto firstColon = text.find(':');
    if (firstColon == std::string_view::npos) return std::filesystem::path(text);
    const auto resolve = [&](auto isDirectory) -> std::optional<std::filesystem::path> {
        for (auto colon = text.rfind(':'); colon != std::string_view::npos && colon > 0;
             colon = text.rfind(':', colon - 1))
            if (const std::string_view directory = text.substr(0, colon); isDirectory(directory))
                return std::filesystem::path(directory) / escapedFileName(text.substr(colon + 1));
        return std::nullopt;
    };
    std::error_code ignored;
    const auto exists = [&](std::string_view directory) {
        return std::filesystem::is_directory(std::filesystem::path(directory), ignored);
    };
    // Names come from anywhere; a directory that the user chose ends where the user said.
    if (const auto path = resolve([&](std::string_view d) { return chosen.contains(d); })) {
        if (exists(path->parent_path().native())) return *path;
        return Problem{"no such directory", path->parent_path().string(), {}};
    }
    if (const auto path = resolve(exists)) return *path;
    return Problem{"no such directory", std::string(text.substr(0, firstColon)), {}};
}

} // namespace cadencora::stage
