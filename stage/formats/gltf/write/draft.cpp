#include "stage/formats/gltf/write/draft.h"

#include "stage/base/file.h"
#include "stage/base/text.h"
#include "stage/formats/gltf/document/files.h"

#include <algorithm>

namespace cadencora::stage::gltf {

namespace fs = std::filesystem;

namespace {

using Kind = Buffer::Kind;

std::string_view bytesOf(const Draft::Buffer& buffer) {
    return buffer.changed ? std::string_view(*buffer.changed) : buffer.bytes;
}

bool isSameDirectory(const fs::path& a, const fs::path& b) {
    const auto real = [](const fs::path& path) {
        std::error_code error;
        const fs::path found =
            fs::weakly_canonical(path.has_parent_path() ? path.parent_path() : ".", error);
        return error ? path : found;
    };
    return real(a) == real(b);
}

// Updates the lengths and URIs of buffers that changed or moved.
void settleBuffers(Draft& draft) {
    for (std::size_t i = 0; i < draft.buffers.size(); ++i) {
        const Draft::Buffer& buffer = draft.buffers[i];
        Json& json = draft.document.json["buffers"][i];
        if (buffer.changed) json["byteLength"] = buffer.changed->size();
        if (!buffer.changed && !buffer.isMoved) continue;
        if (buffer.kind == Kind::chunk) json.erase("uri");
        if (buffer.kind == Kind::embedded)
            json["uri"] = draft.document.hold(dataUri(bytesOf(buffer)));
    }
}

// The files beside a document that is being written. Without keep() those that were not there
// before are removed again.
class PlacedFiles {
public:
    explicit PlacedFiles(const fs::path& document) : document_(document) {}
    PlacedFiles(const PlacedFiles&) = delete;
    PlacedFiles& operator=(const PlacedFiles&) = delete;
    ~PlacedFiles() {
        std::error_code ignored;
        for (const fs::path& path : made_)
            fs::remove(path, ignored);
    }

    Result<> place(const std::string& uri, const std::string& where, std::string_view bytes) {
        const fs::path folder = document_.parent_path();
        if (const auto path = relativePath(uri, where);
            path && isSamePlace(folder / path.value(), document_))
            return Problem{"the document would replace a file that it needs", where, inQuotes(uri)};
        auto made = placeFileBeside(folder, uri, where, bytes);
        if (!made) return made.problem();
        files_.push_back(folder / relativePath(uri, where).value());
        if (!made.value().empty()) made_.push_back(std::move(made.value()));
        return done();
    }

    void keep() { made_.clear(); }
    const std::vector<fs::path>& files() const { return files_; } // all, also those that were there

private:
    const fs::path& document_;
    std::vector<fs::path> made_, files_;
};

// Images stay files: nothing here looks into them.
Result<> copyImages(const Draft& draft, const SourceDocument& source, const fs::path& path,
                    PlacedFiles& placed, std::vector<std::string>& warnings) {
    const auto images = draft.document.json.find("images");
    if (images == draft.document.json.end() || !images->is_array() ||
        isSameDirectory(source.path, path))
        return done();
    for (std::size_t i = 0; i < images->size(); ++i) {
        const Json& image = (*images)[i];
        const auto found = image.is_object() ? image.find("uri") : image.end();
        if (!image.is_object() || found == image.end() || !found->is_string()) continue;
        const auto& uri = found->get_ref<const std::string&>();
        if (isDataUri(uri)) continue;
        const std::string place = path.string() + ": images[" + std::to_string(i) + "].uri";
        const auto bytes = readFileBeside(
            source.path.parent_path(), uri,
            source.where() + ": images[" + std::to_string(i) + "].uri", defaultFileLimit);
        if (!bytes) {
            warnings.push_back("an image is not copied: " + bytes.problem().text());
            continue;
        }
        if (auto copied = placed.place(uri, place, bytes.value()); !copied) return copied;
    }
    return done();
}

// Hands over the pieces of the file in order, as take(bytes); false where it would be too large.
template <class Take>
bool eachPiece(const Draft& draft, const JsonPieces& json, bool isGlb, const Take& take) {
    if (!isGlb) {
        for (const std::string_view piece : json.pieces)
            take(piece);
        return true;
    }
    const bool hasChunk = !draft.buffers.empty() && draft.buffers[0].kind == Kind::chunk;
    const std::string_view chunk = hasChunk ? bytesOf(draft.buffers[0]) : std::string_view();
    const std::size_t padding = glbPadding(chunk.size());
    std::size_t rest = hasChunk ? 8 + chunk.size() + padding : 0;
    for (const GlbChunk& further : draft.furtherChunks)
        rest += 8 + further.bytes.size();
    if (json.size + rest > 0xffffff00u) return false;
    take(glbHead(json.size, rest));
    for (const std::string_view piece : json.pieces)
        take(piece);
    take(std::string(glbPadding(json.size), ' '));
    if (hasChunk) {
        take(glbChunkHead(GlbChunk::binary, chunk.size() + padding));
        take(chunk);
        take(std::string(padding, '\0'));
    }
    for (const GlbChunk& further : draft.furtherChunks) {
        take(glbChunkHead(further.type, further.bytes.size()));
        take(further.bytes);
    }
    return true;
}

} // namespace

std::size_t Draft::growingBuffer(bool isGlb) {
    const auto found = std::ranges::find_if(buffers, [](const Buffer& buffer) {
        return buffer.kind == Kind::chunk || buffer.kind == Kind::embedded;
    });
    if (found != buffers.end()) return static_cast<std::size_t>(found - buffers.begin());
    const Kind kind = isGlb && buffers.empty() ? Kind::chunk : Kind::embedded;
    buffers.emplace_back().kind = kind;
    buffers.back().changed.emplace();
    document.json["buffers"].push_back({{"byteLength", 0}});
    return buffers.size() - 1;
}

Draft makeDraft(const SourceDocument& document, bool isGlb) {
    Draft draft;
    // It was parsed when the scene was read, so it is valid.
    draft.document = std::move(*parseJson(document.text, document.where(), document.depth));
    draft.like = document.text;
    for (const gltf::Buffer& buffer : document.buffers) {
        Draft::Buffer made{buffer.kind, buffer.uri, buffer.bytes, std::nullopt, false};
        if (made.kind != Kind::file) made.bytes = buffer.bytes.substr(0, buffer.length);
        if (isGlb && draft.buffers.empty() && made.kind != Kind::absent) {
            made.kind = Kind::chunk;
        } else if (made.kind == Kind::chunk || (made.kind == Kind::file && isGlb)) {
            made.kind = Kind::embedded;
        }
        made.isMoved = made.kind != buffer.kind;
        if (made.isMoved) made.bytes = buffer.bytes.substr(0, buffer.length);
        draft.buffers.push_back(std::move(made));
    }
    if (isGlb && document.chunks.size() > 1)
        draft.furtherChunks.assign(document.chunks.begin() + 1, document.chunks.end());
    return draft;
}

std::string draftBytes(Draft& draft, bool isGlb) {
    settleBuffers(draft);
    const JsonPieces json(draft.document, draft.like);
    std::string bytes;
    eachPiece(draft, json, isGlb, [&](std::string_view piece) { bytes += piece; });
    return bytes;
}

Result<> writeDraft(Draft& draft, const SourceDocument* source, const std::string* unchanged,
                    const fs::path& path, bool isGlb, bool alone, Written& written) {
    PlacedFiles placed(path);
    for (std::size_t i = 0; i < draft.buffers.size(); ++i) {
        const Draft::Buffer& buffer = draft.buffers[i];
        if (buffer.kind != Kind::file) continue;
        const std::string place = path.string() + ": buffers[" + std::to_string(i) + "].uri";
        if (alone)
            return Problem{"this document has files beside it", place,
                           "a GLB file would hold them"};
        if (auto put = placed.place(buffer.uri, place, bytesOf(buffer)); !put) return put;
    }
    if (source && !alone)
        if (auto copied = copyImages(draft, *source, path, placed, written.warnings); !copied)
            return copied;
    const auto write = [&]() -> Result<> {
        if (unchanged) return writeFile(path, *unchanged);
        settleBuffers(draft);
        const JsonPieces json(draft.document, draft.like);
        auto file = AtomicFile::create(path);
        if (!file) return file.problem();
        if (!eachPiece(draft, json, isGlb, [&](std::string_view piece) { file->write(piece); }))
            return Problem{"cannot write the scene as GLB", path.string(), "it is beyond 4 GiB"};
        return file->commit();
    };
    auto result = write();
    if (!result) return result;
    placed.keep();
    written.files = placed.files();
    return result;
}

} // namespace cadencora::stage::gltf
