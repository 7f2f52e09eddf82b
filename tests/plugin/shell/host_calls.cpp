// The calls that the plug-in makes of its host, in their order.

#include "plugin/host/lookup.h"
#include "tests/plugin/rig.h"

namespace cadencora::stage {
namespace {

Texts lines;         // the command lines, with items by their names
std::string refused; // a command line that the host refuses

int recordLine(int use, const char* line) {
    std::uintptr_t word = 0;
    const Scene& scene = Host::active()->scene();
    const std::string_view text = line;
    constexpr std::string_view selecting = "SelectItem ";
    if (text.starts_with(selecting)) {
        word = std::stoull(std::string(text.substr(selecting.size())), nullptr, 16);
        lines.push_back("SelectItem " + scene.item(decode<ItemId>(scene, word)).name);
    } else {
        lines.emplace_back(line);
    }
    if (line == refused) return 0;
    return static_cast<host::LayoutGeneric*>(Host::layoutGeneric())->evaluate(use, line);
}

struct HostCalls : testing::Test, Rig {
    HostCalls() {
        activate();
        evaluate = &recordLine;
        lines.clear();
        refused.clear();
    }
};

TEST_F(HostCalls, only_dissolve_switches_to_objects_before_it_adds_the_channel) {
    select({"Face"});
    perform("Dissolve");
    EXPECT_EQ(lines, (Texts{"EditObjects", "SelectItem Face", "AddEnvelope Dissolve"}));
    lines.clear();
    select({"Box"});
    perform("UnDissolve", {{"Include all subchildren", "off"}});
    EXPECT_EQ(lines, (Texts{"SelectItem Box", "AddEnvelope Dissolve"}));
    lines.clear();
    perform("Dissolve", {{"Include all subchildren", "off"}});
    EXPECT_EQ(lines, Texts()) << "it has the channel";
}

TEST_F(HostCalls, an_object_that_gets_no_dissolve_channel_is_passed_over) {
    refused = "AddEnvelope Dissolve";
    select({"Face"});
    EXPECT_TRUE(perform("Dissolve").empty());
    refused.clear();
    select({"Face", "Sun", "Box"});
    host.mutableScene().addChannel(host.scene().item(item("Box")).group, "Dissolve");
    refused = "AddEnvelope Dissolve";
    perform("Dissolve", {{"Include all subchildren", "off"}});
    EXPECT_EQ(channel("Face", "Dissolve"), EnvelopeId::none);
    EXPECT_EQ(keys("Box", "Dissolve"), (Keys{{0, 1}, {2, 0}})) << "the next one is done";
    for (const std::string& text : user.said())
        EXPECT_TRUE(text.starts_with("question")) << text;
}

// A panel service whose controls tell the order of their attributes.
using ControlSet = void (*)(host::Control*, int, const host::ControlValue*);
ControlSet setOfHost;
std::set<const host::Control*> withUserData;
int handlers, handlersTooEarly;

void* lookUpWatched(const char* service, int use) {
    static host::PanelFuncs watched;
    void* found = Host::lookup(service, use);
    if (!found || std::string_view(service) != host::panelFuncsName) return found;
    watched = *static_cast<host::PanelFuncs*>(found);
    watched.addControl = [](host::Panel panel, const char* type, const host::ControlDesc* desc,
                            const char* label) {
        host::Control* control =
            static_cast<host::PanelFuncs*>(Host::lookup(host::panelFuncsName, 0))
                ->addControl(panel, type, desc, label);
        setOfHost = control->set;
        control->set = [](host::Control* set, int tag, const host::ControlValue* value) {
            if (tag == host::controlUserData) withUserData.insert(set);
            handlers += tag == host::controlHandler;
            handlersTooEarly += tag == host::controlHandler && !withUserData.contains(set);
            setOfHost(set, tag, value);
        };
        return control;
    };
    return &watched;
}

TEST(HostCallsAtTheStart, every_control_has_its_user_data_before_its_handler) {
    Rig rig;
    ASSERT_EQ(Cadencora(2, &lookUpWatched, Host::layoutGeneric(), nullptr), 0);
    EXPECT_EQ(panelService->globalFunc, &lookUpWatched) << "the second copy of the lookup";
    EXPECT_EQ(global, &lookUpWatched);
    for (const char* command : {"Cycle (Bake) Keys", "Node-to-Node Frame Copy", "Load Clip data"})
        rig.perform(command, {}, Reply::cancel);
    EXPECT_GT(handlers, 25);
    EXPECT_EQ(handlersTooEarly, 0);
}

void* lookUpNoPanels(const char* service, int use) {
    return std::string_view(service) == host::panelFuncsName ? nullptr : Host::lookup(service, use);
}

TEST(HostCallsAtTheStart, a_second_start_that_fails_leaves_the_first_panel_usable) {
    Rig rig;
    rig.activate();
    rig.select({"Box"});
    fill(rig.curve("Box", "Position.X"), {{0, 1}, {1, 2}});
    EXPECT_EQ(Cadencora(2, &lookUpNoPanels, nullptr, nullptr), 2);
    EXPECT_EQ(Cadencora(1, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(rig.perform("Destroy Keys").keysRemoved, 2u);
    EXPECT_EQ(rig.keys("Box", "Position.X"), Keys());
}

} // namespace
} // namespace cadencora::stage
