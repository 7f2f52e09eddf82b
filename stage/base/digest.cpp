#include "stage/base/digest.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace cadencora::stage {

namespace {

std::string asText(XXH128_hash_t hash) {
    std::array<char, 33> text{};
    std::snprintf(text.data(), text.size(), "%016llx%016llx",
                  static_cast<unsigned long long>(hash.high64),
                  static_cast<unsigned long long>(hash.low64));
    return text.data();
}

} // namespace

std::string digestOf(std::string_view bytes) {
    return asText(XXH3_128bits(bytes.data(), bytes.size()));
}

std::optional<std::string> digestOfFile(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    const std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> state(XXH3_createState(),
                                                                         &XXH3_freeState);
    if (!state || XXH3_128bits_reset(state.get()) != XXH_OK) return std::nullopt;
    std::array<char, 65536> buffer;
    while (file.read(buffer.data(), buffer.size()) || file.gcount() > 0)
        XXH3_128bits_update(state.get(), buffer.data(), static_cast<std::size_t>(file.gcount()));
    if (file.bad()) return std::nullopt;
    return asText(XXH3_128bits_digest(state.get()));
}

} // namespace cadencora::stage
