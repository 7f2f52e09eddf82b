#include "stage/formats/gltf/document/model.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/document/outline.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

// Its saving code, which is not used, takes this for granted.
#include <fstream>

// The library sees the outline of a document alone: no buffers, no images, no files.
#define TINYGLTF_IMPLEMENTATION
#define TINYGLTF_NO_FS
#define TINYGLTF_NO_STB_IMAGE
#define TINYGLTF_NO_STB_IMAGE_WRITE
#define TINYGLTF_NO_EXTERNAL_IMAGE
#include <tiny_gltf.h>

namespace cadencora::stage {

namespace {

std::size_t indexOf(int number) {
    return number < 0 ? gltfNone : static_cast<std::size_t>(number);
}

// Rest values out of a matrix in columns; the answer is false where it shears.
bool takeApart(const std::vector<double>& m, GltfNode& node) {
    Mat3 axes{}; // columns of the linear part as rows
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t r = 0; r < 3; ++r)
            axes[c][r] = m[c * 4 + r];
        node.translation[c] = m[12 + c];
        node.scale[c] = std::hypot(axes[c][0], axes[c][1], axes[c][2]);
    }
    const auto dot = [&](std::size_t a, std::size_t b) {
        return axes[a][0] * axes[b][0] + axes[a][1] * axes[b][1] + axes[a][2] * axes[b][2];
    };
    const Vec3 cross{axes[1][1] * axes[2][2] - axes[1][2] * axes[2][1],
                     axes[1][2] * axes[2][0] - axes[1][0] * axes[2][2],
                     axes[1][0] * axes[2][1] - axes[1][1] * axes[2][0]};
    const double volume = axes[0][0] * cross[0] + axes[0][1] * cross[1] + axes[0][2] * cross[2];
    if (volume == 0) return true; // flat: it has no rotation to speak of
    if (volume < 0) node.scale[0] = -node.scale[0];
    const Vec3& s = node.scale;
    const auto at = [&](std::size_t r, std::size_t c) { return axes[c][r] / s[c]; };
    // The largest of the four first, so that nothing is divided by next to nothing.
    const std::array<double, 4> squares{
        1 + at(0, 0) - at(1, 1) - at(2, 2), 1 - at(0, 0) + at(1, 1) - at(2, 2),
        1 - at(0, 0) - at(1, 1) + at(2, 2), 1 + at(0, 0) + at(1, 1) + at(2, 2)};
    const auto largest =
        static_cast<std::size_t>(std::ranges::max_element(squares) - squares.begin());
    const double size = std::sqrt(squares[largest]) / 2, part = 0.25 / size;
    auto& q = node.rotation;
    q[largest] = size;
    if (largest == 3) {
        for (std::size_t n = 0; n < 3; ++n)
            q[n] = (at((n + 2) % 3, (n + 1) % 3) - at((n + 1) % 3, (n + 2) % 3)) * part;
    } else {
        const std::size_t i = largest, j = (i + 1) % 3, k = (i + 2) % 3;
        q[j] = (at(i, j) + at(j, i)) * part;
        q[k] = (at(i, k) + at(k, i)) * part;
        q[3] = (at(k, j) - at(j, k)) * part;
    }
    constexpr double slack = 1e-4; // of the product of two axes' lengths
    return std::abs(dot(0, 1)) <= slack * std::abs(s[0] * s[1]) &&
           std::abs(dot(0, 2)) <= slack * std::abs(s[0] * s[2]) &&
           std::abs(dot(1, 2)) <= slack * std::abs(s[1] * s[2]);
}

template <std::size_t count>
void take(const std::vector<double>& from, std::array<double, count>& to) {
    if (from.size() == count) std::ranges::copy(from, to.begin());
}

GltfNode nodeOf(const tinygltf::Node& from, std::size_t index, GltfModel& model) {
    GltfNode node;
    node.name = from.name.empty() ? "Node " + std::to_string(index) : from.name;
    for (const int child : from.children)
        node.children.push_back(indexOf(child));
    node.hasMatrix = from.matrix.size() == 16;
    if (node.hasMatrix && !takeApart(from.matrix, node))
        model.warnings.push_back("nodes[" + std::to_string(index) +
                                 "].matrix shears, which position, rotation and scale cannot");
    if (!node.hasMatrix) {
        take(from.translation, node.translation);
        take(from.rotation, node.rotation);
        take(from.scale, node.scale);
    }
    node.mesh = indexOf(from.mesh);
    node.skin = indexOf(from.skin);
    node.isCamera = from.camera >= 0;
    node.isLight = from.extensions.contains("KHR_lights_punctual");
    node.weights = from.weights;
    if (node.weights.empty() && node.mesh != gltfNone)
        node.weights = model.meshes[node.mesh].weights;
    return node;
}

GltfMesh meshOf(const tinygltf::Mesh& from) {
    GltfMesh mesh;
    mesh.weights = from.weights;
    std::size_t count = 0;
    for (const tinygltf::Primitive& primitive : from.primitives)
        count = std::max(count, primitive.targets.size());
    for (std::size_t i = 0; i < count; ++i)
        mesh.targets.push_back("Morph " + std::to_string(i));
    const tinygltf::Value names = from.extras.IsObject() && from.extras.Has("targetNames")
                                      ? from.extras.Get("targetNames")
                                      : tinygltf::Value();
    for (std::size_t i = 0; i < std::min(count, names.ArrayLen()); ++i)
        if (const auto& name = names.Get(static_cast<int>(i)).Get<std::string>(); !name.empty())
            mesh.targets[i] = name;
    return mesh;
}

GltfAccessor accessorOf(const tinygltf::Accessor& from) {
    GltfAccessor accessor;
    accessor.values = {indexOf(from.bufferView), from.byteOffset};
    accessor.count = from.count;
    accessor.components = static_cast<std::size_t>(
        tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(from.type)));
    accessor.componentType = static_cast<std::uint32_t>(from.componentType);
    accessor.normalized = from.normalized;
    if (!from.sparse.isSparse) return accessor;
    const auto offset = [](int number) { return static_cast<std::size_t>(std::max(number, 0)); };
    accessor.sparseCount = offset(from.sparse.count);
    accessor.sparseIndices = {indexOf(from.sparse.indices.bufferView),
                              offset(from.sparse.indices.byteOffset)};
    accessor.sparseIndexType = static_cast<std::uint32_t>(from.sparse.indices.componentType);
    accessor.sparseValues = {indexOf(from.sparse.values.bufferView),
                             offset(from.sparse.values.byteOffset)};
    return accessor;
}

// Nothing where a name is none of the known ones.
Result<GltfClip> clipOf(const tinygltf::Animation& from, std::size_t index,
                        const std::string& where) {
    const std::string place = "animations[" + std::to_string(index) + "]";
    GltfClip clip;
    clip.name = from.name.empty() ? "Animation " + std::to_string(index) : from.name;
    for (const tinygltf::AnimationSampler& sampler : from.samplers) {
        const auto found = std::ranges::find(gltfInterpolationNames, sampler.interpolation);
        if (found == gltfInterpolationNames.end())
            return Problem{"expected LINEAR, STEP or CUBICSPLINE",
                           where + ": " + place + ".samplers[" +
                               std::to_string(clip.samplers.size()) + "].interpolation",
                           "found " + inQuotes(sampler.interpolation.substr(0, 40))};
        clip.samplers.push_back(
            {indexOf(sampler.input), indexOf(sampler.output),
             static_cast<GltfInterpolation>(found - gltfInterpolationNames.begin())});
    }
    for (const tinygltf::AnimationChannel& channel : from.channels) {
        const auto found = std::ranges::find(gltfPathNames, channel.target_path);
        clip.channels.push_back({indexOf(channel.sampler), indexOf(channel.target_node),
                                 static_cast<GltfPath>(found - gltfPathNames.begin())});
    }
    return clip;
}

std::vector<GltfView> viewsOf(const tinygltf::Model& from, const GltfJson& document) {
    std::vector<GltfView> views;
    for (const tinygltf::BufferView& view : from.bufferViews) {
        const GltfJson& original = document["bufferViews"][views.size()];
        const auto extensions = original.find("extensions");
        views.push_back({indexOf(view.buffer), view.byteOffset, view.byteLength, view.byteStride,
                         extensions != original.end() && !extensions->empty()});
    }
    return views;
}

} // namespace

Result<GltfModel> gltfModel(const GltfJson& document, const std::string& where) {
    const auto outline = gltfOutline(document, where);
    if (!outline) return outline.problem();
    tinygltf::TinyGLTF reader;
    tinygltf::Model from;
    std::string errors, warnings;
    const std::string text = outline.value().dump();
    if (!reader.LoadASCIIFromString(&from, &errors, &warnings, text.data(),
                                    static_cast<unsigned>(text.size()), ""))
        return Problem{"this is not a glTF document", where,
                       std::string(trimmed(std::string_view(errors).substr(0, 200)))};
    GltfModel model;
    for (const tinygltf::Mesh& mesh : from.meshes)
        model.meshes.push_back(meshOf(mesh));
    for (const tinygltf::Node& node : from.nodes)
        model.nodes.push_back(nodeOf(node, model.nodes.size(), model));
    for (const tinygltf::Skin& skin : from.skins) {
        model.skins.push_back({{}, indexOf(skin.inverseBindMatrices)});
        for (const int joint : skin.joints)
            model.skins.back().joints.push_back(indexOf(joint));
    }
    for (const tinygltf::Accessor& accessor : from.accessors)
        model.accessors.push_back(accessorOf(accessor));
    model.views = viewsOf(from, document);
    for (const tinygltf::Animation& animation : from.animations) {
        auto clip = clipOf(animation, model.clips.size(), where);
        if (!clip) return clip.problem();
        model.clips.push_back(std::move(*clip));
    }
    return model;
}

} // namespace cadencora::stage
