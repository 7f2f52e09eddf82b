// Controls: adding, wiring, reading, setting and placing them.
//
// Calls only the host's panel service and control records. A host may refuse a control: every
// routine takes a null control, does nothing with it and reads the given or the neutral value.
#pragma once

#include "plugin/host/panel_funcs.h"

namespace cadencora {

constexpr int pathSize = 256; // bytes of a path, with the closing zero

// Adding. Widths are pixels; labels, choice items and titles outlive the panel. Null if refused.
// `type` is one of the load, save, file and directory controls.
host::Control* addPathControl(host::Panel panel, const char* type, const char* label, int width);
host::Control* addButton(host::Panel panel, const char* label, int width);
host::Control* addToggle(host::Panel panel, const char* label);
host::Control* addItemList(host::Panel panel, const char* label);
host::Control* addInteger(host::Panel panel, const char* label, int initial);
host::Control* addReal(host::Panel panel, const char* label, double initial);
host::Control* addSlider(host::Panel panel, const char* label, int width, int minimum, int maximum,
                         int initial);
host::Control* addListBox(host::Panel panel, const char* label, int rows, host::CountCallback count,
                          host::NameCallback name);
// `type` is a choice or a tab choice; `items` ends with null.
host::Control* addChoice(host::Panel panel, const char* type, const char* label,
                         const char* const* items);

// User data first, then the handler, so that no event arrives without its record. A null handler
// leaves the control with its user data only.
void wireControl(host::Control* control, void* userData, host::EventHandler handler);

int readInteger(host::Control* control, int tag, int ifNone = 0);
void setInteger(host::Control* control, int tag, int value);
double readReal(host::Control* control);
void setReal(host::Control* control, double value);

// What a path control opens with: the pattern of the files that it offers to the user, for example
// "*.lw_items", or a path.
void setPathText(host::Control* control, const char* text);

// The item that an item list shows chosen; null for none.
host::Item readItem(host::Control* control);
void setItem(host::Control* control, host::Item item);

// False when the user chose nothing.
bool readPath(host::Control* control, char (&path)[pathSize]);

// Draws a list box anew after its rows have changed.
void refreshList(host::Control* list);

// Puts buttons beside one another at the height at which the host placed the first.
void placeRow(host::Control* const* buttons, int count, int firstX, int step);

// Moves a labelled field so that its value box starts at the same x as its neighbours'.
void alignValueBox(host::Control* control);

} // namespace cadencora
