// What of a scene BVH cannot hold, as warnings.

#include "stage/formats/bvh/plan.h"

#include "stage/base/text.h"

#include <algorithm>

namespace cadencora::stage::bvh {

namespace {

bool isBone(const Item& item) {
    return item.type == ItemType::bone;
}

bool hasBones(const Item& item) {
    return item.firstBone != ItemId::none;
}

// True where any of the channels from `first` to `last` leaves the value.
bool leaves(const Scene& scene, const Item& item, MotionChannel first, MotionChannel last,
            double value, double within = 0) {
    for (std::size_t c = first; c <= last; ++c)
        if (!isConstantAt(scene.envelope(scene.channel(item.motion[c]).envelope), value, within))
            return true;
    return false;
}

// A light or a camera, or an object without bones.
bool isOther(const Scene&, const Item& item) {
    return !isBone(item) && !hasBones(item);
}

bool isMovedOwner(const Scene& scene, const Item& item) {
    return hasBones(item) &&
           (leaves(scene, item, positionX, bank, 0) || leaves(scene, item, scaleX, scaleZ, 1));
}

bool isScaledBone(const Scene& scene, const Item& item) {
    constexpr double unnoticed = 1e-4; // captured or packed scales are rarely 1 to the last digit
    return isBone(item) && leaves(scene, item, scaleX, scaleZ, 1, unnoticed);
}

bool hasPivot(const Scene&, const Item& item) {
    return isBone(item) && (item.pivot != Vec3{} || item.secondRotation != Vec3{});
}

bool hasFurtherChannels(const Scene& scene, const Item& item) {
    const ChannelGroup& group = scene.group(item.group);
    return !group.groups.empty() || group.channels.size() > motionChannelCount;
}

bool isMisplacedRoot(const Scene& scene, const Item& item) {
    return isBone(item) && item.parent != item.owner && item.parent != ItemId::none &&
           !isBone(scene.item(item.parent));
}

struct Loss {
    bool (*lost)(const Scene&, const Item&);
    std::string_view what;
};

constexpr std::array losses{
    Loss{isOther, "BVH holds only bones; left out"},
    Loss{isMovedOwner,
         "BVH does not hold the position, rotation and scale of the object that owns the bones"},
    Loss{isScaledBone, "BVH does not hold the scale"},
    Loss{hasPivot, "BVH does not hold the pivot point and the second rotation"},
    Loss{hasFurtherChannels, "BVH does not hold morphs and further channels"},
    Loss{isMisplacedRoot, "written as a root, without its parent"},
};

} // namespace

std::vector<std::string> findLosses(const Scene& scene) {
    std::vector<std::string> warnings;
    for (const Loss& loss : losses) {
        NameList names;
        for (std::size_t i = 0; i < scene.itemCount(); ++i) {
            const Item& item = scene.item(Scene::itemAt(i));
            if (loss.lost(scene, item))
                names.add(std::string(itemTypeName(item.type)) + " " + inQuotes(item.name));
        }
        if (names.count() > 0) warnings.push_back(std::string(loss.what) + ": " + names.text());
    }
    std::size_t owners = 0;
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        if (hasBones(scene.item(Scene::itemAt(i)))) ++owners;
    if (owners > 1)
        warnings.push_back("BVH holds one skeleton; the bones of " + std::to_string(owners) +
                           " objects are written as roots of it");
    return warnings;
}

} // namespace cadencora::stage::bvh
