// "LW Item Info 5": items, their tree, names, types and parameters.

#include "stage/scene/transform.h"
#include "stage/services/gate.h"
#include "stage/services/tables.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

constexpr SlotName service = "LW Item Info 5";

ItemType typeOf(int type) {
    if (type < 0 || type >= static_cast<int>(itemTypes.size()))
        throw MisuseError{"item type " + std::to_string(type)};
    return static_cast<ItemType>(type);
}

// Bones are listed under their object only: without an object there are no bones to list.
ItemId firstItem(Host& host, int type, OrNone<ItemId> owner) {
    if (typeOf(type) != ItemType::bone) return host.scene().firstOfType(typeOf(type));
    return owner.id == ItemId::none ? ItemId::none : host.scene().item(owner.id).firstBone;
}

ItemId nextItem(Host& host, ItemId item) {
    return host.scene().item(item).nextOfType;
}

ItemId firstChild(Host& host, ItemId item) {
    return host.scene().item(item).firstChild;
}

ItemId nextChild(Host& host, ItemId parent, OrNone<ItemId> child) {
    if (child.id == ItemId::none) return host.scene().item(parent).firstChild;
    if (host.scene().item(child.id).parent != parent)
        throw MisuseError{"the item is not a child of that parent"};
    return host.scene().item(child.id).nextSibling;
}

ItemId parent(Host& host, ItemId item) {
    return host.scene().item(item).parent;
}

int type(Host& host, ItemId item) {
    return static_cast<int>(host.scene().item(item).type);
}

const char* itemName(Host& host, ItemId item) {
    return host.scene().item(item).name.c_str();
}

void param(Host& host, ItemId item, int code, double time, double* out) {
    if (!out) throw MisuseError{"null result"};
    const Scene& scene = host.scene();
    time = scene.rate.settled(time);
    Vec3 values{};
    switch (code) {
    case host::itemPosition:
        values = motionValues(scene, item, positionX, time);
        break;
    case host::itemRotation:
        values = motionValues(scene, item, heading, time);
        break;
    case host::itemScale:
        values = motionValues(scene, item, scaleX, time);
        break;
    case host::itemPivot:
        values = scene.item(item).pivot;
        break;
    case host::itemWorldPosition:
        values = worldPosition(scene, item, time);
        break;
    case host::itemSecondRotation:
        values = scene.item(item).secondRotation;
        break;
    default:
        throw MisuseError{"parameter code " + std::to_string(code)};
    }
    std::ranges::copy(values, out);
}

GroupId channelGroup(Host& host, ItemId item) {
    return host.scene().item(item).group;
}

} // namespace

host::ItemInfo& itemInfo() {
    static host::ItemInfo table{
        .firstItem = gate<service, "firstItem", &firstItem>,
        .nextItem = gate<service, "nextItem", &nextItem>,
        .firstChild = gate<service, "firstChild", &firstChild>,
        .nextChild = gate<service, "nextChild", &nextChild>,
        .parent = gate<service, "parent", &parent>,
        .slot5 = nullptr,
        .slot6 = nullptr,
        .type = gate<service, "type", &type>,
        .itemName = gate<service, "itemName", &itemName>,
        .param = gate<service, "param", &param>,
        .slot10 = nullptr,
        .slot11 = nullptr,
        .slot12 = nullptr,
        .channelGroup = gate<service, "channelGroup", &channelGroup>,
    };
    return table;
}

} // namespace cadencora::stage
