// Every command on the example scene, through the real plug-in: each does something, and undo takes
// it back to the bit.

#include "stage/module/module.h"
#include "stage/services/host.h"
#include "stage/user/scripted_user.h"
#include "tests/stage/formats/files.h"

#include <gtest/gtest.h>

namespace cadencora::stage {
namespace {

struct Command {
    const char* press;
    std::vector<Step::Setting> settings;
    double frame; // the current time
};

void PrintTo(const Command& command, std::ostream* out) {
    *out << command.press;
}

class ExampleScene : public testing::TestWithParam<Command> {};

TEST_P(ExampleScene, a_command_changes_it_and_undo_takes_that_back_to_the_bit) {
    auto loaded = readScene(std::string(CADENCORA_SOURCE_DIR) + "/examples/room.stage");
    ASSERT_TRUE(loaded) << loaded.problem().text();
    ScriptedUser user;
    Host host(std::move(loaded->scene), user);
    user.lookAt(host.scene());
    const auto module = Module::open(std::string(CADENCORA_BIN_DIR) + "/cadencora.so");
    ASSERT_TRUE(module) << module.problem().text();
    ASSERT_TRUE(module.value().activate(&Host::lookup, Host::layoutGeneric()));

    const std::string before = written(host.scene(), "room.stage");
    host.mutableScene().currentTime = GetParam().frame / host.scene().rate.perSecond();
    Step step;
    step.press = GetParam().press;
    step.settings = GetParam().settings;
    step.settings.push_back({"Use selected objects only", "off"});
    Result<> performed = done();
    const ChangeReport report = host.event(step.press, [&] { performed = user.perform(step); });
    ASSERT_TRUE(performed) << performed.problem().text();
    EXPECT_FALSE(user.sawError());
    EXPECT_TRUE(host.misuses.empty());
    EXPECT_TRUE(host.problems.empty());
    EXPECT_FALSE(report.empty());
    host.mutableScene().currentTime = 0;
    host.select({});
    const std::string after = written(host.scene(), "room.stage");
    EXPECT_NE(after, before);
    ASSERT_TRUE(host.undo());
    EXPECT_EQ(written(host.scene(), "room.stage"), before);
    ASSERT_TRUE(host.redo());
    EXPECT_EQ(written(host.scene(), "room.stage"), after);
}

INSTANTIATE_TEST_SUITE_P(
    AllCommands, ExampleScene,
    testing::Values(Command{"Cycle (Bake) Keys", {{"End", "16"}, {"Repeats", "2"}}, 0},
                    Command{"Destroy Keys", {{"Start", "10"}, {"End", "20"}}, 0},
                    Command{"Defractionalize", {}, 0},
                    Command{"Create Random Keys", {{"Method", "Grouped Even"}}, 0},
                    Command{"Randomize/Jitter Keys", {{"Method", "Both"}}, 0},
                    Command{"MoveRotateScale", {{"Method", "Overwrite"}}, 0},
                    Command{"Dissolve", {{"Start", "12"}, {"End", "24"}}, 0},
                    Command{"UnDissolve", {{"Start", "12"}, {"End", "24"}}, 0},
                    Command{"Key All Morphs", {}, 6.5}, Command{"UnKey All Morphs", {}, 12},
                    Command{"Reset All Morphs", {}, 12.25}));

} // namespace
} // namespace cadencora::stage
