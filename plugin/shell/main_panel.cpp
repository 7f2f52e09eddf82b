#include "plugin/shell/main_panel.h"

#include "plugin/commands/commands.h"
#include "plugin/host/lookup.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/panels.h"
#include "plugin/transfer/transfer.h"

namespace cadencora {

const char* const layoutTabs[numTabs + 1] = {"Standard", "Transfer", "Other", nullptr};

const TabButton tab_1_names[] = {
    {"Cycle (Bake) Keys", copyEvent},
    {"Destroy Keys", destroyEvent},
    {"Defractionalize", defractionEvent},
    {"Create Random Keys", createRandomEvent},
    {"Randomize/Jitter Keys", jitterEvent},
    {"MoveRotateScale", moveRotateScaleEvent},
    {nullptr, nullptr},
};

const TabButton tab_2_names[] = {
    {"Node-to-Node Frame Copy", frameCopyEvent},
    {"Node-to-Node Motion Copy", motionCopyEvent},
    {"Load Single Frame data", loadFrameEvent},
    {"Save Single Frame data", saveFrameEvent},
    {"Load Clip data", loadMotionEvent},
    {"Save Clip data", saveMotionEvent},
    {nullptr, nullptr},
};

const TabButton tab_3_names[] = {
    {"Dissolve", dissolveEvent},
    {"UnDissolve", undissolveEvent},
    {"Key All Morphs", keyAllMorphsEvent},
    {"UnKey All Morphs", unkeyAllMorphsEvent},
    {"Reset All Morphs", resetAllMorphsEvent},
    {nullptr, nullptr},
};

static_assert(sizeof tab_1_names <= sizeof(TabButton) * (maxTabButtons + 1));
static_assert(sizeof tab_2_names <= sizeof(TabButton) * (maxTabButtons + 1));
static_assert(sizeof tab_3_names <= sizeof(TabButton) * (maxTabButtons + 1));

static const TabButton* const buttonsOfTab[numTabs] = {tab_1_names, tab_2_names, tab_3_names};

static constexpr int panelWidth = 150;
static constexpr int buttonWidth = 170;

// Adds a tab's column of buttons. The host places each below the one before it, so moving the
// first to `top` lays the whole column over that of the first tab. A null `top` leaves it.
static void addColumn(host::Panel panel, const TabButton* buttons, host::Control** controls,
                      host::Control* top, ToolState* state) {
    for (int i = 0; buttons[i].label; ++i) {
        controls[i] = addButton(panel, buttons[i].label, buttonWidth);
        if (i == 0 && top) {
            setInteger(controls[0], host::controlX, readInteger(top, host::controlX));
            setInteger(controls[0], host::controlY, readInteger(top, host::controlY));
        }
    }
    for (int i = 0; buttons[i].label; ++i)
        wireControl(controls[i], state, buttons[i].handler);
}

void buildMainPanel(host::Panel panel, ToolState* state, TabControlSets* tabs) {
    panelService->setPanelAttribute(panel, host::panelWidth, &panelWidth);
    centerPanel(panelService, panel);
    host::Control* tabControl = addChoice(panel, host::tabChoiceControl, "", layoutTabs);
    wireControl(tabControl, tabs, tabEvent);
    for (int tab = 0; tab < numTabs; ++tab) {
        host::Control* top = tab == 0 ? nullptr : tabs->controls[0][0];
        addColumn(panel, buttonsOfTab[tab], tabs->controls[tab], top, state);
    }
    setInteger(tabControl, host::controlValue, 0);
    tabEvent(tabControl, tabs);
}

void tabEvent(host::Control* control, void* userData) {
    const auto* tabs = static_cast<const TabControlSets*>(userData);
    const int chosen = readInteger(control, host::controlValue);
    for (int tab = 0; tab < numTabs; ++tab)
        for (host::Control* button : tabs->controls[tab]) {
            if (!button) continue;
            button->draw(button, host::eraseControl);
            if (tab == chosen) button->draw(button, host::drawControl);
        }
}

} // namespace cadencora
