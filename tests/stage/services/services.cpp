// The services as a plug-in calls them, through their C tables.

#include "plugin/host/dir_info.h"
#include "plugin/host/interface_info.h"
#include "plugin/host/layout_generic.h"
#include "plugin/host/scene_info.h"
#include "stage/services/file_paths.h"
#include "tests/stage/services/host_fixture.h"
#include "tests/test_folder.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

Scene smallScene() {
    Scene scene;
    const ItemId body = scene.addItem(ItemType::object, "Body");
    const ItemId hips = scene.addItem(ItemType::bone, "Hips", body, body);
    scene.addItem(ItemType::bone, "Spine", hips, body);
    scene.addItem(ItemType::bone, "Leg", hips, body);
    scene.addItem(ItemType::object, "Prop", body);
    scene.addItem(ItemType::light, "Sun");
    scene.addItem(ItemType::camera, "Camera");
    const GroupId morphs = scene.addGroup(scene.item(body).group, "Morph");
    scene.addChannel(morphs, "Smile");
    scene.addGroup(morphs, "Deeper");
    return scene;
}

struct Services : HostFixture {
    fs::path folder = testFolder() / "motions";

    Services()
        : HostFixture(smallScene(),
                      {.motionsDirectory = testFolder() / "motions", .writeFiles = true}) {
        fs::create_directories(folder);
    }
    ~Services() override {
        fs::remove_all(folder);
        EXPECT_TRUE(host.misuses.empty()) << host.misuses.front().reason;
    }

    host::Item named(const char* name) { // walks the tree as a plug-in would
        for (const int type : {0, 1, 2})
            for (auto item = items.firstItem(type, nullptr); item; item = items.nextItem(item)) {
                if (items.itemName(item) == std::string_view(name)) return item;
                for (auto bone = items.firstItem(3, item); bone; bone = items.nextItem(bone))
                    if (items.itemName(bone) == std::string_view(name)) return bone;
            }
        return nullptr;
    }
    host::Envelope envelopeOf(const char* item, std::string_view channel) {
        const auto group = items.channelGroup(named(item));
        for (auto c = channels.nextChannel(group, nullptr); c; c = channels.nextChannel(group, c))
            if (channels.channelName(c) == channel) return channels.channelEnvelope(c);
        return nullptr;
    }
    bool command(const std::string& line) {
        bool accepted = false;
        host.event(line, [&] {
            const auto* generic = static_cast<host::LayoutGeneric*>(Host::layoutGeneric());
            accepted = generic->evaluate(0, line.c_str()) != 0;
        });
        return accepted;
    }
};

TEST_F(Services, list_items_by_kind_and_by_family) {
    const auto names = [&](host::Item first, auto next) {
        std::string text;
        for (auto item = first; item; item = next(item))
            text += items.itemName(item) + std::string(" ");
        return text;
    };
    EXPECT_EQ(names(items.firstItem(0, nullptr), items.nextItem), "Body Prop ");
    EXPECT_EQ(names(items.firstItem(3, named("Body")), items.nextItem), "Hips Spine Leg ");
    EXPECT_EQ(items.firstItem(3, nullptr), nullptr) << "bones of no object";
    EXPECT_EQ(items.firstItem(3, named("Prop")), nullptr);
    const auto next = [&](host::Item child) { return items.nextChild(items.parent(child), child); };
    EXPECT_EQ(names(items.firstChild(named("Body")), next), "Hips Prop ");
    EXPECT_EQ(names(items.firstChild(named("Hips")), next), "Spine Leg ");
    EXPECT_EQ(items.parent(named("Body")), nullptr);
    EXPECT_EQ(items.type(named("Sun")), 1);
    EXPECT_LT(reinterpret_cast<std::uintptr_t>(named("Camera")), std::uintptr_t{1} << 32);
}

TEST_F(Services, list_channels_and_sub_groups_and_evaluate_them) {
    const auto group = items.channelGroup(named("Body"));
    EXPECT_STREQ(channels.groupName(group), "Body");
    int count = 0;
    for (auto c = channels.nextChannel(group, nullptr); c; c = channels.nextChannel(group, c))
        ++count;
    EXPECT_EQ(count, 9);
    const auto morphs = channels.nextGroup(group, nullptr);
    EXPECT_STREQ(channels.groupName(morphs), "Morph");
    EXPECT_EQ(channels.nextGroup(group, morphs), nullptr) << "deeper groups are not siblings";
    const auto smile = channels.nextChannel(morphs, nullptr);
    host.event("key", [&] { envelopes.createKey(channels.channelEnvelope(smile), 1, 0.75); });
    EXPECT_EQ(channels.channelEvaluate(smile, 3), 0.75);
    double scale[3];
    items.param(named("Prop"), host::itemScale, 0, scale);
    EXPECT_EQ(scale[2], 1);
}

TEST_F(Services, read_and_write_every_key_attribute) {
    const auto envelope = envelopeOf("Prop", "Position.Y");
    host.event("key", [&] {
        const auto key = envelopes.createKey(envelope, 0.5, 7);
        EXPECT_EQ(envelopes.createKey(envelope, 0.5, 8), key) << "one key per time";
        const int held = host::heldShape;
        EXPECT_TRUE(envelopes.keySet(envelope, key, host::keyShape, &held));
        for (int attribute = 3; attribute <= 9; ++attribute) {
            const double number = attribute / 4.0;
            EXPECT_TRUE(envelopes.keySet(envelope, key, attribute, &number));
        }
        const double other = 0.75;
        EXPECT_TRUE(envelopes.keySet(envelope, key, host::keyTime, &other));
        EXPECT_EQ(envelopes.findKey(envelope, 0.5), nullptr);
        EXPECT_EQ(envelopes.findKey(envelope, 0.75), key) << "a moved key keeps its handle";
        int shape = 0;
        EXPECT_TRUE(envelopes.keyGet(envelope, key, host::keyShape, &shape));
        EXPECT_EQ(shape, host::heldShape);
        for (int attribute = 3; attribute <= 9; ++attribute) {
            double number = 0;
            EXPECT_TRUE(envelopes.keyGet(envelope, key, attribute, &number));
            EXPECT_EQ(number, attribute / 4.0);
        }
        envelopes.createKey(envelope, 2, 0);
        const double taken = 2;
        EXPECT_FALSE(envelopes.keySet(envelope, key, host::keyTime, &taken));
        host.mutableFaults().refusedAttributes = {host::keyValue};
        EXPECT_FALSE(envelopes.keySet(envelope, key, host::keyValue, &taken));
        host.mutableFaults() = {};
    });
}

// Calls about the keys of the last calls take a short way, and must not notice.
TEST_F(Services, keys_are_themselves_whatever_was_made_and_destroyed_around_them) {
    const auto envelope = envelopeOf("Prop", "Position.Y");
    struct Known {
        host::Key key;
        double value;
    };
    std::map<int, Known> known; // by frame
    std::mt19937 random(5);
    const auto check = [&](int frame) {
        double time = 0, value = 0;
        ASSERT_TRUE(envelopes.keyGet(envelope, known[frame].key, host::keyTime, &time));
        ASSERT_TRUE(envelopes.keyGet(envelope, known[frame].key, host::keyValue, &value));
        ASSERT_EQ(time, host.scene().rate.timeOf(frame));
        ASSERT_EQ(value, known[frame].value);
    };
    host.event("edit", [&] {
        int last = 0; // what a walk has come to
        for (int round = 0; round < 6000; ++round) {
            const int frame = static_cast<int>(random() % 200);
            const double time = host.scene().rate.timeOf(frame), value = round;
            const auto at = known.find(frame);
            if (at == known.end()) {
                ASSERT_EQ(envelopes.findKey(envelope, time), nullptr);
                known[frame] = {envelopes.createKey(envelope, time, value), value};
                check(frame);
            } else if (round % 3 == 0) {
                const host::Key gone = at->second.key;
                known.erase(at);
                envelopes.destroyKey(envelope, gone);
                double none = 0;
                ASSERT_FALSE(envelopes.keyGet(envelope, gone, host::keyValue, &none));
                ASSERT_FALSE(envelopes.keySet(envelope, gone, host::keyValue, &value));
                ASSERT_EQ(std::exchange(host.misuses, {}).size(), 2u);
            } else {
                ASSERT_EQ(envelopes.findKey(envelope, time), at->second.key);
                ASSERT_TRUE(envelopes.keySet(envelope, at->second.key, host::keyValue, &value));
                at->second.value = value;
                const auto next = std::next(at);
                const host::Key there = next == known.end() ? nullptr : next->second.key;
                ASSERT_EQ(envelopes.nextKey(envelope, at->second.key), there);
                if (there) last = next->first;
            }
            if (known.contains(last)) {
                ASSERT_NO_FATAL_FAILURE(check(last));
            }
        }
    });
    EXPECT_EQ(host.scene().keyCount(), known.size());
}

TEST_F(Services, envelopes_of_the_plug_in_s_live_until_they_are_destroyed_or_undone) {
    const auto group = items.channelGroup(named("Prop"));
    const auto source = envelopeOf("Prop", "Scale.X");
    const std::size_t keys = host.scene().keyCount();
    host::Envelope kept = nullptr;
    host.event("copy", [&] {
        envelopes.createKey(source, 1, 4);
        const auto copy = envelopes.createEnvelope(group, "Temporary", host::floatEnvelope);
        envelopes.copyEnvelope(copy, source);
        EXPECT_EQ(envelopes.evaluate(copy, 1), 4);
        const auto key = envelopes.findKey(copy, 1), own = envelopes.findKey(source, 1);
        EXPECT_EQ(envelopes.nextKey(copy, key), nullptr);
        EXPECT_EQ(envelopes.nextKey(source, own), nullptr);
        envelopes.destroyKey(copy, key);
        envelopes.destroyEnvelope(copy);
        double value = 0;
        EXPECT_FALSE(envelopes.keyGet(copy, key, host::keyValue, &value)) << "gone at once";
        EXPECT_EQ(std::exchange(host.misuses, {}).size(), 1u);
        EXPECT_TRUE(envelopes.keyGet(source, own, host::keyValue, &value));
        kept = envelopes.createEnvelope(group, "Kept", host::floatEnvelope);
        envelopes.createKey(kept, 0, 6);
    });
    EXPECT_EQ(host.scene().keyCount(), keys + 2);
    EXPECT_EQ(envelopes.evaluate(kept, 0), 6) << "after its event";
    EXPECT_TRUE(host.undo());
    EXPECT_EQ(host.scene().keyCount(), keys);
    EXPECT_EQ(envelopes.evaluate(kept, 0), 0);
    EXPECT_EQ(std::exchange(host.misuses, {}).size(), 1u) << "it is gone";
    EXPECT_TRUE(host.redo());
    EXPECT_EQ(envelopes.evaluate(kept, 0), 6) << "under the same handle";
    host.event("destroy", [&] { envelopes.destroyEnvelope(kept); });
    EXPECT_EQ(host.scene().keyCount(), keys + 1);
    EXPECT_TRUE(host.undo());
    EXPECT_EQ(envelopes.evaluate(kept, 0), 6) << "its keys come back with it";
}

TEST_F(Services, an_event_that_runs_out_of_memory_leaves_the_scene_as_it_was) {
    const auto envelope = envelopeOf("Prop", "Position.Y");
    for (const bool inSlot : {false, true}) {
        host.event("grow", [&] {
            envelopes.createKey(envelope, 0.5, 7);
            try {
                throw std::bad_alloc();
            } catch (...) {
                if (!inSlot) throw;
                host.recordThrown("service", "slot");
            }
        });
        EXPECT_EQ(envelopes.evaluate(envelope, 0.5), 0);
        EXPECT_EQ(host.journal().undoName(), nullptr);
        const auto problems = host.takeProblems();
        ASSERT_EQ(problems.size(), 1u);
        EXPECT_NE(problems[0].text().find("not enough memory"), std::string::npos);
    }
}

// A front end whose every dialog opens the next one.
struct EndlessDialogs : ScriptedUser {
    int opened = 0;
    bool runModal(PanelModel&) override {
        ++opened;
        const auto* funcs =
            static_cast<const host::PanelFuncs*>(Host::lookup(host::panelFuncsName, 0));
        funcs->openPanel(funcs->createPanel("next", 0), host::openModal);
        return true;
    }
};

TEST(Limits, of_what_a_plug_in_asks_for_end_with_a_message) {
    EndlessDialogs user;
    Host host(smallScene(), user, {});
    const auto& panels = *static_cast<host::PanelFuncs*>(Host::lookup(host::panelFuncsName, 0));
    host.event("nest", [&] { panels.openPanel(panels.createPanel("first", 0), host::openModal); });
    EXPECT_EQ(user.opened, 50);
    const std::string text(1'000'001, 'x');
    EXPECT_EQ(panels.createPanel(text.c_str(), 0), nullptr);
    EXPECT_NE(panels.createPanel(text.c_str() + 1, 0), nullptr);
    const auto problems = host.takeProblems();
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_NE(problems[0].text().find("more than 50 dialogs"), std::string::npos);
    EXPECT_NE(problems[1].text().find("more than 1000000 bytes"), std::string::npos);
}

TEST_F(Services, the_records_follow_the_clock_and_the_selection) {
    Scene& scene = host.mutableScene();
    scene.lastFrame = 250;
    scene.previewFirst = -5;
    scene.previewLast = 90;
    scene.currentTime = 1.25;
    scene.setRate(*FrameRate::parse("23.976"));
    const auto& info = table<host::SceneInfo>(host::sceneInfoName);
    // The records are packed: their doubles are read by value.
    EXPECT_EQ(double{info.framesPerSecond}, 24000 / 1001.0);
    EXPECT_EQ(info.lastFrame, scene.lastFrame);
    char select[64];
    std::snprintf(select, sizeof select, "SelectItem %x",
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(named("Leg"))));
    EXPECT_TRUE(command(select)) << "a handle has 32 bits";
    const auto& interface = table<host::InterfaceInfo>(host::interfaceInfoName);
    EXPECT_EQ(double{interface.currentTime}, 1.25);
    EXPECT_EQ(interface.selectedItems[0], named("Leg"));
    EXPECT_EQ(interface.selectedItems[1], nullptr);
}

TEST_F(Services, command_lines_do_what_they_say_or_are_refused_whole) {
    char select[64];
    const auto selectItem = [&](const char* name) {
        std::snprintf(select, sizeof select, "SelectItem %zx",
                      reinterpret_cast<std::size_t>(named(name)));
        return command(select);
    };
    EXPECT_FALSE(command("Position 1 2 3")) << "nothing is selected";
    ASSERT_TRUE(selectItem("Prop"));
    host.mutableScene().currentTime = 0.5;
    EXPECT_TRUE(command("Position 1.000000 -2.500000 3.000000"));
    EXPECT_TRUE(command("Rotation 90.000000 0.000000 -45.000000"));
    EXPECT_TRUE(command("Scale 1.000000 2.000000 1.000000"));
    const ItemId prop = host.scene().findItem("Prop");
    EXPECT_EQ(host.scene().motion(prop, positionY).evaluate(9), -2.5);
    EXPECT_EQ(host.scene().motion(prop, heading).evaluate(0), std::acos(0.0));
    EXPECT_EQ(host.scene().motion(prop, scaleY).keys.begin().time(), 0.5);

    EXPECT_TRUE(command("EditObjects"));
    EXPECT_TRUE(command("AddEnvelope Dissolve"));
    EXPECT_TRUE(command("AddEnvelope Dissolve")) << "it has one: nothing more to do";
    EXPECT_EQ(host.scene().group(host.scene().item(prop).group).channels.size(), 10u);
    ASSERT_TRUE(selectItem("Sun"));
    host.problems.clear();

    const auto keys = host.scene().keyCount();
    const char* refused[] = {"AddEnvelope Dissolve",
                             "AddEnvelope Colour",
                             "Position 1 2",
                             "Position 1 2 3 4",
                             "Position 1 2 x",
                             "Position nan 0 0",
                             "SelectItem zz",
                             "SelectItem 1",
                             "SelectItem",
                             "Explode",
                             "",
                             "position 1 2 3",
                             "LoadMotion missing.mot",
                             "SaveMotion "};
    for (const char* line : refused)
        EXPECT_FALSE(command(line)) << line;
    EXPECT_EQ(host.problems.size(), std::size(refused));
    EXPECT_EQ(host.scene().keyCount(), keys);
}

TEST_F(Services, a_motion_goes_from_item_to_item_through_its_file) {
    host.event("key", [&] { envelopes.createKey(envelopeOf("Spine", "Rotation.P"), 1, 0.5); });
    host.select({host.scene().findItem("Spine")});
    ASSERT_TRUE(command("SaveMotion scratch.mot"));
    EXPECT_TRUE(fs::exists(folder / "scratch.mot"));
    host.select({host.scene().findItem("Leg")});
    host.mutableScene().mutableMotion(host.scene().findItem("Leg"), positionX).rest = 9;
    ASSERT_TRUE(command("LoadMotion scratch.mot"));
    EXPECT_EQ(envelopes.evaluate(envelopeOf("Leg", "Rotation.P"), 1), 0.5);
    EXPECT_EQ(envelopes.evaluate(envelopeOf("Leg", "Position.X"), 1), 9) << "its length stays";
    std::ofstream(folder / "scratch.mot") << "something else";
    EXPECT_FALSE(command("LoadMotion scratch.mot"));
    EXPECT_EQ(envelopes.evaluate(envelopeOf("Leg", "Rotation.P"), 1), 0.5);
}

TEST_F(Services, file_states_write_aside_and_refuse_what_they_cannot_read) {
    const std::string path = folder.string() + ":Bo/dy-Position.X.mot";
    const auto source = envelopeOf("Prop", "Position.X"), target = envelopeOf("Prop", "Position.Z");
    host.event("save", [&] {
        envelopes.createKey(source, 2, 6);
        const auto state = files.openSave(path.c_str(), host::motionFileMode);
        ASSERT_NE(state, nullptr);
        envelopes.saveEnvelope(source, state);
        EXPECT_FALSE(fs::exists(folder / "Bo%2Fdy-Position.X.mot")) << "complete or not at all";
        files.closeSave(state);
        const auto load = files.openLoad(path.c_str(), host::motionFileMode);
        ASSERT_NE(load, nullptr);
        envelopes.loadEnvelope(target, load);
        files.closeLoad(load);
    });
    EXPECT_TRUE(fs::exists(folder / "Bo%2Fdy-Position.X.mot"));
    EXPECT_EQ(envelopes.evaluate(target, 2), 6);

    std::ofstream(folder / "foreign.mot") << "#!/bin/sh\n";
    for (const char* name : {":foreign.mot", ":missing.mot"}) {
        EXPECT_EQ(files.openLoad((folder.string() + name).c_str(), 1), nullptr);
        EXPECT_NE(host.problems.back().text().find(name + 1), std::string::npos);
    }
    EXPECT_EQ(files.openSave("/no/such/folder:x.mot", 1), nullptr);
    const auto directory = reinterpret_cast<host::DirInfo>(Host::lookup(host::dirInfoName, 0));
    EXPECT_EQ(directory("Motions"), folder.string());
    EXPECT_EQ(directory("Images"), nullptr);
}

TEST(FilePaths, no_name_leaves_its_folder_and_different_names_stay_different) {
    const fs::path folder = testFolder();
    fs::create_directories(folder / "a:b");
    const auto resolved = [&](const std::string& text) {
        const auto path = resolvePath(text, {});
        return path ? path.value().string() : "refused";
    };
    const std::string at = folder.string();
    EXPECT_EQ(resolved(at + ":Cube-Position.X.mot"), at + "/Cube-Position.X.mot");
    EXPECT_EQ(resolved(at + ":mixamorig:LeftArm-Scale.X.mot"),
              at + "/mixamorig:LeftArm-Scale.X.mot");
    EXPECT_EQ(resolved(at + "/a:b:x.mot"), at + "/a:b/x.mot") << "the longest directory";
    EXPECT_EQ(resolved(at + ":../../etc/passwd"), at + "/%2E.%2F..%2Fetc%2Fpasswd");
    EXPECT_EQ(resolved(at + ":.hidden"), at + "/%2Ehidden");
    EXPECT_EQ(resolved("/no/such:x"), "refused");
    EXPECT_EQ(resolved("plain.mot"), "plain.mot");
    EXPECT_NE(escapedFileName("a/b"), escapedFileName("a%2Fb"));
    EXPECT_EQ(escapedFileName("Bip01 L Thigh"), "Bip01 L Thigh");
    fs::remove_all(folder);
}

} // namespace
} // namespace cadencora::stage
