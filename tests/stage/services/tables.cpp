// What a plug-in does at the edge of what the tables allow.

#include "plugin/host/layout_generic.h"
#include "stage/panels/actions.h"
#include "tests/stage/services/host_fixture.h"
#include "tests/test_folder.h"

#include <array>
#include <cstring>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

Scene twoProps() {
    Scene scene;
    scene.addItem(ItemType::object, "A");
    scene.addItem(ItemType::object, "B");
    return scene;
}

struct Tables : HostFixture {
    Tables() : HostFixture(twoProps()) {}

    std::size_t misuses() { return std::exchange(host.misuses, {}).size(); }
    host::Control* control(const char* type, const host::ControlDesc& desc) {
        return panels.addControl(panels.createPanel("Test", 0), type, &desc, "Label");
    }
    host::Envelope envelope() {
        const auto group = items.channelGroup(items.firstItem(0, nullptr));
        return channels.channelEnvelope(channels.nextChannel(group, nullptr));
    }
};

TEST_F(Tables, a_path_fits_its_buffer_whole_or_is_not_given) {
    host::ControlDesc desc{};
    desc.kind = host::pathKind;
    host::Control* file = control(host::fileControl, desc);
    ASSERT_NE(file, nullptr);
    ControlModel* model = host.panels().find(file);
    for (const std::size_t length : {15u, 16u, 17u}) {
        model->text = std::string(length, 'p');
        std::array<char, 20> buffer;
        buffer.fill('#');
        host::ControlValue value{};
        value.type = host::textValue;
        value.text = {buffer.data(), 17};
        file->get(file, host::controlValue, &value);
        EXPECT_EQ(std::strlen(buffer.data()), length < 17 ? length : 0u);
        EXPECT_EQ(buffer[17], '#') << length;
        EXPECT_EQ(host.takeProblems().size(), length < 17 ? 0u : 1u);
    }
    host::ControlDesc bounds{};
    bounds.slider = {host::sliderKind, 100, -5, 10};
    host::Control* slider = control(host::sliderControl, bounds);
    for (const auto& [given, kept] : {std::pair{-6, -5}, {11, 10}, {3, 3}}) {
        host::ControlValue value{};
        value.type = host::integerValue;
        value.integer = given;
        slider->set(slider, host::controlValue, &value);
        slider->get(slider, host::controlValue, &value);
        EXPECT_EQ(value.integer, kept);
    }
}

TEST_F(Tables, a_file_that_cannot_take_its_place_is_told) {
    const fs::path folder = testFolder() / "gone";
    fs::create_directories(folder);
    host.event("save", [&] {
        const auto state = files.openSave((folder / "a.mot").c_str(), host::motionFileMode);
        ASSERT_NE(state, nullptr);
        envelopes.saveEnvelope(envelope(), state);
        fs::remove_all(folder);
        files.closeSave(state);
        files.closeSave(state);
    });
    EXPECT_EQ(misuses(), 1u) << "it is closed";
    ASSERT_EQ(host.problems.size(), 1u);
    EXPECT_NE(host.problems[0].text().find("a.mot"), std::string::npos);
    EXPECT_TRUE(host.files.written.empty());
}

TEST_F(Tables, command_lines_act_on_every_selected_item) {
    host.select({Scene::itemAt(0), Scene::itemAt(1)});
    const auto* generic = static_cast<host::LayoutGeneric*>(Host::layoutGeneric());
    host.event("type", [&] {
        EXPECT_TRUE(generic->evaluate(0, "Position 1 2 3"));
        EXPECT_TRUE(generic->evaluate(0, "AddEnvelope Dissolve"));
    });
    for (const std::size_t i : {0u, 1u}) {
        const ItemId item = Scene::itemAt(i);
        EXPECT_EQ(host.scene().motion(item, positionZ).evaluate(0), 3) << i;
        EXPECT_NE(host.scene().findChannel(host.scene().item(item).group, "Dissolve"),
                  ChannelId::none)
            << i;
    }
}

TEST_F(Tables, shapes_and_handles_that_there_are_not_change_nothing) {
    host.event("key", [&] {
        const auto key = envelopes.createKey(envelope(), 1, 2);
        for (const int shape : {-1, 3, 5, 99}) {
            EXPECT_FALSE(envelopes.keySet(envelope(), key, host::keyShape, &shape)) << shape;
            EXPECT_LE(misuses(), 1u);
        }
        int shape = 9;
        EXPECT_TRUE(envelopes.keyGet(envelope(), key, host::keyShape, &shape));
        EXPECT_EQ(shape, 0);
    });
    const auto stranger = reinterpret_cast<host::Item>(std::uintptr_t{0x12345});
    const auto group = reinterpret_cast<host::Group>(std::uintptr_t{0x12345});
    const auto channel = reinterpret_cast<host::Channel>(std::uintptr_t{0x12345});
    EXPECT_EQ(items.itemName(stranger), nullptr);
    EXPECT_EQ(items.parent(stranger), nullptr);
    EXPECT_EQ(items.channelGroup(stranger), nullptr);
    EXPECT_EQ(channels.groupName(group), nullptr);
    EXPECT_EQ(channels.nextChannel(group, nullptr), nullptr);
    EXPECT_EQ(channels.channelName(channel), nullptr);
    EXPECT_EQ(channels.channelEnvelope(channel), nullptr);
    EXPECT_EQ(misuses(), 7u);
    for (int i = 0; i < 5000; ++i)
        EXPECT_EQ(items.itemName(stranger), nullptr);
    EXPECT_EQ(misuses(), 1000u) << "bounded, however often it happens";
}

// A user who does in a dialog what `within` says.
struct Doing : ScriptedUser {
    std::function<void(PanelModel&)> within;
    bool runModal(PanelModel& panel) override {
        within(panel);
        return true;
    }
};

TEST(OpenPanels, are_neither_destroyed_nor_opened_again) {
    Doing user;
    Host host(twoProps(), user, {});
    const auto& panels = *static_cast<host::PanelFuncs*>(Host::lookup(host::panelFuncsName, 0));
    const host::Panel dialog = panels.createPanel("Dialog", 0);
    int inner = -1;
    user.within = [&](PanelModel& panel) {
        panels.destroyPanel(dialog);
        EXPECT_FALSE(panel.destroyed);
        inner = panels.openPanel(dialog, host::openModal);
    };
    EXPECT_EQ(panels.openPanel(dialog, host::openModal), 1);
    EXPECT_EQ(inner, 0);
    EXPECT_EQ(host.misuses.size(), 2u);
    panels.destroyPanel(dialog);
    EXPECT_EQ(panels.openPanel(dialog, host::openModal), 0);
    EXPECT_EQ(host.misuses.size(), 3u) << "it is gone";
}

TEST_F(Tables, an_event_that_is_not_kept_leaves_no_trace) {
    std::size_t during = 0;
    const ChangeReport report = host.event(
        "no",
        [&] {
            envelopes.createKey(envelope(), 1, 2);
            const auto group = items.channelGroup(items.firstItem(0, nullptr));
            envelopes.createEnvelope(group, "More", host::floatEnvelope);
            during = host.scene().keyCount();
        },
        [] { return false; });
    EXPECT_EQ(during, 1u);
    EXPECT_TRUE(report.empty());
    EXPECT_EQ(host.scene().keyCount(), 0u);
    EXPECT_EQ(host.scene().findChannel(host.scene().item(Scene::itemAt(0)).group, "More"),
              ChannelId::none);
    EXPECT_EQ(host.journal().undoName(), nullptr);
}

} // namespace
} // namespace cadencora::stage
