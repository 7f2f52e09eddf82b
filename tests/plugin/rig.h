// The pair for the plug-in's tests: a scene, a host and a scripted user around the plug-in, which
// is either linked in, so that its routines and records are at hand, or loaded as hosts load it.
#pragma once

#include "plugin/shell/activation.h"
#include "plugin/shell/tool_state.h"
#include "stage/module/module.h"
#include "stage/panels/actions.h"
#include "stage/services/gate.h"
#include "stage/user/scripted_user.h"
#include "tests/test_folder.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

namespace cadencora::stage {

// A script with a hook into each dialog and a memory of their titles.
class TestUser : public ScriptedUser {
public:
    std::vector<std::string> titles;
    std::function<void(PanelModel&)> inDialog;
    std::string cancelled; // the title of a dialog that is cancelled whatever the step says
    int width = 1920, height = 1080;

    int displayWidth() const override { return width; }
    int displayHeight() const override { return height; }
    void showFloating(PanelModel& panel) override {
        main = &panel;
        ScriptedUser::showFloating(panel);
    }
    bool runModal(PanelModel& panel) override {
        titles.push_back(panel.title);
        if (inDialog) inDialog(panel);
        return ScriptedUser::runModal(panel) && panel.title != cancelled;
    }

    PanelModel* main = nullptr; // the main panel opened last

    // "error: first line / second line", one per message of the step.
    std::vector<std::string> said() const {
        std::vector<std::string> texts;
        for (const Message& message : messages()) {
            std::string text = message.kind == MessageKind::error      ? "error: "
                               : message.kind == MessageKind::question ? "question: "
                                                                       : "info: ";
            for (std::size_t i = 0; i < message.lines.size(); ++i)
                text += (i ? " / " : "") + message.lines[i];
            texts.push_back(text);
        }
        return texts;
    }
};

using Keys = std::vector<std::pair<double, double>>; // seconds and values, in order
using Texts = std::vector<std::string>;

inline Keys keysOf(const Envelope& curve) {
    Keys keys;
    for (auto key = curve.keys.begin(); key; key.advance())
        keys.emplace_back(key.time(), key.value());
    return keys;
}

inline void fill(Envelope& curve, const Keys& keys, Shape shape = Shape::linear) {
    curve.keys.clear();
    for (const auto& [time, value] : keys)
        curve.keys.append(time, value, shape);
}

// 30 frames per second, frames 0 to 60, nothing keyed:
//   Hero, an object with the bones Hips (Spine (Head), Leg); Box, with the object Lid below it;
//   Face, an object with the morphs Smile and Frown, and a Wink in a deeper group; Sun; Cam.
inline Scene someScene() {
    Scene scene;
    scene.lastFrame = scene.previewLast = 60;
    const ItemId hero = scene.addItem(ItemType::object, "Hero");
    const ItemId hips = scene.addItem(ItemType::bone, "Hips", hero, hero);
    const ItemId spine = scene.addItem(ItemType::bone, "Spine", hips, hero);
    scene.addItem(ItemType::bone, "Head", spine, hero);
    scene.addItem(ItemType::bone, "Leg", hips, hero);
    scene.addItem(ItemType::object, "Lid", scene.addItem(ItemType::object, "Box"));
    const ItemId face = scene.addItem(ItemType::object, "Face");
    const GroupId morphs = scene.addGroup(scene.item(face).group, "Morph");
    scene.addChannel(morphs, "Smile");
    scene.addChannel(morphs, "Frown");
    scene.addChannel(scene.addGroup(morphs, "Deeper"), "Wink");
    scene.addItem(ItemType::light, "Sun");
    scene.addItem(ItemType::camera, "Cam");
    return scene;
}

enum class Reply { yes, no, cancel }; // to questions; `cancel` is for the dialogs before them

struct Rig {
    TestUser user;
    Host host;

    explicit Rig(Scene scene = someScene()) : host(std::move(scene), user) {
        user.lookAt(host.scene());
    }
    // Whatever a test is about: the plug-in never misuses a service.
    ~Rig() {
        for (const Misuse& misuse : host.misuses)
            ADD_FAILURE() << misuse.service << "." << misuse.slot << ": " << misuse.reason;
        for (const Problem& problem : host.problems)
            ADD_FAILURE() << problem.text();
    }

    // Each answers the state record of the new main panel.
    ToolState* activate() {
        EXPECT_EQ(Cadencora(2, &Host::lookup, Host::layoutGeneric(), nullptr), 0);
        return state();
    }
    ToolState* activateModule() {
        auto module = Module::open(CADENCORA_BIN_DIR "/cadencora.so");
        EXPECT_TRUE(module.ok());
        EXPECT_TRUE(module.ok() && module->activate(&Host::lookup, Host::layoutGeneric()).ok());
        return state();
    }
    ToolState* state() const {
        return user.main ? static_cast<ToolState*>(user.main->controls.at(1)->userData) : nullptr;
    }

    // Runs code that edits, as one thing that the user does.
    ChangeReport edit(const std::function<void()>& action) { return host.event("Test", action); }

    // Presses a button, sets controls of its dialogs and accepts or cancels them.
    ChangeReport perform(const std::string& press, const std::vector<Step::Setting>& settings = {},
                         Reply reply = Reply::yes) {
        Step step;
        step.press = press;
        step.settings = settings;
        step.answers = {reply != Reply::no};
        step.cancel = reply == Reply::cancel;
        Result<> performed = done();
        const auto changes = edit([&] { performed = user.perform(step); });
        EXPECT_TRUE(performed.ok()) << performed.problem().text();
        return changes;
    }

    // Without one of its services a command opens no dialog, says nothing and changes nothing.
    void expectNothingWithout(const std::string& service, const std::string& command) {
        SCOPED_TRACE(command + " without " + service);
        user.titles.clear();
        host.mutableFaults().withheldServices = {service};
        EXPECT_TRUE(perform(command).empty());
        EXPECT_EQ(user.titles, Texts());
        EXPECT_EQ(user.said(), Texts());
        host.mutableFaults().withheldServices.clear();
    }

    // The value that a control of the newest dialogs holds now.
    int value(host::Control* control) {
        const ControlModel* model = host.panels().find(control);
        return model ? model->integer : -99;
    }

    ItemId item(std::string_view name) const { return host.scene().findItem(name); }
    void select(const Texts& names) {
        std::vector<ItemId> items;
        for (const std::string& name : names)
            items.push_back(item(name));
        host.select(items);
    }
    Texts names(const ToolState* state) const {
        Texts texts;
        for (int i = 0; i < state->numObjects; ++i) {
            const auto word = reinterpret_cast<std::uintptr_t>(state->objects[i]);
            texts.push_back(word ? host.scene().item(decode<ItemId>(host.scene(), word)).name
                                 : "(none)");
        }
        return texts;
    }

    // A channel by its path below its item: "Position.X", "Morph/Smile".
    EnvelopeId channel(std::string_view itemName, std::string_view path) const {
        const Scene& scene = host.scene();
        GroupId group = scene.item(item(itemName)).group;
        for (auto slash = path.find('/'); slash != path.npos; slash = path.find('/')) {
            for (const GroupId sub : scene.group(group).groups)
                if (scene.group(sub).name == path.substr(0, slash)) group = sub;
            path.remove_prefix(slash + 1);
        }
        const ChannelId found = scene.findChannel(group, path);
        return found == ChannelId::none ? EnvelopeId::none : scene.channel(found).envelope;
    }
    Envelope& curve(std::string_view itemName, std::string_view path) {
        return host.mutableScene().mutableEnvelope(channel(itemName, path));
    }
    Keys keys(std::string_view itemName, std::string_view path) {
        return keysOf(curve(itemName, path));
    }
};

// The keys of every channel of a scene that is keyed, by the channel's path.
using SceneKeys = std::map<std::string, Keys>;
inline SceneKeys allKeys(const Scene& scene) {
    SceneKeys all;
    for (std::uint32_t i = 1; i <= scene.channelCount(); ++i)
        if (const auto id = static_cast<ChannelId>(i); scene.has(id))
            if (Keys keys = keysOf(scene.envelope(scene.channel(id).envelope)); !keys.empty())
                all[scene.channelPath(id)] = std::move(keys);
    return all;
}

inline std::string scratchFile(const std::string& name) {
    return testFolder() / name;
}

inline std::string writeText(const std::string& name, std::string_view text) {
    const std::string path = scratchFile(name);
    std::ofstream(path) << text;
    return path;
}

inline std::string readText(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace cadencora::stage
