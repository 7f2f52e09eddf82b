// The outer layers of glTF: the chunks of a GLB file, JSON text, base64.
#pragma once

#include "stage/base/result.h"

#include <cstdint>
#include <deque>
#include <nlohmann/json.hpp>
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

// The head of a GLB file up to its JSON of so many bytes, which glbPadding() blanks follow; `rest`
// is the size of the chunks after the JSON, heads included.
std::string glbHead(std::size_t json, std::size_t rest);
std::size_t glbPadding(std::size_t bytes);

// The head of a chunk whose content has been padded.
std::string glbChunkHead(std::uint32_t type, std::size_t bytes);

// A document in which long data URIs stand aside: they would take many times their size as JSON.
struct JsonDocument {
    Json json;
    // What stands in the JSON for the URI of each number, after which come the number and "#". It
    // is nowhere else in the document. Empty while no URI stands aside.
    std::string mark;
    std::vector<std::string_view> uris; // in the text that was parsed, or in `made`
    std::deque<std::string> made;

    // The whole URI that a text of the JSON stands for, which may be that text itself.
    std::string_view uri(std::string_view text) const;
    // What to write in the JSON for a new URI. From then on the JSON gets no other new texts.
    std::string hold(std::string uri);
};

// The document of a text, which must outlive it. Nesting beyond `depth` is refused before anything
// is built.
Result<JsonDocument> parseJson(std::string_view text, const std::string& where, std::size_t depth);

// The document as text, indented as `like` is: pieces to be written one after the other, which
// refer to `text` and to the document's URIs.
struct JsonPieces {
    std::string text;
    std::vector<std::string_view> pieces;
    std::size_t size = 0; // of all

    JsonPieces(const JsonDocument& document, std::string_view like);
    JsonPieces(const JsonPieces&) = delete;
    JsonPieces& operator=(const JsonPieces&) = delete;
};

// The bytes of a data URI; nothing where it is not in base64.
std::optional<std::string> dataUriBytes(std::string_view uri);
std::string dataUri(std::string_view bytes);
bool isDataUri(std::string_view uri);

} // namespace cadencora::stage::gltf
