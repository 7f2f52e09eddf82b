// The start of the tool: the module, activation, the main panel and its tabs.

#include "plugin/sets/panels.h"
#include "plugin/shell/main_panel.h"
#include "tests/plugin/rig.h"

#include <dlfcn.h>

namespace cadencora::stage {
namespace {

const Texts nineNames = {"Position.X", "Position.Y", "Position.Z", "Rotation.H", "Rotation.P",
                         "Rotation.B", "Scale.X",    "Scale.Y",    "Scale.Z"};

// Texts of the visible buttons from top to bottom.
Texts visibleButtons(const PanelModel& panel) {
    std::map<int, std::string> byHeight;
    for (const ControlModel* control : panel.controls)
        if (control->type == ControlType::button && control->drawn)
            byHeight[control->rect.y] += control->label;
    Texts labels;
    for (const auto& [y, label] : byHeight)
        labels.push_back(label);
    return labels;
}

TEST(Module, exports_its_descriptor_and_nothing_else) {
    FILE* pipe = popen("nm -D --defined-only " CADENCORA_BIN_DIR "/cadencora.so", "r");
    ASSERT_TRUE(pipe);
    Texts symbols;
    char line[1024];
    while (std::fgets(line, sizeof line, pipe)) {
        const std::string_view text(line);
        if (text.find(" __odr_asan.") == text.npos) // an address-checked build's marker
            symbols.emplace_back(text.substr(text.find(' ') + 1));
    }
    ASSERT_EQ(pclose(pipe), 0);
    ASSERT_EQ(symbols.size(), 1u);
    EXPECT_TRUE(symbols[0] == "D __mod_descrip\n" || symbols[0] == "R __mod_descrip\n")
        << symbols[0];
}

TEST(Module, describes_one_server) {
    void* library = dlopen(CADENCORA_BIN_DIR "/cadencora.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(library) << dlerror();
    const auto* descriptor =
        static_cast<const host::ModuleDescriptor*>(dlsym(library, "__mod_descrip"));
    ASSERT_TRUE(descriptor);
    EXPECT_EQ(descriptor->sync, 0x04121994u);
    EXPECT_EQ(descriptor->version, 3u);
    EXPECT_EQ(descriptor->locale, 0x400u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(descriptor->startup()), 4u);
    EXPECT_STREQ(descriptor->servers[0].className, "LayoutGeneric");
    EXPECT_STREQ(descriptor->servers[0].serverName, "Cadencora");
    EXPECT_FALSE(descriptor->servers[1].className || descriptor->servers[1].activate);
}

TEST(Activation, of_another_interface_version_does_nothing) {
    for (const int version : {-2, 0, 1, 3, 4}) {
        Rig rig;
        EXPECT_EQ(Cadencora(version, &Host::lookup, Host::layoutGeneric(), nullptr), 1);
        EXPECT_TRUE(rig.host.panels().panels().empty());
        EXPECT_TRUE(rig.user.said().empty());
    }
}

TEST(Activation, without_messages_or_panels_ends_without_a_word) {
    for (const char* service : {"Info Messages 2", "LWPanelServices"}) {
        Rig rig;
        rig.host.mutableFaults().withheldServices = {service};
        EXPECT_EQ(Cadencora(2, &Host::lookup, Host::layoutGeneric(), nullptr), 2) << service;
        EXPECT_TRUE(rig.host.panels().panels().empty());
        EXPECT_TRUE(rig.user.said().empty());
    }
}

TEST(Activation, tells_that_there_is_no_panel) {
    Rig rig;
    rig.host.mutableFaults().panelsUntilNull = 0;
    EXPECT_EQ(Cadencora(2, &Host::lookup, Host::layoutGeneric(), nullptr), 2);
    ASSERT_EQ(rig.user.messages().size(), 1u);
    EXPECT_EQ(rig.user.messages()[0].kind, MessageKind::error);
    EXPECT_EQ(rig.user.messages()[0].lines, (Texts{"Unable to create panel for display", ""}));
}

TEST(Activation, starts_with_the_nine_channels_and_no_items) {
    Rig rig;
    rig.select({"Hero"});
    const ToolState* state = rig.activate();
    ASSERT_TRUE(state);
    EXPECT_EQ(Texts(state->channelNames, state->channelNames + state->numChannels), nineNames);
    EXPECT_EQ(state->numObjects, 0);
    EXPECT_EQ(state->customListLoaded, 0);
    EXPECT_FALSE(state->channelList || state->objectList || state->startSlider ||
                 state->endSlider || state->selectedOnlyToggle || state->allChildrenToggle ||
                 state->customListToggle);
    EXPECT_EQ(rig.user.main->title, "Cadencora");
    EXPECT_EQ(rig.user.main->state, PanelState::floating);
    EXPECT_TRUE(rig.user.titles.empty()) << "the panel must not block";
}

TEST(Activation, twice_gives_two_panels_with_records_of_their_own) {
    Rig rig;
    rig.select({"Box"});
    const ToolState* first = rig.activate();
    const PanelModel* firstPanel = rig.user.main;
    const ToolState* second = rig.activate();
    ASSERT_NE(firstPanel, rig.user.main);
    ASSERT_NE(first, second);
    for (const ControlModel* control : firstPanel->controls)
        EXPECT_TRUE(control->type == ControlType::tabs || control->userData == first);
    for (const ControlModel* control : rig.user.main->controls)
        EXPECT_TRUE(control->type == ControlType::tabs || control->userData == second);
    rig.perform("Cadencora/Destroy Keys#2", {{"Affected Channels", "Rotation.H"}, {"Remove", ""}},
                Reply::cancel);
    EXPECT_EQ(second->numChannels, 8);
    EXPECT_EQ(first->numChannels, 9);
    EXPECT_EQ(first->numObjects, 0);
}

TEST(MainPanel, shows_the_buttons_of_one_tab_each_in_the_same_places) {
    const Texts tabs[] = {
        {"Cycle (Bake) Keys", "Destroy Keys", "Defractionalize", "Create Random Keys",
         "Randomize/Jitter Keys", "MoveRotateScale"},
        {"Node-to-Node Frame Copy", "Node-to-Node Motion Copy", "Load Single Frame data",
         "Save Single Frame data", "Load Clip data", "Save Clip data"},
        {"Dissolve", "UnDissolve", "Key All Morphs", "UnKey All Morphs", "Reset All Morphs"},
    };
    Rig rig;
    rig.activate();
    PanelModel& panel = *rig.user.main;
    EXPECT_EQ(visibleButtons(panel), tabs[0]) << "when the panel opens";

    ControlModel& tabControl = *panel.controls.at(0);
    ASSERT_EQ(tabControl.type, ControlType::tabs);
    EXPECT_EQ(tabControl.choices, (Texts{"Standard", "Transfer", "Other"}));
    std::vector<Rect> places;
    for (const int tab : {0, 2, 1, 0}) {
        ASSERT_TRUE(setInteger(tabControl, tab).ok());
        EXPECT_EQ(visibleButtons(panel), tabs[tab]);
        std::size_t row = 0;
        for (const ControlModel* control : panel.controls) {
            if (control->type != ControlType::button || !control->drawn) continue;
            if (row == places.size()) places.push_back(control->rect);
            EXPECT_EQ(control->rect.x, places[row].x);
            EXPECT_EQ(control->rect.y, places[row++].y) << control->label;
        }
    }
    tabControl.integer = 3; // as a host might answer that has lost the choice
    tabEvent(&tabControl.record, tabControl.userData);
    EXPECT_EQ(visibleButtons(panel), Texts());
}

TEST(MainPanel, every_button_reaches_its_command) {
    // What the user sees first of each: dialogs, then question.
    const std::string range = "Select range and objects";
    const struct {
        const char* press;
        Texts titles;
        const char* question;
    } rows[] = {
        {"Cycle (Bake) Keys", {range, "Copy and Cycle frames"}, nullptr},
        {"Destroy Keys",
         {range},
         "question: Delete keys in frame range / Do you want to clear the channel data / for the "
         "selected items?"},
        {"Defractionalize",
         {range},
         "question: Defractionalize / All keyframes for the items within the frame range with be "
         "modifed! / "},
        {"Create Random Keys", {range, "Create random keyframes"}, nullptr},
        {"Randomize/Jitter Keys", {range, "Randomize keyframes"}, nullptr},
        {"MoveRotateScale", {range, "Move/Rotation/Scale keys"}, nullptr},
        {"Dissolve",
         {"Dissolve(hide) objects in range"},
         "question: Dissolve range / START: 0 --- END: 60 / "},
        {"UnDissolve",
         {"Undissolve(show) objects in range"},
         "question: Dissolve range / START: 0 --- END: 60 / Geometry objects in Affected List"},
        {"Key All Morphs", {"Key ALL morph channels at: 0"}, nullptr},
        {"UnKey All Morphs", {"Key ALL morph channels at: 0"}, nullptr},
        {"Reset All Morphs", {"Reset ALL morph channels at: 0"}, nullptr},
    };
    Rig rig;
    rig.activateModule();
    rig.select({"Face"});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.press);
        rig.user.titles.clear();
        rig.perform(row.press, {}, Reply::no);
        EXPECT_EQ(rig.user.titles, row.titles);
        EXPECT_EQ(rig.user.said(), row.question ? Texts{row.question} : Texts());
    }
}

TEST(MainPanel, panels_stand_in_the_middle_rounded_toward_zero) {
    const struct {
        int display, panel, place;
    } rows[] = {{1024, 300, 362}, {1024, 301, 361}, {301, 300, 0}, {600, 603, -1}, {200, 300, -50}};
    for (const auto& row : rows) {
        Rig rig;
        rig.user.width = rig.user.height = row.display;
        rig.activate();
        const auto* panels =
            static_cast<const host::PanelFuncs*>(Host::lookup("LWPanelServices", 0));
        const host::Panel panel = panels->createPanel("Panel", 0);
        for (const int tag : {host::panelWidth, host::panelHeight})
            panels->setPanelAttribute(panel, tag, &row.panel);
        centerPanel(panels, panel);
        const PanelModel* model = rig.host.panels().find(panel);
        EXPECT_EQ(model->x, row.place);
        EXPECT_EQ(model->y, row.place);
    }
}

} // namespace
} // namespace cadencora::stage
