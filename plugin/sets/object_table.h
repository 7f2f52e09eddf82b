// The affected item table: collecting it from the selection or the whole scene.
//
// Works on the state record and reads the newest dialog's toggles; calls the host's item and
// interface services. Items beyond 20480 are dropped without a word; duplicates stay.
#pragma once

#include "plugin/shell/tool_state.h"

namespace cadencora {

// Adds one item after the others; false when the table is full and the item was dropped.
bool appendObject(ToolState* state, host::Item item);

// Collects the table anew as the toggles say: the selection in its order, then, if asked for, all
// descendants of each; or the whole scene. Without the host services the table stays as it is.
void getSelected(ToolState* state);

// The values of "Use selected objects only" and "Include all subchildren"; 0 without a toggle.
int affectOnlySelected(const ToolState* state);
int affectAllChildren(const ToolState* state);

// Appends all descendants of the item, depth first, parents before children.
void getChildrenOfID(host::Item item, ToolState* state);

// The entry that holds the item, looked for from entry `from` on and then from the first: callers
// who ask for one after the other, in the table's order, find each at once. -1 without one.
int findObject(const ToolState* state, host::Item item, int from);

// Whether the item is in the table; false for a null record or item.
bool isSelectedInKeys(const ToolState* state, host::Item item);

// `visit` gets each item of the table, in table order; names that matched no item are skipped.
template <class Visit>
void walkItems(const ToolState* state, Visit visit) {
    for (int i = 0; i < state->numObjects; ++i)
        if (state->objects[i]) visit(state->objects[i]);
}

} // namespace cadencora
