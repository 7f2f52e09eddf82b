#include "plugin/transfer/item_pair.h"

#include "plugin/host/lookup.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/object_table.h"

namespace cadencora {

PairControls addPairControls(host::Panel panel) {
    host::Control* source = addItemList(panel, "Source");
    host::Control* target = addItemList(panel, "Target");
    return {source, target};
}

void presetPair(const PairControls& controls, ToolState* state) {
    // A list that the user loaded is kept, here as in every dialog.
    if (!readInteger(state->customListToggle, host::controlValue)) getSelected(state);
    if (state->numObjects >= 1) setItem(controls.source, state->objects[0]);
    if (state->numObjects >= 2) setItem(controls.target, state->objects[1]);
}

bool readPair(const PairControls& controls, ItemPair* pair) {
    pair->source = readItem(controls.source);
    pair->target = readItem(controls.target);
    if (pair->source && pair->target) return true;
    message->error("No source or target item", "Please choose both items");
    return false;
}

} // namespace cadencora
