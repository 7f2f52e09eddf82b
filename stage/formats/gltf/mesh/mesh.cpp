#include "stage/formats/gltf/mesh/mesh.h"

#include "stage/base/text.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace cadencora::stage::gltf {

namespace {

// Shapes and skins are made once for all nodes that share them.
class MeshAdder {
public:
    MeshAdder(Scene& scene, const Memory& memory, const ReadLimits& limits)
        : scene_(scene), memory_(memory), model_(memory.document->model),
          bytes_(memory.document->bytes()), limit_(limits.meshNumbers), left_(limits.meshNumbers) {}

    std::vector<std::string> add() {
        constexpr std::size_t mostLines = 5;
        std::size_t failed = 0;
        notes_ = memory_.document->materialNotes;
        for (std::size_t node = 0; node < model_.nodes.size(); ++node) {
            if (model_.nodes[node].mesh == none) continue;
            auto mesh = meshOf(node);
            if (mesh) {
                scene_.item(memory_.items[node]).mesh =
                    std::make_shared<const stage::Mesh>(std::move(*mesh));
            } else if (++failed <= mostLines) {
                notes_.push_back("the mesh of " + inQuotes(model_.nodes[node].name) +
                                 " is not shown: " + mesh.problem().text());
            }
        }
        if (failed > mostLines)
            notes_.push_back("nor are those of " + std::to_string(failed - mostLines) + " more");
        return std::move(notes_);
    }

private:
    Result<stage::Mesh> meshOf(std::size_t node);
    bool spend(std::size_t node);
    const Result<std::shared_ptr<const MeshShape>>& shapeOf(std::size_t mesh, std::size_t skin);
    const Result<std::shared_ptr<const MeshSkin>>& skinOf(std::size_t skin);
    Result<MeshSkin> readSkin(std::size_t skin) const;

    Source source() const { return {model_, bytes_, inFile_}; }

    Scene& scene_;
    const Memory& memory_;
    const Model& model_;
    const std::vector<std::string_view> bytes_;
    const std::string inFile_; // notes are about the file that was opened, so they do not name it
    const std::size_t limit_;
    std::size_t left_; // of the numbers that may be
    std::vector<std::string> notes_;
    std::map<std::pair<std::size_t, std::size_t>, Result<std::shared_ptr<const MeshShape>>>
        shapes_; // by mesh and skin
    std::map<std::size_t, Result<std::shared_ptr<const MeshSkin>>> skins_;
};

Result<stage::Mesh> MeshAdder::meshOf(std::size_t node) {
    const auto [mesh, skin] = std::pair{model_.nodes[node].mesh, model_.nodes[node].skin};
    if (!model_.meshes[mesh].primitives) return model_.meshes[mesh].primitives.problem();
    if (!spend(node))
        return Problem{"the meshes have too many numbers", "meshes[" + std::to_string(mesh) + "]",
                       "the limit is " + std::to_string(limit_)};
    stage::Mesh made;
    if (skin != none) {
        const auto& found = skinOf(skin);
        if (!found) return found.problem();
        made.skin = found.value();
    }
    const auto& shape = shapeOf(mesh, skin);
    if (!shape) return shape.problem();
    made.shape = shape.value();
    made.morphs = memory_.morphs[node];
    return made;
}

// Takes what drawing the node costs off what is left, as the document counts it.
bool MeshAdder::spend(std::size_t node) {
    const std::size_t skin = model_.nodes[node].skin;
    std::size_t numbers = skin == none ? 0 : model_.skins[skin].joints.size() * 12;
    for (const Primitive& primitive : model_.meshes[model_.nodes[node].mesh].primitives.value()) {
        const std::size_t points = model_.accessors[primitive.positions].count;
        const auto targets = primitive.targets.size() -
                             static_cast<std::size_t>(std::ranges::count(primitive.targets, none));
        numbers +=
            points * (3 * (1 + targets) + (skin == none ? 0 : 8) +
                      (primitive.normals == none ? 0 : 3) + (primitive.texture == none ? 0 : 2));
        if (primitive.indices != none) numbers += model_.accessors[primitive.indices].count;
    }
    if (numbers > left_) return false;
    left_ -= numbers;
    return true;
}

const Result<std::shared_ptr<const MeshShape>>& MeshAdder::shapeOf(std::size_t mesh,
                                                                   std::size_t skin) {
    const auto known = shapes_.find({mesh, skin});
    if (known != shapes_.end()) return known->second;
    auto shape = readShape(source(), memory_.document->materials, mesh,
                           skin == none ? 0 : model_.skins[skin].joints.size());
    Result<std::shared_ptr<const MeshShape>> kept =
        shape ? Result(std::shared_ptr<const MeshShape>(
                    std::make_shared<MeshShape>(std::move(*shape))))
              : shape.problem();
    return shapes_.emplace(std::pair{mesh, skin}, std::move(kept)).first->second;
}

const Result<std::shared_ptr<const MeshSkin>>& MeshAdder::skinOf(std::size_t skin) {
    const auto known = skins_.find(skin);
    if (known != skins_.end()) return known->second;
    auto read = readSkin(skin);
    Result<std::shared_ptr<const MeshSkin>> kept =
        read ? Result(std::shared_ptr<const MeshSkin>(std::make_shared<MeshSkin>(std::move(*read))))
             : read.problem();
    return skins_.emplace(skin, std::move(kept)).first->second;
}

Result<MeshSkin> MeshAdder::readSkin(std::size_t index) const {
    const Skin& from = model_.skins[index];
    const std::string skin = "skins[" + std::to_string(index) + "]",
                      place = skin + ".inverseBindMatrices";
    if (from.joints.empty()) return Problem{"the skin has no joints", skin, ""};
    MeshSkin made;
    for (const std::size_t joint : from.joints)
        made.joints.push_back(memory_.items[joint]);
    made.inverseBinds.resize(from.joints.size());
    if (from.inverseBinds == none) return made;
    const Accessor& accessor = model_.accessors[from.inverseBinds];
    if (accessor.components != 16 || accessor.count < from.joints.size() ||
        accessor.count > limit_ / 16)
        return Problem{"expected a matrix for each joint", place,
                       "there are " + std::to_string(from.joints.size()) + " joints"};
    const auto numbers = readFloats(source(), from.inverseBinds, place);
    if (!numbers) return numbers.problem();
    for (const float number : numbers.value())
        if (!std::isfinite(number)) return Problem{"a number is not finite", place, ""};
    for (std::size_t j = 0; j < from.joints.size(); ++j) {
        const auto at = [&](std::size_t r, std::size_t c) { // columns one after the other
            return static_cast<double>(numbers.value()[16 * j + 4 * c + r]);
        };
        Affine& bind = made.inverseBinds[j];
        for (std::size_t r = 0; r < 3; ++r) {
            bind.linear[r] = {at(r, 0), at(r, 1), at(r, 2)};
            bind.offset[r] = at(r, 3);
        }
    }
    return made;
}

} // namespace

std::vector<std::string> addMeshes(Scene& scene, const Memory& memory, const ReadLimits& limits) {
    return MeshAdder(scene, memory, limits).add();
}

} // namespace cadencora::stage::gltf
