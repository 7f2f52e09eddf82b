#include "stage/services/file_paths.h"

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

Result<std::filesystem::path> resolvePath(std::string_view text) {
    if (text.find(':') == std::string_view::npos) return std::filesystem::path(text);
    for (auto colon = text.rfind(':'); colon != std::string_view::npos && colon > 0;
         colon = text.rfind(':', colon - 1)) {
        const std::filesystem::path directory(text.substr(0, colon));
        std::error_code ignored;
        if (std::filesystem::is_directory(directory, ignored))
            return directory / escapedFileName(text.substr(colon + 1));
    }
    return Problem{"no such directory", std::string(text), "expected DIRECTORY:NAME"};
}

} // namespace cadencora::stage
