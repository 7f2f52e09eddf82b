// A glTF document that is about to be written: its JSON, its buffers, and where they go.
#pragma once

#include "stage/formats/gltf/document/memory.h"

#include <nlohmann/json.hpp>

namespace cadencora::stage::gltf {

struct Draft {
    struct Buffer {
        gltf::Buffer::Kind kind = gltf::Buffer::Kind::embedded; // in the file to be written
        std::string uri;                                        // of files
        std::string_view bytes;                                 // as they were; not owned
        std::optional<std::string> changed;
        bool isMoved = false; // it was of another kind: its URI has to change
    };
    JsonDocument document;
    std::vector<Buffer> buffers;
    std::vector<GlbChunk> furtherChunks; // of a GLB file, after the binary one
    std::string_view like;               // JSON text whose layout to follow

    // The buffer that takes new numbers, added where there is no such buffer: the binary chunk of a
    // GLB file, an embedded one otherwise. Files beside the document are never changed.
    std::size_t growingBuffer(bool isGlb);
};

// The remembered document, made for a .gltf or a .glb file.
Draft makeDraft(const SourceDocument& document, bool isGlb);

// The file as it would be written.
std::string draftBytes(Draft& draft, bool isGlb);

// Writes the files that the document names beside `path`, then the document, or `unchanged` as it
// is. `alone`: no file may be put beside it. Adds the files, and warnings about images that cannot
// be read.
Result<> writeDraft(Draft& draft, const SourceDocument* source, const std::string* unchanged,
                    const std::filesystem::path& path, bool isGlb, bool alone, Written& written);

} // namespace cadencora::stage::gltf
