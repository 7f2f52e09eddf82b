#include "stage/formats/gltf/write/rework.h"

#include "stage/formats/gltf/document/numbers.h"
#include "stage/formats/gltf/write/draft.h"
#include "stage/formats/gltf/write/uses.h"

#include <algorithm>
#include <map>

namespace cadencora::stage::gltf {

namespace {

// A member that names an accessor whose numbers are lengths.
struct Reference {
    Json* holder;
    std::string member;
    bool isMatrix = false; // only the last column of 4 × 4
};

class Reworker {
public:
    Reworker(const SourceDocument& document, const FileEdits& edits, const ReadLimits& limits)
        : document_(document), edits_(edits), limits_(limits),
          draft_(makeDraft(document, document.isGlb)), json_(draft_.document.json) {}

    Result<std::string> rework() {
        rename();
        if (edits_.scale != 1)
            if (auto scaled = scale(); !scaled) return scaled.problem();
        return draftBytes(draft_, document_.isGlb);
    }

private:
    Problem problem(const std::string& place, std::string what) const {
        return {std::move(what), document_.where() + ": " + place, {}};
    }

    void rename() {
        for (std::size_t i = 0; i < document_.model.nodes.size(); ++i)
            if (const auto found = edits_.names.find(document_.model.nodes[i].name);
                found != edits_.names.end())
                json_["nodes"][i]["name"] = found->second;
    }

    Result<> scale() {
        for (std::size_t i = 0; i < document_.model.nodes.size(); ++i) {
            Json& node = json_["nodes"][i];
            if (const auto at = node.find("translation"); at != node.end())
                for (Json& number : *at)
                    number = number.get<double>() * edits_.scale;
            if (const auto matrix = node.find("matrix"); matrix != node.end())
                for (std::size_t k = 12; k < 15; ++k)
                    (*matrix)[k] = (*matrix)[k].get<double>() * edits_.scale;
        }
        if (auto found = findMeshes(); !found) return found;
        findClips();
        findSkins();
        return scaleAccessors();
    }

    // Notes the accessor that a member names. A member that names none is passed over.
    void add(Json& holder, const char* member, bool isMatrix = false) {
        const auto found = holder.find(member);
        if (found != holder.end() && found->is_number_unsigned() &&
            found->get<std::size_t>() < document_.model.accessors.size())
            found_[found->get<std::size_t>()].push_back({&holder, member, isMatrix});
    }

    // What meshes hold is not looked at elsewhere, so nothing is taken for granted.
    Result<> findMeshes() {
        const auto meshes = json_.find("meshes");
        if (meshes == json_.end() || !meshes->is_array()) return done();
        for (std::size_t m = 0; m < meshes->size(); ++m) {
            const auto primitives = (*meshes)[m].find("primitives");
            if (primitives == (*meshes)[m].end() || !primitives->is_array()) continue;
            for (Json& primitive : *primitives) {
                if (!primitive.is_object()) continue;
                if (const auto extensions = primitive.find("extensions");
                    extensions != primitive.end() && extensions->is_object() &&
                    extensions->contains("KHR_draco_mesh_compression"))
                    return problem("meshes[" + std::to_string(m) + "]",
                                   "a mesh with Draco compression cannot be scaled");
                if (const auto attributes = primitive.find("attributes");
                    attributes != primitive.end() && attributes->is_object())
                    add(*attributes, "POSITION");
                if (const auto targets = primitive.find("targets");
                    targets != primitive.end() && targets->is_array())
                    for (Json& target : *targets)
                        if (target.is_object()) add(target, "POSITION");
            }
        }
        return done();
    }

    void findClips() {
        for (std::size_t c = 0; c < document_.model.clips.size(); ++c) {
            const Clip& clip = document_.model.clips[c];
            Json& samplers = json_["animations"][c]["samplers"];
            std::vector<std::size_t> uses(clip.samplers.size()), scaled(clip.samplers.size());
            for (const Channel& channel : clip.channels) {
                ++uses[channel.sampler];
                scaled[channel.sampler] += channel.path == Path::translation ? 1 : 0;
            }
            // A sampler of several paths becomes two.
            std::map<std::size_t, std::size_t> parted;
            for (std::size_t i = 0; i < clip.channels.size(); ++i) {
                const std::size_t sampler = clip.channels[i].sampler;
                if (clip.channels[i].path != Path::translation || scaled[sampler] == uses[sampler])
                    continue;
                const auto [at, isNew] = parted.insert({sampler, samplers.size()});
                if (isNew) samplers.push_back(Json(samplers[sampler]));
                json_["animations"][c]["channels"][i]["sampler"] = at->second;
            }
            for (std::size_t s = 0; s < samplers.size(); ++s)
                if (s >= scaled.size() || (scaled[s] > 0 && scaled[s] == uses[s]))
                    add(samplers[s], "output");
        }
    }

    void findSkins() {
        if (const auto skins = json_.find("skins"); skins != json_.end() && skins->is_array())
            for (Json& skin : *skins)
                if (skin.is_object()) add(skin, "inverseBindMatrices", true);
    }

    Result<> scaleAccessors() {
        const Uses uses = countUses(json_);
        const auto bytes = document_.bytes();
        const std::string where = document_.where();
        const Source source{document_.model, bytes, where};
        std::size_t all = 0; // numbers
        for (const auto& [index, references] : found_) {
            const Accessor& accessor = document_.model.accessors[index];
            const std::size_t left = limits_.keys - all;
            if (accessor.components > 0 && accessor.count > left / accessor.components)
                return problem("accessors[" + std::to_string(index) + "]",
                               "the file has too many numbers to be scaled");
            all += accessor.count * accessor.components;
            auto numbers = readFloats(source, index, "accessors");
            if (!numbers) return numbers.problem();
            const bool isMatrix = references.front().isMatrix;
            for (std::size_t i = 0; i < numbers->size(); ++i)
                if (!isMatrix || (i % 16 >= 12 && i % 16 < 15))
                    (*numbers)[i] = static_cast<float>((*numbers)[i] * edits_.scale);
            const bool isOwn = uses.isComplete && uses.accessors[index] == references.size();
            put(index, *numbers, isOwn, uses, references);
        }
        return done();
    }

    static std::string_view bytesOf(const std::vector<float>& numbers) {
        return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(float)};
    }

    // In the place of the old numbers where nothing else uses them, else in a place of their own.
    void put(std::size_t index, const std::vector<float>& numbers, bool isOwn, const Uses& uses,
             const std::vector<Reference>& references) {
        const Accessor& old = document_.model.accessors[index];
        const bool isPlain = old.componentType == floatType && old.sparseCount == 0 &&
                             old.values.view != none && uses.views[old.values.view] == 1 &&
                             !json_["bufferViews"][old.values.view].contains("extensions");
        const std::size_t step = old.components * sizeof(float);
        const std::string_view content = bytesOf(numbers);
        if (isOwn && isPlain) {
            const BufferView& view = document_.model.views[old.values.view];
            std::string& buffer = editable(view.buffer);
            const std::size_t stride = view.stride > 0 ? view.stride : step;
            for (std::size_t i = 0; i < old.count; ++i)
                buffer.replace(view.offset + old.values.offset + i * stride, step,
                               content.substr(i * step, step));
            return bounds(json_["accessors"][index], numbers, old.components);
        }
        const std::size_t target = draft_.growingBuffer(document_.isGlb);
        std::string& buffer = editable(target);
        buffer.resize((buffer.size() + 3) / 4 * 4);
        Json view = {
            {"buffer", target}, {"byteOffset", buffer.size()}, {"byteLength", content.size()}};
        buffer += content;
        Json accessor = json_["accessors"][index];
        for (const char* name : {"sparse", "normalized", "byteOffset"})
            accessor.erase(name);
        accessor["componentType"] = floatType;
        accessor["bufferView"] = json_["bufferViews"].size();
        bounds(accessor, numbers, old.components);
        json_["bufferViews"].push_back(std::move(view));
        const std::size_t made = json_["accessors"].size();
        json_["accessors"].push_back(std::move(accessor));
        for (const Reference& reference : references)
            (*reference.holder)[reference.member] = made;
    }

    static void bounds(Json& accessor, const std::vector<float>& numbers, std::size_t components) {
        if (!accessor.contains("min") && !accessor.contains("max")) return;
        std::vector<double> least(components), most(components);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const double number = numbers[i];
            const std::size_t c = i % components;
            least[c] = i < components ? number : std::min(least[c], number);
            most[c] = i < components ? number : std::max(most[c], number);
        }
        accessor["min"] = least;
        accessor["max"] = most;
    }

    std::string& editable(std::size_t index) {
        Draft::Buffer& buffer = draft_.buffers[index];
        if (!buffer.changed) buffer.changed = std::string(buffer.bytes);
        if (buffer.kind == Buffer::Kind::file) {
            buffer.kind = Buffer::Kind::embedded;
            buffer.isMoved = true;
        }
        return *buffer.changed;
    }

    const SourceDocument& document_;
    const FileEdits& edits_;
    const ReadLimits& limits_;
    Draft draft_;
    Json& json_;
    std::map<std::size_t, std::vector<Reference>> found_; // by accessor
};

} // namespace

Result<std::string> reworked(const SourceDocument& document, const FileEdits& edits,
                             const ReadLimits& limits) {
    return Reworker(document, edits, limits).rework();
}

} // namespace cadencora::stage::gltf
