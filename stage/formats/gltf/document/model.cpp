#include "stage/formats/gltf/document/model.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/document/checked.h"
#include "stage/formats/gltf/document/quaternion.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace cadencora::stage::gltf {

namespace {

constexpr std::string_view compression = "KHR_draco_mesh_compression";

// Rest values out of a matrix in columns; the answer is false where it shears.
bool decompose(const std::array<double, 16>& m, Node& node) {
    Mat3 axes{}; // columns of the linear part as rows
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t r = 0; r < 3; ++r)
            axes[c][r] = m[c * 4 + r];
        node.translation[c] = m[12 + c];
        node.scale[c] = length(axes[c]);
    }
    using stage::dot; // of vectors, beside that of quaternions
    const double volume = dot(axes[0], cross(axes[1], axes[2]));
    if (volume == 0) return true; // flat: its rotation is undefined
    if (volume < 0) node.scale[0] = -node.scale[0];
    const Vec3& s = node.scale;
    Mat3 turn{};
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            turn[r][c] = axes[c][r] / s[c];
    node.rotation = quaternionOfMatrix(turn);
    constexpr double slack = 1e-4; // of the product of two axes' lengths
    return std::abs(dot(axes[0], axes[1])) <= slack * std::abs(s[0] * s[1]) &&
           std::abs(dot(axes[0], axes[2])) <= slack * std::abs(s[0] * s[2]) &&
           std::abs(dot(axes[1], axes[2])) <= slack * std::abs(s[1] * s[2]);
}

// The primitives of one mesh. Its problems go to the mesh, so places are without the file.
class PrimitiveReader : CheckedReader {
public:
    PrimitiveReader(std::size_t accessors, std::size_t materials)
        : CheckedReader(""), accessors_{"accessors", accessors}, materials_{"materials",
                                                                            materials} {}

    Result<std::vector<Primitive>> read(const Value& mesh) {
        std::vector<Primitive> primitives;
        const bool isRead = each(mesh, "primitives", [&](const Value& from) {
            return primitive(from, primitives.emplace_back());
        });
        if (!isRead) return problem();
        return primitives;
    }

private:
    bool primitive(const Value& from, Primitive& to) {
        const Json* extensions = from.member("extensions");
        if (extensions && extensions->is_object() && extensions->contains(compression))
            return fail(from.place(), "the mesh is compressed by an extension that is not known",
                        std::string(compression));
        if (!take(from, "mode", to.mode)) return false;
        if (to.mode > 6)
            return fail(from.place() + ".mode", "expected a whole number from 0 to 6",
                        "found " + std::to_string(to.mode));
        const auto attributes = [&](const Value& named) {
            return needs(named, {"POSITION"}) &&
                   takeIndex(named, "POSITION", accessors_, to.positions) &&
                   takeIndex(named, "NORMAL", accessors_, to.normals) &&
                   takeIndex(named, "TEXCOORD_0", accessors_, to.texture) &&
                   takeIndex(named, "JOINTS_0", accessors_, to.joints) &&
                   takeIndex(named, "WEIGHTS_0", accessors_, to.weights);
        };
        return needs(from, {"attributes"}) && object(from, "attributes", attributes) &&
               takeIndex(from, "indices", accessors_, to.indices) &&
               takeIndex(from, "material", materials_, to.material) &&
               each(from, "targets", [&](const Value& target) {
                   return takeIndex(target, "POSITION", accessors_, to.targets.emplace_back(none));
               });
    }

    const Table accessors_, materials_;
};

class ModelReader : CheckedReader {
public:
    ModelReader(const Json& document, const std::string& where, bool withPrimitives)
        : CheckedReader(where), document_{document}, withPrimitives_(withPrimitives) {}

    Result<Model> read() {
        const auto table = [&](std::string_view name, bool (ModelReader::*row)(const Value&)) {
            return each(document_, name, [&](const Value& from) { return (this->*row)(from); });
        };
        // Nodes take their weights from meshes.
        if (version() && table("meshes", &ModelReader::mesh) &&
            table("nodes", &ModelReader::node) && table("skins", &ModelReader::skin) &&
            table("accessors", &ModelReader::accessor) &&
            table("bufferViews", &ModelReader::bufferView) &&
            table("animations", &ModelReader::clip)) {
            nameClips();
            return std::move(model_);
        }
        return problem();
    }

private:
    Table tableOf(std::string_view name) const { return {name, document_.sizeOf(name)}; }

    bool version() {
        if (!document_.json.is_object()) return fail("", "this is not a glTF document");
        const Json* asset = document_.member("asset");
        const bool isThere = asset && asset->contains("version") && (*asset)["version"].is_string();
        if (!isThere)
            return fail("asset.version", "this is not a glTF document", "the member is missing");
        const auto text = (*asset)["version"].get<std::string>();
        return text.starts_with("2.") ||
               fail("asset.version", "the version of this glTF file is not known",
                    "known is 2.0, found " + inQuotes(text.substr(0, 20)));
    }

    bool mesh(const Value& from) {
        Mesh& mesh = model_.meshes.emplace_back();
        std::size_t targets = 0;
        const auto countTargets = [&](const Value& primitive) {
            targets = std::max(targets, primitive.sizeOf("targets"));
            return each(primitive, "targets", [](const Value&) { return true; });
        };
        if (!take(from, "weights", mesh.weights) || !needs(from, {"primitives"}) ||
            !each(from, "primitives", countTargets))
            return false;
        for (std::size_t i = 0; i < targets; ++i)
            mesh.targets.push_back("Morph " + std::to_string(i));
        nameTargets(from, mesh.targets);
        if (withPrimitives_)
            mesh.primitives =
                PrimitiveReader(document_.sizeOf("accessors"), document_.sizeOf("materials"))
                    .read(from);
        return true;
    }

    // Names are a custom of exporters, so odd ones are no fault of the file.
    static void nameTargets(const Value& mesh, std::vector<std::string>& targets) {
        const Json* extras = mesh.member("extras");
        if (!extras || !extras->is_object() || !extras->contains("targetNames")) return;
        const Json& names = (*extras)["targetNames"];
        const auto isText = [](const Json& name) { return name.is_string(); };
        if (!names.is_array() || !std::ranges::all_of(names, isText)) return;
        for (std::size_t i = 0; i < std::min(targets.size(), names.size()); ++i)
            if (const auto& name = names[i].get_ref<const std::string&>(); !name.empty())
                targets[i] = name;
    }

    bool node(const Value& from) {
        const std::size_t index = model_.nodes.size();
        Node& node = model_.nodes.emplace_back();
        std::size_t camera = none;
        std::array<double, 16> matrix{};
        if (!take(from, "name", node.name) ||
            !takeIndices(from, "children", tableOf("nodes"), node.children) ||
            !take(from, "translation", node.translation) ||
            !take(from, "rotation", node.rotation) || !take(from, "scale", node.scale) ||
            !take(from, "matrix", matrix) ||
            !takeIndex(from, "mesh", tableOf("meshes"), node.mesh) ||
            !takeIndex(from, "skin", tableOf("skins"), node.skin) ||
            !takeIndex(from, "camera", tableOf("cameras"), camera) ||
            !take(from, "weights", node.weights))
            return false;
        if (node.name.empty()) node.name = "Node " + std::to_string(index);
        node.hasMatrix = from.member("matrix") != nullptr;
        if (node.hasMatrix) {
            const Node still;
            node.rotation = still.rotation;
            if (!decompose(matrix, node))
                model_.warnings.push_back(
                    from.place() + ".matrix shears, which position, rotation and scale cannot");
        }
        node.isCamera = camera != none;
        const Json* extensions = from.member("extensions");
        node.isLight =
            extensions && extensions->is_object() && extensions->contains("KHR_lights_punctual");
        if (node.weights.empty() && node.mesh != none)
            node.weights = model_.meshes[node.mesh].weights;
        return true;
    }

    bool skin(const Value& from) {
        Skin& skin = model_.skins.emplace_back();
        return needs(from, {"joints"}) &&
               takeIndices(from, "joints", tableOf("nodes"), skin.joints) &&
               takeIndex(from, "inverseBindMatrices", tableOf("accessors"), skin.inverseBinds);
    }

    bool accessor(const Value& from) {
        Accessor& accessor = model_.accessors.emplace_back();
        const auto sparse = [&](const Value& listed) {
            return needs(listed, {"count", "indices", "values"}) &&
                   take(listed, "count", accessor.sparseCount) &&
                   object(listed, "indices",
                          [&](const Value& part) {
                              return needs(part, {"bufferView", "componentType"}) &&
                                     bytes(part, accessor.sparseIndices) &&
                                     take(part, "componentType", accessor.sparseIndexType);
                          }) &&
                   object(listed, "values", [&](const Value& part) {
                       return needs(part, {"bufferView"}) && bytes(part, accessor.sparseValues);
                   });
        };
        return needs(from, {"componentType", "count", "type"}) && bytes(from, accessor.values) &&
               componentType(from, accessor) && take(from, "normalized", accessor.normalized) &&
               take(from, "count", accessor.count) && components(from, accessor) &&
               object(from, "sparse", sparse);
    }

    bool bytes(const Value& from, Accessor::Part& part) {
        return takeIndex(from, "bufferView", tableOf("bufferViews"), part.view) &&
               take(from, "byteOffset", part.offset);
    }

    // Types that are in use but are not read are refused where their numbers are needed.
    bool componentType(const Value& from, Accessor& accessor) {
        constexpr std::size_t first = 5120, last = 5130;
        if (!take(from, "componentType", accessor.componentType)) return false;
        return (accessor.componentType >= first && accessor.componentType <= last) ||
               fail(from.place() + ".componentType", "the component type is not known",
                    "found " + std::to_string(accessor.componentType));
    }

    bool components(const Value& from, Accessor& accessor) {
        constexpr std::array<std::pair<std::string_view, std::size_t>, 7> types{{{"SCALAR", 1},
                                                                                 {"VEC2", 2},
                                                                                 {"VEC3", 3},
                                                                                 {"VEC4", 4},
                                                                                 {"MAT2", 4},
                                                                                 {"MAT3", 9},
                                                                                 {"MAT4", 16}}};
        std::string type;
        if (!take(from, "type", type)) return false;
        for (const auto& [name, count] : types)
            if (type == name) accessor.components = count;
        return accessor.components > 0 ||
               fail(from.place() + ".type", "expected SCALAR, VEC2 to VEC4 or MAT2 to MAT4",
                    "found " + inQuotes(type.substr(0, 40)));
    }

    bool bufferView(const Value& from) {
        BufferView& view = model_.views.emplace_back();
        if (!needs(from, {"buffer", "byteLength"}) ||
            !takeIndex(from, "buffer", tableOf("buffers"), view.buffer) ||
            !take(from, "byteOffset", view.offset) || !take(from, "byteLength", view.length) ||
            !take(from, "byteStride", view.stride))
            return false;
        if (view.stride > 252 || view.stride % 4 != 0)
            return fail(from.place() + ".byteStride", "expected a multiple of 4 of at most 252",
                        "found " + std::to_string(view.stride));
        const Json* extensions = from.member("extensions");
        view.isCompressed = extensions && !extensions->empty();
        if (!extensions || !extensions->is_object() ||
            !extensions->contains("EXT_meshopt_compression"))
            return true;
        view.isCompressed = false;
        return object(from, "extensions", [&](const Value& inner) {
            return object(inner, "EXT_meshopt_compression", [&](const Value& packed) {
                return packedBytes(packed, view.packed.emplace());
            });
        });
    }

    bool packedBytes(const Value& from, PackedBytes& packed) {
        constexpr std::array<std::string_view, 3> modes{"ATTRIBUTES", "TRIANGLES", "INDICES"};
        constexpr std::array<std::string_view, 4> filters{"NONE", "OCTAHEDRAL", "QUATERNION",
                                                          "EXPONENTIAL"};
        std::string mode, filter(filters.front());
        if (!needs(from, {"buffer", "byteLength", "byteStride", "count", "mode"}) ||
            !takeIndex(from, "buffer", tableOf("buffers"), packed.buffer) ||
            !take(from, "byteOffset", packed.offset) || !take(from, "byteLength", packed.length) ||
            !take(from, "byteStride", packed.stride) || !take(from, "count", packed.count) ||
            !take(from, "mode", mode) || !take(from, "filter", filter))
            return false;
        const auto one = std::ranges::find(modes, mode);
        if (one == modes.end())
            return fail(from.place() + ".mode", "expected ATTRIBUTES, TRIANGLES or INDICES",
                        "found " + inQuotes(mode.substr(0, 40)));
        const auto other = std::ranges::find(filters, filter);
        if (other == filters.end())
            return fail(from.place() + ".filter",
                        "expected NONE, OCTAHEDRAL, QUATERNION or EXPONENTIAL",
                        "found " + inQuotes(filter.substr(0, 40)));
        packed.mode = static_cast<PackedBytes::Mode>(one - modes.begin());
        packed.filter = static_cast<PackedBytes::Filter>(other - filters.begin());
        return true;
    }

    // Each clip has a name of its own: the second "Walk" is called "Walk#2".
    void nameClips() {
        std::set<std::string> names;
        for (const Clip& one : model_.clips)
            names.insert(one.name);
        std::set<std::string> taken;
        for (Clip& one : model_.clips) {
            std::string name = one.name;
            for (int k = 2; taken.contains(name) || (k > 2 && names.contains(name)); ++k)
                name = one.name + "#" + std::to_string(k);
            taken.insert(one.name = std::move(name));
        }
    }

    bool clip(const Value& from) {
        Clip& clip = model_.clips.emplace_back();
        if (!take(from, "name", clip.name) || !needs(from, {"samplers", "channels"})) return false;
        if (clip.name.empty()) clip.name = "Animation " + std::to_string(from.index);
        const std::string samplers = from.place() + ".samplers";
        return each(from, "samplers",
                    [&](const Value& one) { return sampler(one, clip.samplers.emplace_back()); }) &&
               each(from, "channels", [&](const Value& one) {
                   return channel(one, {samplers, clip.samplers.size()},
                                  clip.channels.emplace_back());
               });
    }

    bool sampler(const Value& from, Sampler& to) {
        std::string kind(interpolationNames.front());
        if (!needs(from, {"input", "output"}) ||
            !takeIndex(from, "input", tableOf("accessors"), to.input) ||
            !takeIndex(from, "output", tableOf("accessors"), to.output) ||
            !take(from, "interpolation", kind))
            return false;
        const auto found = std::ranges::find(interpolationNames, kind);
        if (found == interpolationNames.end())
            return fail(from.place() + ".interpolation", "expected LINEAR, STEP or CUBICSPLINE",
                        "found " + inQuotes(kind.substr(0, 40)));
        to.interpolation = static_cast<Interpolation>(found - interpolationNames.begin());
        return true;
    }

    // A target without a node is for extensions; its channel keeps its place.
    bool channel(const Value& from, const Table& samplers, Channel& to) {
        std::string path;
        const auto target = [&](const Value& moved) {
            return needs(moved, {"path"}) && take(moved, "path", path) &&
                   takeIndex(moved, "node", tableOf("nodes"), to.node);
        };
        if (!needs(from, {"sampler", "target"}) ||
            !takeIndex(from, "sampler", samplers, to.sampler) || !object(from, "target", target))
            return false;
        to.path = static_cast<Path>(std::ranges::find(pathNames, path) - pathNames.begin());
        const std::string* pointer = pointerOf(*from.member("target"));
        if (!pointer) return true;
        const auto found = nodePointedAt(*pointer);
        if (!found) {
            model_.pointers.push_back(*pointer);
            return true;
        }
        to.path = found->second;
        to.node = found->first;
        return to.node < document_.sizeOf("nodes") ||
               fail(from.place() + ".target", "the pointer leads to no node", *pointer);
    }

    const Value document_;
    const bool withPrimitives_;
    Model model_;
};

} // namespace

std::optional<std::pair<std::size_t, Path>> nodePointedAt(std::string_view pointer) {
    constexpr std::string_view nodes = "/nodes/";
    if (!pointer.starts_with(nodes)) return std::nullopt;
    pointer.remove_prefix(nodes.size());
    const auto slash = pointer.find('/');
    if (slash == pointer.npos) return std::nullopt;
    const auto node = parseInteger(pointer.substr(0, slash));
    const auto path = std::ranges::find(pathNames, pointer.substr(slash + 1));
    if (!node || *node < 0 || path == pathNames.end()) return std::nullopt;
    return std::pair(static_cast<std::size_t>(*node), static_cast<Path>(path - pathNames.begin()));
}

const std::string* pointerOf(const Json& target) {
    if (!target.is_object() || !target.contains("extensions")) return nullptr;
    const Json& extensions = target["extensions"];
    if (!extensions.is_object() || !extensions.contains("KHR_animation_pointer")) return nullptr;
    const Json& extension = extensions["KHR_animation_pointer"];
    if (!extension.is_object() || !extension.contains("pointer")) return nullptr;
    return extension["pointer"].get_ptr<const std::string*>();
}

Result<Model> readModel(const Json& document, const std::string& where, bool withPrimitives) {
    return ModelReader(document, where, withPrimitives).read();
}

} // namespace cadencora::stage::gltf
