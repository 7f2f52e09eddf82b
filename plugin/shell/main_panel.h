// The main panel: three tabs of command buttons, of which only the chosen one's are drawn.
//
// Calls the host's panel service, and the commands through the table of buttons.
#pragma once

#include "plugin/shell/tool_state.h"

namespace cadencora {

constexpr int numTabs = 3;
constexpr int maxTabButtons = 20;

// The buttons of each tab, in the order of the tabs; unused slots are null. User data of the tab
// control, and lives as long as the panel.
struct TabControlSets {
    host::Control* controls[numTabs][maxTabButtons];
};

// One button. A null handler: the button does nothing yet.
struct TabButton {
    const char* label;
    host::EventHandler handler;
};

extern const char* const layoutTabs[numTabs + 1]; // ends with null

// Each list ends with a button of nulls.
extern const TabButton tab_1_names[];
extern const TabButton tab_2_names[];
extern const TabButton tab_3_names[];

// Fills an empty panel: state and tabs outlive it.
void buildMainPanel(host::Panel panel, ToolState* state, TabControlSets* tabs);

// The tab control's handler: erases all buttons and draws those of the chosen tab.
void tabEvent(host::Control* control, void* userData);

} // namespace cadencora
