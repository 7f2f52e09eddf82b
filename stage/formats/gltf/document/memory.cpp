#include "stage/formats/gltf/document/memory.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/document/files.h"
#include "stage/formats/gltf/document/materials.h"
#include "stage/formats/gltf/document/quaternion.h"
#include "stage/formats/gltf/document/unpack.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace cadencora::stage::gltf {

namespace {

class Opener {
public:
    Opener(SourceDocument& opened, const ReadOptions& options)
        : document_(opened), options_(options), where_(opened.where()) {}

    Result<> open() {
        document_.depth = options_.limits.depth + 16; // of the JSON around the items
        if (document_.isGlb) {
            auto chunks = glbChunks(document_.file, where_);
            if (!chunks) return chunks.problem();
            document_.text = chunks.value().front().bytes;
            document_.chunks.assign(chunks.value().begin() + 1, chunks.value().end());
        } else {
            document_.text = document_.file;
        }
        const auto document = parseJson(document_.text, where_, document_.depth);
        if (!document) return document.problem();
        auto model = readModel(document.value().json, where_, options_.meshes);
        if (!model) return model.problem();
        document_.model = std::move(*model);
        if (auto read = buffers(document.value()); !read) return read;
        noteImages(document.value().json);
        unpackViews();
        if (options_.meshes)
            document_.materials = readMaterials(
                document.value(), document_, options_.limits.imageBytes, document_.materialNotes);
        return parents();
    }

private:
    Problem problem(const std::string& place, std::string what, std::string detail = {}) const {
        return {std::move(what), where_ + ": " + place, std::move(detail)};
    }

    Result<> buffers(const JsonDocument& document) {
        const auto table = document.json.find("buffers");
        if (table == document.json.end()) return done();
        if (!table->is_array()) return problem("buffers", "expected an array");
        for (std::size_t i = 0; i < table->size(); ++i) {
            const std::string place = "buffers[" + std::to_string(i) + "]";
            const Json& buffer = (*table)[i];
            if (!buffer.is_object()) return problem(place, "expected an object");
            const auto length = buffer.find("byteLength");
            if (length == buffer.end() || !length->is_number_unsigned())
                return problem(place + ".byteLength", "expected a whole number");
            const auto uri = buffer.find("uri");
            if (uri != buffer.end() && !uri->is_string())
                return problem(place + ".uri", "expected a text");
            std::optional<std::string_view> whole;
            if (uri != buffer.end()) whole = document.uri(uri->get_ref<const std::string&>());
            if (auto read = bytes(i, whole); !read) return read;
            Buffer& kept = document_.buffers.back();
            kept.length = length->get<std::size_t>();
            if (kept.kind != Buffer::Kind::absent && kept.length > kept.bytes.size())
                return problem(place + ".byteLength", "the buffer is shorter than the file says",
                               "it says " + std::to_string(kept.length) + " bytes, there are " +
                                   std::to_string(kept.bytes.size()));
        }
        return done();
    }

    // The images that are files beside the document; nothing here looks into them.
    void noteImages(const Json& document) {
        const auto images = document.find("images");
        if (images == document.end() || !images->is_array()) return;
        for (const Json& image : *images)
            if (image.is_object())
                if (const auto uri = image.find("uri"); uri != image.end() && uri->is_string())
                    noteFile(uri->get_ref<const std::string&>());
    }

    void noteFile(std::string_view uri) {
        if (isDataUri(uri)) return;
        if (const auto path = relativePath(uri, {}))
            document_.filesBeside.push_back(document_.path.parent_path() / path.value());
    }

    Result<> bytes(std::size_t index, std::optional<std::string_view> uri) {
        const std::string place = "buffers[" + std::to_string(index) + "]";
        Buffer& buffer = document_.buffers.emplace_back();
        if (!uri) {
            const bool inChunk = index == 0 && !document_.chunks.empty() &&
                                 document_.chunks[0].type == GlbChunk::binary;
            if (!inChunk) return done();
            buffer.kind = Buffer::Kind::chunk;
            buffer.bytes = document_.chunks[0].bytes;
            return done();
        }
        if (isDataUri(*uri)) {
            auto bytes = dataUriBytes(*uri);
            if (!bytes) return problem(place + ".uri", "the embedded buffer is not valid base64");
            buffer.kind = Buffer::Kind::embedded;
            buffer.bytes = document_.held.emplace_back(std::move(*bytes));
        } else {
            auto bytes =
                readFileBeside(document_.path.parent_path(), *uri, where_ + ": " + place + ".uri",
                               options_.limits.bytes - std::min(external_, options_.limits.bytes));
            if (!bytes) return bytes.problem();
            noteFile(*uri);
            external_ += bytes->size();
            buffer.kind = Buffer::Kind::file;
            buffer.uri = *uri;
            buffer.bytes = document_.held.emplace_back(std::move(*bytes));
        }
        return done();
    }

    // A damaged mesh does not keep the motion from being read.
    void unpackViews() {
        const auto bytes = document_.bytes();
        std::uintmax_t all = 0;
        for (BufferView& view : document_.model.views) {
            if (!view.packed) continue;
            all += std::uintmax_t{view.packed->count} * view.packed->stride;
            auto elements = all > options_.limits.bytes
                                ? Result<std::string>(Problem{"they are too many", {}, {}})
                                : unpacked(*view.packed, bytes[view.packed->buffer]);
            if (!elements) {
                view.unpackProblem = elements.problem().what;
                continue;
            }
            view.unpacked = document_.held.emplace_back(std::move(*elements));
            view.length = view.unpacked.size();
            view.stride =
                view.packed->mode == PackedBytes::Mode::attributes ? view.packed->stride : 0;
        }
    }

    // Every node has at most one parent, and is not its own ancestor.
    Result<> parents() {
        std::vector<Node>& nodes = document_.model.nodes;
        const auto name = [](std::size_t node) { return "nodes[" + std::to_string(node) + "]"; };
        for (std::size_t i = 0; i < nodes.size(); ++i)
            for (const std::size_t child : nodes[i].children) {
                std::size_t& parent = nodes[child].parent;
                if (parent != none)
                    return problem(name(child), "a node has at most one parent",
                                   "it is a child of " + name(parent) + " and of " + name(i));
                parent = i;
            }
        std::vector<std::size_t> depths(nodes.size(), 0); // 0: not known yet
        std::vector<std::size_t> branch;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            branch.clear();
            std::size_t at = i;
            for (; at != none && depths[at] == 0; at = nodes[at].parent) {
                if (branch.size() > options_.limits.depth)
                    return problem(name(i), "the nodes are nested too deeply, or in a cycle",
                                   "the limit is " + std::to_string(options_.limits.depth));
                branch.push_back(at);
            }
            std::size_t depth = at == none ? 0 : depths[at];
            for (; !branch.empty(); branch.pop_back())
                depths[branch.back()] = ++depth;
            if (depth > options_.limits.depth)
                return problem(name(i), "the nodes are nested too deeply",
                               "the limit is " + std::to_string(options_.limits.depth));
            if (!(lengthOf(nodes[i].rotation) > 1e-6))
                return problem(name(i) + ".rotation", "the rotation has length 0");
        }
        return done();
    }

    SourceDocument& document_;
    const ReadOptions& options_;
    const std::string where_;
    std::uintmax_t external_ = 0; // bytes of files beside the document
};

} // namespace

std::vector<std::string_view> SourceDocument::bytes() const {
    std::vector<std::string_view> found;
    for (const Buffer& buffer : buffers)
        found.push_back(buffer.bytes.substr(0, buffer.length));
    return found;
}

Result<std::shared_ptr<const SourceDocument>> openDocument(std::string_view file,
                                                           const std::filesystem::path& path,
                                                           const ReadOptions& options, bool isGlb) {
    auto document = std::make_shared<SourceDocument>();
    document->path = path;
    document->isGlb = isGlb;
    document->file = file;
    if (auto opened = Opener(*document, options).open(); !opened) return opened.problem();
    return std::shared_ptr<const SourceDocument>(std::move(document));
}

Result<std::size_t> clipOf(const SourceDocument& document, const ReadOptions& options) {
    const std::vector<Clip>& clips = document.model.clips;
    if (!options.clip) return clips.empty() ? none : 0;
    const auto found = std::ranges::find(clips, *options.clip, &Clip::name);
    if (found != clips.end()) return static_cast<std::size_t>(found - clips.begin());
    std::vector<std::string> names;
    for (const Clip& one : clips)
        names.push_back(one.name);
    return Problem{"the file has no clip " + inQuotes(*options.clip), document.where(),
                   alternatives(*options.clip, std::move(names))};
}

Vec3 restAngles(const Node& node) {
    return anglesNear(matrixOf(node.rotation), headingPitchBank, {});
}

std::vector<ChannelId> channelsOfPath(const Scene& scene, const Memory& memory, std::size_t node,
                                      Path path) {
    if (path == Path::weights) return memory.morphs[node];
    const auto first = static_cast<std::size_t>(path) * 3; // as the motion channels stand
    const auto& motion = scene.item(memory.items[node]).motion;
    return {motion.begin() + static_cast<std::ptrdiff_t>(first),
            motion.begin() + static_cast<std::ptrdiff_t>(first + 3)};
}

} // namespace cadencora::stage::gltf
