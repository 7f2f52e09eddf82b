#include "plugin/sets/object_table.h"

#include "plugin/host/lookup.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/scene_walk.h"

namespace cadencora {

bool appendObject(ToolState* state, host::Item item) {
    if (state->numObjects >= maxObjects) return false;
    state->objects[state->numObjects++] = item;
    return true;
}

int affectOnlySelected(const ToolState* state) {
    return state ? readInteger(state->selectedOnlyToggle, host::controlValue) : 0;
}

int affectAllChildren(const ToolState* state) {
    return state ? readInteger(state->allChildrenToggle, host::controlValue) : 0;
}

// False once the table is full, which also ends the climb into the depth.
static bool appendDescendants(const host::ItemInfo* items, host::Item item, ToolState* state) {
    for (host::Item child = items->firstChild(item); child; child = items->nextChild(item, child))
        if (!appendObject(state, child) || !appendDescendants(items, child, state)) return false;
    return true;
}

void getChildrenOfID(host::Item item, ToolState* state) {
    const host::ItemInfo* items = fetchItemInfo();
    if (items && item && state) appendDescendants(items, item, state);
}

static void collectSelection(const host::InterfaceInfo* interfaceInfo, ToolState* state) {
    state->numObjects = 0;
    const host::Item* selected = interfaceInfo->selectedItems;
    while (selected && *selected && appendObject(state, *selected))
        ++selected;
    if (!affectAllChildren(state)) return;
    const int numSelected = state->numObjects;
    for (int i = 0; i < numSelected; ++i)
        getChildrenOfID(state->objects[i], state);
}

void getSelected(ToolState* state) {
    if (!state) return;
    if (affectOnlySelected(state)) {
        if (const host::InterfaceInfo* interfaceInfo = fetchInterfaceInfo())
            collectSelection(interfaceInfo, state);
    } else if (const host::ItemInfo* items = fetchItemInfo()) {
        state->numObjects = 0;
        walkScene(items, [=](host::Item item, Place) { return appendObject(state, item); });
    }
}

int findObject(const ToolState* state, host::Item item, int from) {
    if (!state || !item) return -1;
    for (int i = from; i < state->numObjects; ++i)
        if (state->objects[i] == item) return i;
    for (int i = 0; i < from && i < state->numObjects; ++i)
        if (state->objects[i] == item) return i;
    return -1;
}

bool isSelectedInKeys(const ToolState* state, host::Item item) {
    return findObject(state, item, 0) >= 0;
}

} // namespace cadencora
