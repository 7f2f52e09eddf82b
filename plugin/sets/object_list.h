// Affected objects: the list box that shows the item table, its buttons and toggles, and the
// item-set files ("*.lw_items", one name per line) that keep a table.
//
// Works on the state record; calls the item table, the item search, the host's panel, message and
// item services and the C library. What is changed here lasts, even if the dialog is cancelled.
#pragma once

#include "plugin/shell/tool_state.h"

namespace cadencora {

// Adds the list box, its row of three buttons and the three toggles, wired to the record. Collects
// the selection with its descendants, unless the custom list has ever been turned on.
void addObjectListBox(host::Panel panel, ToolState* state);

// The list box's callbacks; user data is the state record. It shows the first 512 entries; an
// entry without an item reads "(not found)". Null: no such row, or no item service.
int objectCount(void* userData);
const char* objectName(void* userData, int row);

// Event handlers; user data is the state record.
void updateEvent(host::Control* control, void* userData);
void allEvent(host::Control* control, void* userData);
void customEvent(host::Control* control, void* userData);
void loadItemSetsEvent(host::Control* control, void* userData);
void saveItemSetsEvent(host::Control* control, void* userData);

// The table becomes the file's words, each looked up as an item name; a name that matches no item
// leaves a null entry. A file that cannot be opened leaves the table.
void loadItemSets(const char* path, ToolState* state);

// Null entries are not written.
void saveItemSets(const char* path, ToolState* state);

} // namespace cadencora
