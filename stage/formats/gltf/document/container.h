// The outer layers of glTF: the chunks of a GLB file, JSON text, base64.
#pragma once

#include "stage/base/result.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage::gltf {

using Json = nlohmann::ordered_json;

struct GlbChunk {
    static constexpr std::uint32_t json = 0x4e4f534a, binary = 0x004e4942;

    std::uint32_t type = 0;
    std::string_view bytes; // padding included
};

// The chunks of a whole GLB file, the JSON first. They refer to the bytes of `file`.
Result<std::vector<GlbChunk>> glbChunks(std::string_view file, const std::string& where);

// The head of a GLB file up to the content of its second chunk; `rest` is the size of the chunks
// after the JSON, heads included.
std::string glbHead(std::string_view json, std::size_t rest);

// The head of a chunk whose content has been padded.
std::string glbChunkHead(std::uint32_t type, std::size_t bytes);

// The document of a text. Nesting beyond `depth` is refused before anything is built.
Result<Json> parseJson(std::string_view text, const std::string& where, std::size_t depth);

// The document as text, indented as `like` is.
std::string jsonText(const Json& document, std::string_view like);

// The bytes of a data URI; nothing where it is not in base64.
std::optional<std::string> dataUriBytes(std::string_view uri);
std::string dataUri(std::string_view bytes);
bool isDataUri(std::string_view uri);

} // namespace cadencora::stage::gltf
