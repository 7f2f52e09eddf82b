// What the manual promises of single commands, where a slip would go unnoticed.

#include "plugin/math/world_values.h"
#include "stage/panels/labels.h"
#include "tests/plugin/rig.h"

#include <cmath>
#include <numbers>

namespace cadencora::stage {
namespace {

struct Promises : testing::Test, Rig {
    Promises() { activate(); }
};

TEST_F(Promises, a_clip_brings_its_behaviours_and_the_value_at_the_start_of_a_later_range) {
    const std::string folder = scratchFile("clip");
    std::filesystem::create_directories(folder);
    fill(curve("Box", "Position.X"), {{0, 0}, {2, 20}});
    curve("Box", "Position.X").before = Behaviour::mirror;
    curve("Box", "Position.X").after = Behaviour::offsetRepeat;
    select({"Box"});
    const std::size_t channels =
        host.scene().group(host.scene().item(item("Box")).group).channels.size();
    perform("Save Clip data",
            {{"Include all subchildren", "off"}, {"New Motion directory", folder}});
    curve("Box", "Position.X").before = curve("Box", "Position.X").after = Behaviour::constant;
    fill(curve("Box", "Position.X"), {{0, 5}, {2, 5}});
    perform("Load Clip data",
            {{"Start", "30"}, {"Include all subchildren", "off"}, {"Motion directory", folder}});
    // The clip's curve is at 10 there, by keys that lie outside of the range.
    EXPECT_EQ(keys("Box", "Position.X"), (Keys{{0, 5}, {1, 10}, {2, 20}}));
    EXPECT_EQ(curve("Box", "Position.X").before, Behaviour::mirror);
    EXPECT_EQ(curve("Box", "Position.X").after, Behaviour::offsetRepeat);
    EXPECT_EQ(host.scene().group(host.scene().item(item("Box")).group).channels.size(), channels)
        << "no temporary envelope is left";
}

TEST_F(Promises, a_pose_skips_morph_lines_cuts_the_frame_and_heeds_the_list_only_when_told) {
    const std::string path = writeText("pose.lw_frame", "Hips Position.X 1\n"
                                                        "[MORPH_MIXER]Hips Position.Y 2\n"
                                                        "Hips Position.Z 3\n"
                                                        "Box Position.X 4\n");
    host.mutableScene().currentTime = 12.9 / 30;
    select({"Sun"});
    perform("Load Single Frame data",
            {{"Use selected objects only", "off"}, {"Load file full path", path}});
    EXPECT_EQ(user.said(), Texts{"info: Loaded all channel data at frame 12 / Only items in the "
                                 "[Affected Objects] list will be changed"});
    EXPECT_EQ(allKeys(host.scene()).size(), 3u);
    EXPECT_EQ(keys("Hips", "Position.Y"), Keys());
    EXPECT_EQ(keys("Hips", "Position.Z").size(), 1u) << "the line after the morph's is Hips' again";
    host.undo();
    perform("Load Single Frame data",
            {{"Use selected objects only", "on"}, {"Load file full path", path}});
    EXPECT_EQ(allKeys(host.scene()).size(), 0u) << "the sun is not in the file";
}

TEST_F(Promises, jitter_shifts_times_or_values_or_both_by_the_same) {
    const Keys before{{0, 1}, {1, 2}, {2, 3}};
    select({"Box"});
    for (const char* method : {"Value", "Time", "Both"}) {
        SCOPED_TRACE(method);
        fill(curve("Box", "Position.X"), before);
        perform("Randomize/Jitter Keys", {{"Method", method}, {"Max Value", "0.1"}});
        const Keys after = keys("Box", "Position.X");
        ASSERT_EQ(after.size(), before.size());
        for (std::size_t i = 0; i < after.size(); ++i) {
            const double time = after[i].first - before[i].first;
            const double value = after[i].second - before[i].second;
            EXPECT_EQ(time != 0, std::string_view(method) != "Value");
            EXPECT_EQ(value != 0, std::string_view(method) != "Time");
            if (time != 0 && value != 0) {
                EXPECT_NEAR(time, value, 1e-12);
            }
        }
    }
}

TEST_F(Promises, object_position_is_of_objects_and_not_of_lights_and_cameras) {
    const Texts all = {"Box", "Sun", "Cam", "Hips"};
    for (const std::string& name : all)
        for (const char* channel : {"Position.X", "Rotation.H"})
            fill(curve(name, channel), {{0, 1}, {1, 2}});
    const auto before = allKeys(host.scene());
    select(all);
    perform("Randomize/Jitter Keys",
            {{"Include all subchildren", "off"}, {"Selection", "Object Position"}});
    auto after = allKeys(host.scene());
    EXPECT_NE(after["Box/Position.X"], before.at("Box/Position.X"));
    after["Box/Position.X"] = before.at("Box/Position.X");
    EXPECT_EQ(after, before);
}

TEST_F(Promises, options_open_with_their_defaults_and_their_boxes_in_line) {
    const struct {
        const char* command;
        const char* dialog;
        std::vector<std::pair<std::string, std::string>> values;
    } rows[] = {
        {"Cycle (Bake) Keys", "Copy and Cycle frames", {{"Cycle Gap", "0"}, {"Repeats", "1"}}},
        {"Create Random Keys",
         "Create random keyframes",
         {{"Method", "Random"}, {"Selection", "All"}, {"Max Keys", "5"}}},
        {"Randomize/Jitter Keys",
         "Randomize keyframes",
         {{"Method", "Value"}, {"Selection", "All"}, {"Max Value", "0.05"}}},
        {"MoveRotateScale",
         "Move/Rotation/Scale keys",
         {{"Method", "Add"}, {"Position.X", "1"}, {"Rotation.B", "1"}, {"Scale.Z", "1"}}}};
    host.mutableScene().previewLast = 47;
    host.refreshRecords();
    select({"Box"});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        std::size_t seen = 0;
        user.inDialog = [&](PanelModel& panel) {
            if (panel.title != row.dialog) return;
            std::set<int> boxes;
            for (const auto& [label, value] : row.values) {
                auto control = findControl({&panel}, label);
                ASSERT_TRUE(control.ok()) << label;
                EXPECT_EQ(valueText(**control, host.scene()), value) << label;
                const ControlType type = control.value()->type;
                if (type == ControlType::slider ||
                    std::string_view(row.command) == "MoveRotateScale")
                    if (type != ControlType::choice)
                        boxes.insert(control.value()->rect.x + control.value()->labelWidth);
                ++seen;
            }
            EXPECT_LE(boxes.size(), 1u);
            if (!boxes.empty()) {
                EXPECT_EQ(*boxes.begin(), 80);
            }
            if (std::string_view(row.dialog) != "Copy and Cycle frames") return;
            const ControlModel& gap = **findControl({&panel}, "Cycle Gap");
            const ControlModel& repeats = **findControl({&panel}, "Repeats");
            EXPECT_EQ(gap.minimum, 0);
            EXPECT_EQ(gap.maximum, 47) << "the preview's last frame";
            EXPECT_EQ(repeats.minimum, 1);
            EXPECT_EQ(repeats.maximum, 50);
        };
        perform(row.command, {}, Reply::cancel);
        perform(row.command);
        EXPECT_GE(seen, row.values.size());
    }
}

TEST(Angles, keep_their_digits_near_the_vertical) {
    for (const double away : {0.002, 0.01, 0.1}) {
        const HPB angles{0.3, std::numbers::pi / 2 - away, 0.5};
        Mat4 m;
        identity4(&m);
        get_rotate(&angles, &m);
        HPB back;
        getRotations(&m, &back);
        EXPECT_NEAR(back.pitch, angles.pitch, 1e-6) << "an arcsine would lose half the digits";
    }
}

} // namespace
} // namespace cadencora::stage
