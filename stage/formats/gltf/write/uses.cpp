#include "stage/formats/gltf/write/uses.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace cadencora::stage::gltf {

namespace {

// Extensions that use no accessor or buffer view, or only as counted here.
bool isKnown(std::string_view extension) {
    constexpr std::array<std::string_view, 8> known{
        "KHR_materials_", "KHR_texture_",          "KHR_lights_punctual",        "KHR_xmp",
        "EXT_texture_",   "KHR_mesh_quantization", "KHR_draco_mesh_compression", "KHR_node_"};
    return std::ranges::any_of(known, [&](auto name) { return extension.starts_with(name); });
}

// Recursive: the depth of a document is limited when it is read.
bool hasUnknownExtension(const Json& value) {
    if (value.is_array()) return std::ranges::any_of(value, hasUnknownExtension);
    if (!value.is_object()) return false;
    for (const auto& [name, inner] : value.items()) {
        if (name == "extras") continue;
        if (name == "extensions" && inner.is_object())
            for (const auto& [extension, content] : inner.items())
                if (!isKnown(extension)) return true;
        if (hasUnknownExtension(inner)) return true;
    }
    return false;
}

// Members and elements of a document that were not checked when it was read.
const Json& in(const Json& value, const char* name) {
    static const Json missing;
    if (!value.is_object()) return missing;
    const auto found = value.find(name);
    return found == value.end() ? missing : *found;
}

void count(const Json& index, std::vector<std::size_t>& uses) {
    if (index.is_number_unsigned() && index.get<std::size_t>() < uses.size())
        ++uses[index.get<std::size_t>()];
}

void countMembers(const Json& object, std::vector<std::size_t>& uses) {
    if (object.is_object())
        for (const Json& index : object)
            count(index, uses);
}

void countMesh(const Json& mesh, Uses& uses) {
    for (const Json& primitive : in(mesh, "primitives")) {
        countMembers(in(primitive, "attributes"), uses.accessors);
        count(in(primitive, "indices"), uses.accessors);
        for (const Json& target : in(primitive, "targets"))
            countMembers(target, uses.accessors);
        count(in(in(in(primitive, "extensions"), "KHR_draco_mesh_compression"), "bufferView"),
              uses.views);
    }
}

} // namespace

Uses countUses(const Json& document) {
    Uses uses;
    uses.accessors.resize(in(document, "accessors").size());
    uses.views.resize(in(document, "bufferViews").size());
    uses.isComplete = !hasUnknownExtension(document);
    for (const Json& clip : in(document, "animations"))
        for (const Json& sampler : in(clip, "samplers")) {
            count(in(sampler, "input"), uses.accessors);
            count(in(sampler, "output"), uses.accessors);
        }
    for (const Json& mesh : in(document, "meshes"))
        countMesh(mesh, uses);
    for (const Json& skin : in(document, "skins"))
        count(in(skin, "inverseBindMatrices"), uses.accessors);
    for (const Json& accessor : in(document, "accessors")) {
        count(in(accessor, "bufferView"), uses.views);
        const Json& sparse = in(accessor, "sparse");
        count(in(in(sparse, "indices"), "bufferView"), uses.views);
        count(in(in(sparse, "values"), "bufferView"), uses.views);
    }
    for (const Json& image : in(document, "images"))
        count(in(image, "bufferView"), uses.views);
    return uses;
}

} // namespace cadencora::stage::gltf
