// The labels by which people and scripts name the controls of panels.
//
// A control is named by its label; where several share it, by the list box above it
// ("Affected Objects/Load"), by its panel ("Bake/Start") or by both; where even that is the same,
// by its turn ("Start#2"). Panels are looked through in the order given.
#pragma once

#include "stage/base/result.h"
#include "stage/panels/panel.h"

namespace cadencora::stage {

using Panels = std::vector<const PanelModel*>;

// The label without outer blanks.
std::string_view shownLabel(const ControlModel& control);

// "Affected Objects/Load": the label after that of the list box above, if there is one.
std::string qualifiedLabel(const ControlModel& control);

// The controls that a label names, visible or not: none, one or several.
std::vector<ControlModel*> controlsNamed(const Panels& panels, std::string_view label);

// The one control that a label names. A Problem lists what would do instead.
Result<ControlModel*> findControl(const Panels& panels, std::string_view label);

// What a step presses: "LABEL" of a button, or "LABEL=VALUE" of another control.
struct Pressed {
    ControlModel* control = nullptr;
    std::string value;
};
Result<Pressed> findPressed(const Panels& panels, const std::string& press);

// The shortest label that names this control and no other; empty: it has no label.
std::string uniqueLabel(const Panels& panels, const ControlModel& control);

// Of every control that has a label.
std::vector<std::string> labels(const Panels& panels);

} // namespace cadencora::stage
