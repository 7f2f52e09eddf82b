// What the scenes that were read from a glTF file remember of it, which is all of it.
#pragma once

#include "stage/formats/format.h"
#include "stage/formats/gltf/document/clock.h"
#include "stage/formats/gltf/document/model.h"

#include <deque>

namespace cadencora::stage::gltf {

struct Buffer {
    enum class Kind {
        chunk,    // the binary chunk of the GLB file
        embedded, // in the JSON
        file,     // beside the document
        absent    // without bytes: an extension fills it in
    };
    Kind kind = Kind::absent;
    std::string uri;        // of files, as the document spells it
    std::string_view bytes; // may be more than the document says
    std::size_t length = 0; // as the document says
};

// A file as it was opened. The scenes of its clips share it.
struct SourceDocument {
    std::filesystem::path path;
    bool isGlb = false;
    std::string file;             // the bytes of the whole file
    std::string_view text;        // the JSON in it
    std::vector<GlbChunk> chunks; // after the JSON
    std::size_t depth = 0;        // of JSON that is accepted

    std::deque<std::string> held; // bytes of buffers that are not in `file`, at fixed addresses
    std::vector<Buffer> buffers;
    Model model;
    std::vector<Material> materials; // where meshes were asked for
    std::vector<std::string> materialNotes;
    std::vector<std::filesystem::path> filesBeside;

    std::string where() const { return path.string(); }
    // The buffers' bytes as far as the document may use them.
    std::vector<std::string_view> bytes() const;
};

struct Memory final : SourceMemory {
    std::shared_ptr<const SourceDocument> document;
    std::size_t clip = none; // the open one; `none` where the file has no clips
    Clock clock;
    std::vector<ItemId> items;                  // by node
    std::vector<std::vector<ChannelId>> morphs; // by node, by morph target
};

Result<std::shared_ptr<const SourceDocument>> openDocument(std::string_view file,
                                                           const std::filesystem::path& path,
                                                           const ReadOptions& options, bool isGlb);

// The clip that the options name, or the first; `none` where the file has no clips.
Result<std::size_t> clipOf(const SourceDocument& document, const ReadOptions& options);

// Heading, pitch and bank of a node's rest rotation.
Vec3 restAngles(const Node& node);

// The key stores that a path of a node fills: three of its motion channels, or its morphs.
std::vector<ChannelId> channelsOfPath(const Scene& scene, const Memory& memory, std::size_t node,
                                      Path path);

} // namespace cadencora::stage::gltf
