// The labels by which people and scripts name the controls of a panel.
#pragma once

#include "stage/base/result.h"
#include "stage/panels/panel.h"

namespace cadencora::stage {

// The label without outer blanks.
std::string_view shownLabel(const ControlModel& control);

// "Affected Objects/Load": the label after that of the list box above, if there is one.
std::string qualifiedLabel(const ControlModel& control);

// The controls of a panel that a label names, visible or not: none, one or several. The label may
// be qualified by the list box above the control ("Affected Objects/Load").
std::vector<ControlModel*> controlsNamed(const PanelModel& panel, std::string_view label);

// The one control that a label names. A Problem lists what would do instead.
Result<ControlModel*> findControl(const PanelModel& panel, std::string_view label);

// Every label of the panel that findControl takes, qualified where needed.
std::vector<std::string> labels(const PanelModel& panel);

} // namespace cadencora::stage
