// The source and the target of a copy: the two item lists of its dialog.
//
// Calls the controls, the item table and the host's message service.
#pragma once

#include "plugin/shell/tool_state.h"

namespace cadencora {

struct PairControls {
    host::Control* source;
    host::Control* target;
};

struct ItemPair {
    host::Item source;
    host::Item target;
};

// Adds "Source" and "Target".
PairControls addPairControls(host::Panel panel);

// Collects the item table anew, unless a loaded list is in use, and chooses its first two items, as
// far as there are any.
void presetPair(const PairControls& controls, ToolState* state);

// False where one of them names no item, which the user has then been told.
bool readPair(const PairControls& controls, ItemPair* pair);

} // namespace cadencora
