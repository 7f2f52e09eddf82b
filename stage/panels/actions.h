// What a user can do to a control, whichever front end the user sits at.
//
// Each action puts the value into the model and then calls the control's event handler, as the
// host does after a mouse click. Values out of range are refused with a Problem that says what
// would do; the model and the plug-in then notice nothing.
#pragma once

#include "stage/base/result.h"
#include "stage/panels/panel.h"

namespace cadencora::stage {

// An exception of a handler leaves the action as this one. The host reports it.
struct HandlerThrew {
    std::string control; // its label
    std::string what;
};

Result<> press(ControlModel& control);                   // buttons
Result<> setInteger(ControlModel& control, int value);   // integer, slider, choice, toggle, row
Result<> setNumber(ControlModel& control, double value); // number; integer types when whole
Result<> choosePath(ControlModel& control, std::string path); // path controls; then fires
Result<> chooseItem(ControlModel& control, ItemId item);      // item lists

// Sets or presses a control by text, as a script writes it: "on", "12.5", a choice's text, an
// item's name, a row's text or number. A button takes "", "press" or "on".
Result<> setByText(ControlModel& control, std::string_view text, const Scene& scene);

// The value in the form that setByText takes.
std::string valueText(const ControlModel& control, const Scene& scene);

// The control type's name for people and reports: "toggle", "list box".
std::string_view typeName(ControlType type);

} // namespace cadencora::stage
