// "LW Item Info 5": the items of the scene, their hierarchy, parameters and channels.
//
// Items and groups belong to the host and live as long as the scene; names are the host's and stay
// valid until the item is renamed.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* itemInfoName = "LW Item Info 5";

// Codes of ItemInfo::param. Lengths in scene units, angles in radians.
enum ItemParam : int {
    itemPosition = 1,
    itemRotation = 5, // heading, pitch, bank
    itemScale = 6,
    itemPivot = 7,
    itemWorldPosition = 8,
    itemSecondRotation = 12 // heading, pitch, bank
};

struct ItemInfo {
    // slot 0: first item of an ItemType; `owner` is the object whose bones are meant, else null
    Item (*firstItem)(int type, Item owner);
    Item (*nextItem)(Item item);                // slot 1: next of the same type (and object)
    Item (*firstChild)(Item item);              // slot 2
    Item (*nextChild)(Item parent, Item child); // slot 3
    Item (*parent)(Item item);                  // slot 4: null for a top-level item
    Reserved slot5, slot6;
    int (*type)(Item item);             // slot 7: an ItemType
    const char* (*itemName)(Item item); // slot 8
    // slot 9: a three-component parameter by ItemParam code at a time in seconds
    void (*param)(Item item, int code, double time, double out[3]);
    Reserved slot10, slot11, slot12;
    Group (*channelGroup)(Item item); // slot 13
};

static_assert(offsetof(ItemInfo, parent) == slot(4));
static_assert(offsetof(ItemInfo, type) == slot(7));
static_assert(offsetof(ItemInfo, param) == slot(9));
static_assert(offsetof(ItemInfo, channelGroup) == slot(13));

} // namespace cadencora::host
