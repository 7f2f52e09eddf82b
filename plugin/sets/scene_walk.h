// The walk over all items of the scene, in the one order that collecting and searching share.
//
// Calls the host's item service and the caller's visit.
#pragma once

#include "plugin/host/item_info.h"

namespace cadencora {

// Where the walk met an item: a bone is met under its object, and perhaps in the walk of bones.
enum class Place { ofKind, underObject };

template <class Visit>
bool walkItemsOfType(const host::ItemInfo* items, int type, host::Item owner, Visit visit) {
    for (host::Item item = items->firstItem(type, owner); item; item = items->nextItem(item))
        if (!visit(item)) return false;
    return true;
}

// Objects, each followed by its bones; then what the host lists as bones of no object, lights,
// cameras. `visit` gets the item and its place and answers false to end the walk.
template <class Visit>
void walkScene(const host::ItemInfo* items, Visit visit) {
    const auto visitOfKind = [&](host::Item item) { return visit(item, Place::ofKind); };
    const auto visitWithBones = [&](host::Item object) {
        return visitOfKind(object) &&
               walkItemsOfType(items, host::boneItem, object,
                               [&](host::Item bone) { return visit(bone, Place::underObject); });
    };
    if (walkItemsOfType(items, host::objectItem, nullptr, visitWithBones) &&
        walkItemsOfType(items, host::boneItem, nullptr, visitOfKind) &&
        walkItemsOfType(items, host::lightItem, nullptr, visitOfKind))
        walkItemsOfType(items, host::cameraItem, nullptr, visitOfKind);
}

} // namespace cadencora
