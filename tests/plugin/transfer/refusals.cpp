// What the commands of "Transfer" do where something is missing or does not fit.

#include "plugin/files/text_files.h"
#include "plugin/transfer/left_out.h"
#include "tests/plugin/rig.h"

namespace cadencora::stage {
namespace {

struct Refusals : testing::Test, Rig {
    Refusals() {
        activateModule();
        select({"Box"});
    }
};

TEST_F(Refusals, a_command_without_one_of_its_services_opens_no_dialog_and_says_nothing) {
    const Texts scene{"LW Item Info 5", "LW Interface Info 7", "LW Scene Info 6", "Channel Info 2"};
    Texts keys = scene, files = scene;
    keys.push_back("Animation Envelopes");
    files.insert(files.end(), {"Animation Envelopes", "File IO 2", "Directory Info"});
    const std::pair<const char*, Texts> commands[] = {
        {"Save Single Frame data", scene},
        {"Load Single Frame data", keys},
        {"Save Clip data", files},
        {"Load Clip data", files},
        {"Node-to-Node Frame Copy", {"LW Item Info 5", "LW Interface Info 7"}}};
    for (const auto& [command, services] : commands)
        for (const std::string& service : services)
            expectNothingWithout(service, command);
}

TEST_F(Refusals, a_byte_order_mark_belongs_to_no_word) {
    char word[wordSize];
    for (const auto& [text, first] : {std::pair{"\xEF\xBB\xBFPosition.X Y", "Position.X"},
                                      {"\xEF\xBBx", "\xEF\xBBx"},
                                      {"A", "A"}}) {
        std::FILE* file = tryReading(writeText("marked", text).c_str());
        ASSERT_TRUE(file && readWord(file, word));
        EXPECT_STREQ(word, first);
        std::fclose(file);
    }
}

TEST_F(Refusals, names_that_were_left_out_are_shown_as_far_as_they_fit) {
    LeftOut leftOut{};
    addLeftOut(&leftOut, std::string(300, 'n').c_str(), nullptr);
    addLeftOut(&leftOut, "second", nullptr);
    EXPECT_EQ(std::string(leftOut.names), std::string(251, 'n') + " ...");
    EXPECT_EQ(leftOut.count, 2);
    leftOut = {};
    for (const char* name : {"Hand", "Foot"})
        addLeftOut(&leftOut, name, "Scale.X");
    EXPECT_STREQ(leftOut.names, "Hand/Scale.X, Foot/Scale.X");
}

// An item of the first rig has the same name, but is not saved.
TEST(Poses, of_a_second_rig_are_saved_whole) {
    Scene scene = someScene();
    scene.addItem(ItemType::object, "Lid", scene.addItem(ItemType::object, "Other box"));
    Rig rig(std::move(scene));
    rig.activateModule();
    rig.select({"Other box"});
    const std::string path = scratchFile("pose.lw_frame");
    rig.perform("Save Single Frame data", {{"File full path", path}});
    EXPECT_EQ(rig.user.said(), Texts{"info: Saved all channel data at frame 0 / "
                                     "Use [Load Frame] to use saved state"});
    std::FILE* file = tryReading(path.c_str());
    ASSERT_TRUE(file);
    int lids = 0;
    for (char word[wordSize]; readWord(file, word);)
        lids += std::string_view(word) == "Lid";
    std::fclose(file);
    EXPECT_EQ(lids, 9);
}

} // namespace
} // namespace cadencora::stage
