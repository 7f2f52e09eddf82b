#include "stage/formats/gltf/write/fresh.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/document/quaternion.h"

#include <cmath>
#include <map>

namespace cadencora::stage::gltf {

namespace {

std::size_t nodeOf(ItemId item) {
    return static_cast<std::size_t>(item) - 1;
}

// Left out where it is the default of glTF. False where a number is not finite.
template <std::size_t count>
bool putNumbers(Json& node, const char* name, const std::array<double, count>& numbers,
                const std::array<double, count>& usual) {
    for (const double number : numbers)
        if (!std::isfinite(number)) return false;
    if (numbers != usual) node[name] = numbers;
    return true;
}

Vec3 restOf(const Scene& scene, ItemId item, MotionChannel first) {
    Vec3 rest{};
    for (std::size_t c = 0; c < 3; ++c)
        rest[c] = scene.motion(item, static_cast<MotionChannel>(first + c)).rest;
    return rest;
}

bool putRest(const Scene& scene, ItemId item, Json& node) {
    const Vec3 angles = restOf(scene, item, heading);
    const Quaternion rotation = angles == Vec3{} ? Quaternion{0, 0, 0, 1} : quaternionOf(angles);
    return putNumbers(node, "translation", restOf(scene, item, positionX), {}) &&
           putNumbers(node, "rotation", rotation, {0, 0, 0, 1}) &&
           putNumbers(node, "scale", restOf(scene, item, scaleX), {1, 1, 1});
}

ItemId rootOf(const Scene& scene, ItemId item) {
    while (scene.item(item).parent != ItemId::none)
        item = scene.item(item).parent;
    return item;
}

// A skin for the bones of each object; all joints of one must have one root.
void putSkins(const Scene& scene, Json& document, std::vector<std::string>& warnings) {
    for (ItemId owner = scene.firstOfType(ItemType::object); owner != ItemId::none;
         owner = scene.item(owner).nextOfType) {
        const ItemId first = scene.item(owner).firstBone;
        if (first == ItemId::none) continue;
        Json joints = Json::array();
        bool haveOneRoot = true;
        for (ItemId bone = first; bone != ItemId::none; bone = scene.item(bone).nextOfType) {
            joints.push_back(nodeOf(bone));
            haveOneRoot = haveOneRoot && rootOf(scene, bone) == rootOf(scene, first);
        }
        if (haveOneRoot) {
            document["skins"].push_back(
                {{"name", scene.item(owner).writtenName()}, {"joints", joints}});
        } else {
            warnings.push_back("bones with different roots become plain nodes: those "
                               "of " +
                               inQuotes(scene.item(owner).name));
        }
    }
}

void putKind(const Item& item, Json& document, Json& node) {
    if (item.type == ItemType::camera) {
        if (!document.contains("cameras"))
            document["cameras"].push_back(
                {{"type", "perspective"}, {"perspective", {{"yfov", 0.8}, {"znear", 0.1}}}});
        node["camera"] = 0;
    } else if (item.type == ItemType::light) {
        if (!document.contains("extensionsUsed")) {
            document["extensionsUsed"] = Json::array({"KHR_lights_punctual"});
            document["extensions"]["KHR_lights_punctual"]["lights"].push_back({{"type", "point"}});
        }
        node["extensions"]["KHR_lights_punctual"]["light"] = 0;
    }
}

} // namespace

Result<Draft> freshDraft(const Scene& scene, std::vector<std::string>& warnings) {
    Draft draft;
    Json& document = draft.document.json;
    document["asset"] = {{"version", "2.0"}, {"generator", "Cadencora"}};
    Json nodes = Json::array(), roots = Json::array();
    std::size_t turnedAbout = 0;
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const Item& item = scene.item(Scene::itemAt(i));
        Json node = Json::object();
        node["name"] = item.writtenName();
        if (!putRest(scene, Scene::itemAt(i), node))
            return Problem{"a value is not finite", "", "of the item " + inQuotes(item.name)};
        putKind(item, document, node);
        if (item.parent == ItemId::none) {
            roots.push_back(i);
        } else {
            nodes[nodeOf(item.parent)]["children"].push_back(i);
        }
        nodes.push_back(std::move(node));
        if (item.pivot != Vec3{} || item.secondRotation != Vec3{}) ++turnedAbout;
    }
    if (turnedAbout > 0)
        warnings.push_back("glTF does not hold the pivot point and the second rotation: of " +
                           std::to_string(turnedAbout) + " items");
    if (!nodes.empty()) {
        document["scene"] = 0;
        document["scenes"].push_back({{"nodes", std::move(roots)}});
        document["nodes"] = std::move(nodes);
        putSkins(scene, document, warnings);
    }
    return draft;
}

} // namespace cadencora::stage::gltf
