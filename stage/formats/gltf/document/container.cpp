#include "stage/formats/gltf/document/container.h"

#include "stage/base/text.h"

#include <algorithm>
#include <array>

namespace cadencora::stage::gltf {

namespace {

constexpr std::uint32_t glbMagic = 0x46546c67; // "glTF"
constexpr std::size_t fileHead = 12, chunkHead = 8;

std::uint32_t wordAt(std::string_view bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t n = 4; n-- > 0;)
        word = word << 8 | static_cast<unsigned char>(bytes[at + n]);
    return word;
}

void appendWord(std::string& bytes, std::size_t word) {
    for (int n = 0; n < 4; ++n, word >>= 8)
        bytes += static_cast<char>(word & 0xff);
}

// Nothing where the text may be parsed. Building an object takes the square of its members, and a
// value takes many times the bytes of its text.
std::optional<Problem> tooMuch(std::string_view text, const std::string& where, std::size_t depth) {
    constexpr std::size_t mostMembers = 20'000, mostValues = 5'000'000;
    std::size_t values = 0;
    std::vector<std::size_t> members; // so far, of each object or array around; 0 of arrays
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (!quoted && (c == ',' || c == '{' || c == '[') && ++values > mostValues)
            return Problem{"the JSON has too many values", where,
                           "the limit is " + std::to_string(mostValues)};
        if (quoted) {
            i = text.find_first_of("\"\\", i);
            if (i == std::string_view::npos) break;
            quoted = text[i] == '\\';
            if (quoted) ++i;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '{' || c == '[') {
            if (members.size() >= depth)
                return Problem{"the JSON is nested too deeply", where,
                               "the limit is " + std::to_string(depth)};
            members.push_back(0);
        } else if ((c == '}' || c == ']') && !members.empty()) {
            members.pop_back();
        } else if (c == ':' && !members.empty() && ++members.back() > mostMembers) {
            return Problem{"a JSON object has too many members", where,
                           "the limit is " + std::to_string(mostMembers)};
        }
    }
    return std::nullopt;
}

constexpr std::string_view base64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> makeBase64Values() {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < base64Digits.size(); ++i)
        values[static_cast<unsigned char>(base64Digits[i])] = static_cast<std::int8_t>(i);
    return values;
}

constexpr std::array<std::int8_t, 256> base64Values = makeBase64Values();

std::optional<std::string> fromBase64(std::string_view text) {
    while (!text.empty() && text.back() == '=')
        text.remove_suffix(1);
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const int value = base64Values[static_cast<unsigned char>(c)];
        if (value < 0) return std::nullopt;
        bits = (bits << 6 | static_cast<std::uint32_t>(value)) & 0xffffff;
        if ((count += 6) < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xff);
    }
    return count < 6 ? std::optional(std::move(bytes)) : std::nullopt;
}

void appendBase64(std::string& text, std::string_view bytes) {
    const auto digit = [&](std::uint32_t bits, int at) { text += base64Digits[bits >> at & 63]; };
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t n = 0; n < 3; ++n)
            bits = bits << 8 | (i + n < bytes.size() ? static_cast<unsigned char>(bytes[i + n])
                                                     : std::uint32_t{0});
        digit(bits, 18);
        digit(bits, 12);
        i + 1 < bytes.size() ? digit(bits, 6) : text.push_back('=');
        i + 2 < bytes.size() ? digit(bits, 0) : text.push_back('=');
    }
}

} // namespace

Result<std::vector<GlbChunk>> glbChunks(std::string_view file, const std::string& where) {
    const auto fail = [&](std::string detail) {
        return Problem{"this GLB file is damaged", where, std::move(detail)};
    };
    if (file.size() < fileHead || wordAt(file, 0) != glbMagic) return fail("it has no GLB head");
    if (const std::uint32_t version = wordAt(file, 4); version != 2)
        return Problem{"the version of this GLB file is not known", where,
                       "known is 2, found " + std::to_string(version)};
    if (const std::uint32_t length = wordAt(file, 8); length != file.size())
        return fail("it says it has " + std::to_string(length) + " bytes and has " +
                    std::to_string(file.size()));
    std::vector<GlbChunk> chunks;
    for (std::size_t at = fileHead; at < file.size();) {
        const std::string name = "chunk " + std::to_string(chunks.size());
        if (file.size() - at < chunkHead) return fail(name + " has no complete head");
        const std::size_t length = wordAt(file, at), left = file.size() - at - chunkHead;
        if (length > left)
            return fail(name + " says it has " + std::to_string(length) + " bytes, and " +
                        std::to_string(left) + " are left");
        chunks.push_back({wordAt(file, at + 4), file.substr(at + chunkHead, length)});
        at += chunkHead + length;
    }
    if (chunks.empty() || chunks[0].type != GlbChunk::json)
        return fail("its first chunk is not JSON");
    return chunks;
}

std::size_t glbPadding(std::size_t bytes) {
    return (4 - bytes % 4) % 4;
}

std::string glbHead(std::size_t json, std::size_t rest) {
    const std::size_t padded = json + glbPadding(json);
    std::string bytes;
    appendWord(bytes, glbMagic);
    appendWord(bytes, 2);
    appendWord(bytes, fileHead + chunkHead + padded + rest);
    return bytes += glbChunkHead(GlbChunk::json, padded);
}

std::string glbChunkHead(std::uint32_t type, std::size_t bytes) {
    std::string head;
    appendWord(head, bytes);
    appendWord(head, type);
    return head;
}

namespace {

// A mark that is nowhere in a text.
std::string markFor(std::string_view text) {
    std::string mark = "data:#";
    while (text.find(mark) != std::string_view::npos)
        mark += '#';
    return mark;
}

// Where a long data URI begins at or after a place of a JSON text, and its length without the
// quotes. Nothing where there is no further one.
std::optional<std::pair<std::size_t, std::size_t>> longUri(std::string_view text, std::size_t at) {
    constexpr std::size_t isLong = 4096;
    constexpr std::string_view start = "\"data:";
    for (; (at = text.find(start, at)) != std::string_view::npos; ++at) {
        const std::size_t end = text.find_first_of("\"\\", at + 1);
        if (end == std::string_view::npos) break;
        if (text[end] == '"' && end - at > isLong) return std::pair(at + 1, end - at - 1);
    }
    return std::nullopt;
}

} // namespace

std::string_view JsonDocument::uri(std::string_view text) const {
    if (uris.empty() || !text.starts_with(mark)) return text;
    text.remove_prefix(mark.size());
    return uris[static_cast<std::size_t>(*parseInteger(text.substr(0, text.size() - 1)))];
}

std::string JsonDocument::hold(std::string uri) {
    if (mark.empty()) mark = markFor(json.dump(-1, ' ', false, Json::error_handler_t::replace));
    uris.push_back(made.emplace_back(std::move(uri)));
    return mark + std::to_string(uris.size() - 1) + '#';
}

Result<JsonDocument> parseJson(std::string_view text, const std::string& where, std::size_t depth) {
    if (auto problem = tooMuch(text, where, depth)) return *problem;
    JsonDocument document;
    document.mark = markFor(text);
    std::string shortened; // of a text with long URIs
    std::size_t copied = 0;
    while (const auto found = longUri(text, copied)) {
        shortened += text.substr(copied, found->first - copied);
        shortened += document.mark + std::to_string(document.uris.size()) + '#';
        document.uris.push_back(text.substr(found->first, found->second));
        copied = found->first + found->second;
    }
    if (copied > 0) shortened += text.substr(copied);
    const std::string_view parsed = copied > 0 ? std::string_view(shortened) : text;
    try {
        document.json = Json::parse(parsed);
        return document;
    } catch (const Json::parse_error& error) {
        const std::string_view before = parsed.substr(0, error.byte);
        const auto line = 1 + std::ranges::count(before, '\n');
        std::size_t byte = error.byte; // in the whole text
        std::size_t at = 0;
        for (const std::string_view uri : document.uris) {
            const std::string name = document.mark + std::to_string(at++) + '#';
            if (before.find(name) != std::string_view::npos) byte += uri.size() - name.size();
        }
        return Problem{"this is not valid JSON", where + ":" + std::to_string(line),
                       "at byte " + std::to_string(byte)};
    } catch (const Json::exception&) { // a number beyond all bounds
        return Problem{"this is not valid JSON", where, "it has a number that is too large"};
    }
}

namespace {

std::string jsonText(const Json& document, std::string_view like) {
    // Names from elsewhere may be no UTF-8.
    constexpr auto replace = Json::error_handler_t::replace;
    const std::size_t line = like.find('\n');
    if (line == std::string_view::npos || line + 1 >= like.size() || trimmed(like).size() <= line)
        return document.dump(-1, ' ', false, replace);
    const char blank = like[line + 1] == '\t' ? '\t' : ' ';
    const std::size_t width = std::min(like.find_first_not_of(blank, line + 1), like.size());
    std::string text = document.dump(static_cast<int>(width - line - 1), blank, false, replace);
    if (like.back() == '\n') text += '\n';
    return text;
}

} // namespace

JsonPieces::JsonPieces(const JsonDocument& document, std::string_view like)
    : text(jsonText(document.json, like)) {
    const std::string_view all = text;
    const std::string mark = '"' + document.mark;
    std::size_t from = 0;
    while (!document.uris.empty()) {
        const std::size_t at = all.find(mark, from);
        if (at == std::string_view::npos) break;
        const std::size_t end = all.find('"', at + 1);
        pieces.push_back(all.substr(from, at + 1 - from));
        pieces.push_back(document.uri(all.substr(at + 1, end - at - 1)));
        from = end;
    }
    pieces.push_back(all.substr(from));
    for (const std::string_view piece : pieces)
        size += piece.size();
}

bool isDataUri(std::string_view uri) {
    return uri.size() >= 5 && equalNoCase(uri.substr(0, 5), "data:");
}

std::optional<std::string> dataUriBytes(std::string_view uri) {
    constexpr std::string_view mark = ";base64";
    const std::size_t comma = uri.find(',');
    if (!isDataUri(uri) || comma == std::string_view::npos || !uri.substr(0, comma).ends_with(mark))
        return std::nullopt;
    return fromBase64(uri.substr(comma + 1));
}

std::string dataUri(std::string_view bytes) {
    std::string uri = "data:application/octet-stream;base64,";
    uri.reserve(uri.size() + bytes.size() / 3 * 4 + 4);
    appendBase64(uri, bytes);
    return uri;
}

} // namespace cadencora::stage::gltf
