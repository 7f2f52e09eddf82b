// "Node-to-Node Motion Copy": gives the target the whole motion of the source, and on request the
// target's descendants those of the source's descendants, paired by their places in the families.
// The host transfers each motion through a temporary file, which is not removed.

#include "plugin/host/command_lines.h"
#include "plugin/host/lookup.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/object_table.h"
#include "plugin/sets/panels.h"
#include "plugin/transfer/item_pair.h"
#include "plugin/transfer/transfer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace cadencora {

static const char* const saveScratch = "SaveMotion temporary_motion_PLEASE_DELETE.mot";
static const char* const loadScratch = "LoadMotion temporary_motion_PLEASE_DELETE.mot";

// An item and all its descendants, depth first.
struct Family {
    host::Item* items; // room for maxObjects, ours to free
    int count;
};

static void copyMotion(host::Item source, host::Item target) {
    selectItem(source);
    issueCommand(saveScratch);
    selectItem(target);
    issueCommand(loadScratch);
}

// The item table collects what its toggles say, so it gets toggles that say "with descendants".
static void collectWithDescendants(host::Panel panel, ToolState* state) {
    state->selectedOnlyToggle = addToggle(panel, "Use selected objects only");
    state->allChildrenToggle = addToggle(panel, "Include all subchildren");
    state->customListToggle = addToggle(panel, "Use custom loaded");
    setInteger(state->selectedOnlyToggle, host::controlValue, 1);
    setInteger(state->allChildrenToggle, host::controlValue, 1);
    setInteger(state->customListToggle, host::controlValue, 0);
}

static void collectFamily(host::Item head, ToolState* state, Family* family) {
    selectItem(head);
    getSelected(state);
    family->count = state->numObjects;
    std::memcpy(family->items, state->objects,
                static_cast<std::size_t>(family->count) * sizeof family->items[0]);
}

// Members of the larger family that have no counterpart are left out. Both families are collected
// before any motion moves.
static void copyFamily(const ItemPair& heads, ToolState* state, Family* sources, Family* targets) {
    collectFamily(heads.source, state, sources);
    collectFamily(heads.target, state, targets);
    for (int i = 0; i < sources->count && i < targets->count; ++i)
        copyMotion(sources->items[i], targets->items[i]);
}

static void runMotionCopy(const host::InterfaceInfo* interfaceInfo, ToolState* state,
                          Family* sources, Family* targets) {
    char title[256];
    std::snprintf(title, sizeof title, "Copy Motion using frames: %d - %d",
                  static_cast<int>(interfaceInfo->previewFirstFrame),
                  static_cast<int>(interfaceInfo->previewLastFrame));
    const host::Panel panel = createPanel(title);
    if (!panel) return;
    const PairControls controls = addPairControls(panel);
    host::Control* descendants = addToggle(panel, "All descendants");
    presetPair(controls, state);
    ItemPair pair;
    if (!runPanel(panel) || !readPair(controls, &pair)) return;
    const bool all = readInteger(descendants, host::controlValue) != 0;
    copyMotion(pair.source, pair.target);
    if (!all) return;
    collectWithDescendants(panel, state);
    copyFamily(pair, state, sources, targets);
}

static Family newFamily() {
    return {static_cast<host::Item*>(std::malloc(maxObjects * sizeof(host::Item))), 0};
}

void motionCopyEvent(host::Control*, void* userData) {
    const host::ItemInfo* info = fetchItemInfo();
    const host::InterfaceInfo* interfaceInfo = fetchInterfaceInfo();
    Family sources = newFamily();
    Family targets = newFamily();
    if (info && interfaceInfo && sources.items && targets.items)
        runMotionCopy(interfaceInfo, static_cast<ToolState*>(userData), &sources, &targets);
    std::free(sources.items);
    std::free(targets.items);
}

} // namespace cadencora
