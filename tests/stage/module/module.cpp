// Opening and starting plug-in files, good and bad ones.

#include "stage/module/module.h"

#include "stage/services/host.h"
#include "stage/user/scripted_user.h"
#include "tests/test_folder.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

namespace cadencora::stage {
namespace {

const std::filesystem::path binaries = CADENCORA_BIN_DIR;

Scene oneKey() {
    Scene scene;
    const ItemId item = scene.addItem(ItemType::object, "Cube");
    scene.mutableMotion(item, positionX).keys.append(0, 3, Shape::linear);
    return scene;
}

TEST(Module, a_file_that_is_no_plug_in_is_refused_with_its_name_and_the_reason) {
    const auto text = testFolder() / "text.so";
    std::ofstream(text) << "not a library";
    const std::pair<std::filesystem::path, const char*> cases[] = {
        {binaries / "missing.so", "no such file"},
        {text, "text.so"},
        {binaries, "directory"},
        {binaries / "modules/no_descriptor.so", "__mod_descrip"},
        {binaries / "modules/wrong_sync.so", "0x04121995"},
        {binaries / "modules/wrong_version.so", "version 2"},
        {binaries / "modules/wrong_server.so", "LayoutGeneric"},
        {binaries / "modules/wrong_startup.so", "no startup function"},
        {binaries / "modules/wrong_starting.so", "startup function refused"},
    };
    for (const auto& [path, reason] : cases) {
        const auto module = Module::open(path);
        ASSERT_FALSE(module) << path;
        EXPECT_EQ(module.problem().where, path.string());
        EXPECT_NE(module.problem().detail.find(reason), std::string::npos)
            << module.problem().text();
    }
}

TEST(Module, a_refused_activation_is_a_problem) {
    ScriptedUser user;
    Host host(oneKey(), user);
    const auto module = Module::open(binaries / "modules/wrong_activation.so");
    ASSERT_TRUE(module) << module.problem().text();
    const auto active = module.value().activate(&Host::lookup, Host::layoutGeneric());
    ASSERT_FALSE(active);
    EXPECT_NE(active.problem().detail.find("7"), std::string::npos);
}

TEST(Module, a_plug_in_that_misuses_every_service_is_caught_and_harms_nothing) {
    ScriptedUser user;
    Host host(oneKey(), user);
    user.lookAt(host.scene());
    const auto module = Module::open(binaries / "modules/wild.so");
    ASSERT_TRUE(module) << module.problem().text();
    ASSERT_TRUE(module.value().activate(&Host::lookup, Host::layoutGeneric()));

    const auto caught = [&](std::string_view slot, std::string_view reason) {
        return std::ranges::any_of(host.misuses, [&](const Misuse& misuse) {
            return misuse.slot == slot && misuse.reason.find(reason) != std::string::npos;
        });
    };
    const std::pair<const char*, const char*> atStart[] = {
        {"itemName", "null item"},
        {"itemName", "gone, or not of this scene"},
        {"channelName", "gone, or not of this scene"},
        {"nextChannel", "channel group"},
        {"findKey", "envelope"},
        {"firstItem", "item type 9"},
        {"global", "null text"},
        {"closeSave", "save state"},
        {"closeLoad", "load state"},
        {"openLoad", "null text"},
        {"openSave", "file mode 0"},
        {"evaluate", "null text"},
        {"createKey", "outside of any event"},
        {"addControl", "descriptor kind 8"},
        {"addControl", "NoSuchControl"},
        {"addControl", "null panel"},
        {"Control.set", "after its panel \"Lost\""},
        {"Control.get", "after its panel \"Lost\""},
        {"openPanel", "was destroyed"},
        {"destroyPanel", "was destroyed"},
        {"Control.get", "no value"},
        {"Control.get", "control attribute 99"},
        {"Control.set", "null value"},
        {"openPanel", "open flags 1"},
    };
    for (const auto& [slot, reason] : atStart)
        EXPECT_TRUE(caught(slot, reason)) << slot << reason;
    ASSERT_EQ(host.problems.size(), 1u) << "the refused command line";
    EXPECT_NE(host.problems[0].where.find("EraseEverything"), std::string::npos);
    EXPECT_EQ(host.scene().keyCount(), 1u);

    const std::size_t before = host.misuses.size();
    Step step;
    step.press = "Go";
    Result<> performed = done();
    const ChangeReport report = host.event("Go", [&] { performed = user.perform(step); });
    ASSERT_TRUE(performed) << performed.problem().text();
    EXPECT_EQ(report.keysRemoved, 1u) << "what it may do, it did: one key went";
    EXPECT_EQ(report.keysAdded, 1u);
    EXPECT_GE(host.misuses.size(), before + 7);
    EXPECT_TRUE(caught("destroyKey", "destroyed"));
    EXPECT_TRUE(caught("destroyEnvelope", "not made by createEnvelope"));
    const Envelope& envelope = host.scene().motion(host.scene().findItem("Cube"), positionX);
    EXPECT_EQ(envelope.evaluate(0), 5);
    EXPECT_EQ(envelope.after, Behaviour::constant);
}

} // namespace
} // namespace cadencora::stage
