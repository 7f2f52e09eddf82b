// Single-frame files: what is written, what each line of one does, and which names make the trip.

#include "plugin/transfer/frame_records.h"
#include "tests/plugin/rig.h"

#include <algorithm>
#include <filesystem>

namespace cadencora::stage {
namespace {

const char* const save = "Save Single Frame data";
const char* const load = "Load Single Frame data";

struct SingleFrame : testing::Test, Rig {
    const std::string path = scratchFile("pose.lw_frame");
    SingleFrame() { std::filesystem::remove(path); }

    // On all items: the toggle is new in each dialog.
    ChangeReport saveAll(Reply reply = Reply::yes) {
        return perform(save, {{"Use selected objects only", "off"}, {"File full path", path}},
                       reply);
    }
    ChangeReport loadAll() {
        return perform(load, {{"Use selected objects only", "off"}, {"Load file full path", path}});
    }
    void time(double seconds) { host.mutableScene().currentTime = seconds; }
};

TEST_F(SingleFrame, a_pose_is_written_as_text_and_lands_at_the_current_time) {
    activate();
    time(2);
    fill(curve("Hips", "Position.X"), {{0, 0}, {4, 1}});
    fill(curve("Box", "Rotation.H"), {{2, 0.1234567}});
    select({"Box", "Hips"});
    perform(save, {{"Include all subchildren", "off"}, {"File full path", path}});
    EXPECT_EQ(user.titles, (Texts{"Select objects + channels to save", "Save Frame data to file"}));
    EXPECT_EQ(user.said(), Texts{"info: Saved all channel data at frame 60 / Use [Load Frame] to "
                                 "use saved state"});
    const std::string text = readText(path);
    EXPECT_EQ(text.substr(0, 47), "Box Position.X 0.000000\nBox Position.Y 0.000000");
    EXPECT_NE(text.find("\nBox Rotation.H 0.123457\n"), text.npos) << "rounded to six digits";
    EXPECT_NE(text.find("\nBox Scale.Z 1.000000\nHips Position.X 0.500000\n"), text.npos);
    EXPECT_EQ(std::ranges::count(text, '\n'), 18);

    time(1.0 / 3);
    user.titles.clear();
    const ChangeReport report = perform(load, {{"Load file full path", path}});
    EXPECT_EQ(user.titles, (Texts{"Select objects + channel to modify", "Load Frame"}));
    EXPECT_EQ(user.said(), Texts{"info: Loaded all channel data at frame 10 / Only items in the "
                                 "[Affected Objects] list will be changed"});
    EXPECT_EQ(report.keysAdded, 18u);
    EXPECT_EQ(keys("Hips", "Position.X"), (Keys{{0, 0}, {1.0 / 3, 0.5}, {4, 1}}));
}

TEST_F(SingleFrame, an_existing_file_is_replaced_only_if_the_user_says_so) {
    activate();
    saveAll();
    const std::string before = readText(path);
    fill(curve("Hips", "Position.X"), {{0, 7}});
    saveAll(Reply::no);
    EXPECT_EQ(user.said(),
              Texts{"question: Cadencora warning / Overwrite existing file? / " + path});
    EXPECT_EQ(readText(path), before);
    saveAll();
    EXPECT_NE(readText(path), before);
    for (const auto& [press, label, said] :
         {std::tuple{save, "File full path", "error: Failure to open file for writing"},
          std::tuple{load, "Load file full path", "error: File not found"}}) {
        const std::string missing = testFolder() / "no/such/folder/pose.lw_frame";
        EXPECT_TRUE(
            perform(press, {{"Use selected objects only", "off"}, {label, missing}}).empty());
        EXPECT_EQ(user.said(), Texts{std::string(said) + " / " + missing});
    }
}

TEST_F(SingleFrame, each_line_does_what_its_words_say) {
    struct Line {
        std::string text;
        SceneKeys effect; // all that is keyed, at time 0
    };
    const auto at = [](const char* channel, double value) {
        return SceneKeys{{channel, Keys{{0, value}}}};
    };
    const std::string longName(255, 'n'), longBlanks(900, ' ');
    const Line lines[] = {
        {"Hips Position.X 1.5", at("Hips/Position.X", 1.5)}, // no line end
        {"Hips Position.X +2e1\r\n", at("Hips/Position.X", 20)},
        {"\tHips   Rotation.H\t-3\n\n", at("Hips/Rotation.H", -3)},
        {"Null (2) Scale.X 4\n", at("Null (2)/Scale.X", 4)},
        {"Null   (2) Scale.X 4\n", at("Null (2)/Scale.X", 4)},
        {"Bip01 L Thigh Scale.X 5\n", at("Bip01 L Thigh/Scale.X", 5)},
        {"My own  bone here Scale.X 6\n", at("My own  bone here/Scale.X", 6)},
        {"Hips Position.X 7 and a remark\n", at("Hips/Position.X", 7)},
        {"Hips position.x 1\n", {}},
        {"hips Position.X 1\n", {}},
        {"Nobody Position.X 1\n", {}},
        {"Position.X 1\n", {}},
        {"Hips Position.X one\n", {}},
        {"Hips Position.X nan\n", {}},
        {"Hips Position.X 1e999\n", {}},
        {"[MORPH_MIXER]Face Position.X 1\n", {}},
        {"Hips Position.X" + longBlanks + " 8\n", at("Hips/Position.X", 8)},
        {"Hips Position.X" + longBlanks + longBlanks + " 9\n", {}},
        {"Hips " + longName + "n 1\nHips Position.Y 2\n", at("Hips/Position.Y", 2)},
        {std::string("Hips Position.X\0 1\nHips Position.Y 3\n", 37), at("Hips/Position.Y", 3)},
        // A run of lines whose names differ only by case belongs to the first.
        {"Hips Position.X 1\nhIPS Position.X 2\n", at("Hips/Position.X", 2)},
        {"hIPS Position.X 1\nHips Position.X 2\n", {}},
        {"[MORPH_MIXER]F Position.X 1\nHips Position.X 2\n", at("Hips/Position.X", 2)},
    };
    activate();
    for (const char* name : {"Null (2)", "Bip01 L Thigh", "My own  bone here"})
        host.mutableScene().addItem(ItemType::object, name);
    for (const Line& line : lines) {
        SCOPED_TRACE(line.text);
        std::ofstream(path, std::ios::binary) << line.text;
        loadAll();
        EXPECT_EQ(allKeys(host.scene()), line.effect);
        host.undo();
        ASSERT_TRUE(allKeys(host.scene()).empty());
    }
}

TEST_F(SingleFrame, only_affected_items_take_values_when_only_selected_ones_are_meant) {
    activate();
    saveAll();
    select({"Spine"});
    const auto report = perform(load, {{"Load file full path", path}});
    EXPECT_EQ(report.items, 2u) << "Spine and Head below it";
    EXPECT_EQ(report.keysAdded, 18u);
}

TEST_F(SingleFrame, rig_names_make_the_trip_and_others_are_named_and_left_out) {
    const std::pair<const char*, bool> names[] = {
        {"mixamorig:LeftArm", true},
        {"Bip01 L Thigh", true},
        {"Null (2)", true},
        {"F\303\274\303\237e", true},
        {"a/b", true},
        {"..", true},
        {"-", true},
        {".hidden", true},
        {"Arm", true},
        {"Hand", true},
        {"ARM", true},
        {"[MORPH_MIXER]", true},
        {"two  blanks", false},
        {" ahead", false},
        {"behind ", false},
        {"tab\there", false},
        {"Camera 01 2", false},
        {"", false},
        {"[MORPH_MIXER]Face", false},
        {"Hips", false}, // the bone has that name
        {"hand", true},
        {"HAND", false}}; // its lines would follow those of "hand"
    activate();
    Scene& scene = host.mutableScene();
    const ItemId sun = item("Sun");
    scene.addChannel(scene.item(sun).group, "Left Eye");
    fill(scene.mutableMotion(sun, positionX), {{0, -1}});
    std::vector<ItemId> items;
    for (const auto& [name, readable] : names) {
        items.push_back(scene.addItem(ItemType::camera, name));
        fill(scene.mutableMotion(items.back(), positionX), {{0, double(items.size())}});
    }
    saveAll();
    ASSERT_EQ(user.said().size(), 2u);
    EXPECT_EQ(
        user.said()[0],
        "info: Left out, as their names cannot be read back: 10 / Sun/Left Eye, two  blanks,  "
        "ahead, behind , tab\there, Camera 01 2, , [MORPH_MIXER]Face, Hips, HAND");
    time(1);
    loadAll();
    for (std::size_t i = 0; i < items.size(); ++i) {
        Keys expected{{0, double(i) + 1}};
        if (names[i].second) expected.emplace_back(1, double(i) + 1);
        EXPECT_EQ(keysOf(scene.motion(items[i], positionX)), expected) << names[i].first;
    }
    EXPECT_EQ(keysOf(scene.motion(sun, positionX)), (Keys{{0, -1}, {1, -1}}));
}

} // namespace
} // namespace cadencora::stage
