// A glTF document on its way into a file: its JSON, its buffers, and where they are going to be.
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
        bool isMoved = false; // from another place than `kind`: its URI has to change
    };
    Json document;
    std::vector<Buffer> buffers;
    std::vector<GlbChunk> furtherChunks; // of a GLB file, behind the binary one
    std::string_view like;               // JSON text whose layout to follow

    // The buffer that takes new numbers, added where there is none: the binary chunk of a GLB file,
    // an embedded one otherwise. Files beside the document are never changed.
    std::size_t growingBuffer(bool isGlb);
};

// The remembered document, made for a .gltf or a .glb file.
Draft makeDraft(const Memory& memory, bool isGlb);

// Sees to it that the files which the document names are beside `path`, then writes the document,
// or `unchanged` as it is. Adds warnings about images that cannot be had.
Result<> writeDraft(Draft& draft, const Memory* memory, const std::string* unchanged,
                    const std::filesystem::path& path, bool isGlb,
                    std::vector<std::string>& warnings);

} // namespace cadencora::stage::gltf
