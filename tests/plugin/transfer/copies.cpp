// The node-to-node copies: which command lines they issue, and what comes of them.

#include "plugin/host/lookup.h"
#include "tests/plugin/rig.h"

#include <cinttypes>

namespace cadencora::stage {
namespace {

const char* const frameCopy = "Node-to-Node Frame Copy";
const char* const motionCopy = "Node-to-Node Motion Copy";

// The command lines of the test under way, with items by their names.
Texts lines;

struct Copies : testing::Test, Rig {
    Copies() {
        activate();
        lines.clear();
        evaluate = [](int use, const char* line) {
            std::uintptr_t word = 0;
            const Scene& scene = Host::active()->scene();
            lines.push_back(std::sscanf(line, "SelectItem %" SCNxPTR, &word) == 1
                                ? "SelectItem " + scene.item(decode<ItemId>(scene, word)).name
                                : line);
            return reinterpret_cast<host::LayoutGeneric*>(Host::layoutGeneric())
                ->evaluate(use, line);
        };
    }
    Texts said(const char* press, const std::vector<Step::Setting>& settings = {}) {
        perform(press, settings);
        return user.said();
    }
};

TEST_F(Copies, a_frame_copy_of_what_has_no_number_changes_nothing) {
    fill(curve("Box", "Position.X"), {{0, 3e38}});
    fill(curve("Box", "Scale.X"), {{0, 3e38}});
    fill(curve("Lid", "Position.X"), {{0, 3e38}});
    EXPECT_EQ(said(frameCopy, {{"Source", "Lid"}, {"Target", "Lid"}}),
              (Texts{"error: Values are too large to be copied / Position"}));
    EXPECT_EQ(lines, Texts());
}

TEST_F(Copies, a_frame_copy_with_a_single_toggle_types_that_alone) {
    const char* const toggles[] = {"Position", "Rotation", "Scale"};
    for (const char* on : toggles) {
        std::vector<Step::Setting> settings{{"Source", "Box"}, {"Target", "Face"}};
        for (const char* toggle : toggles)
            settings.push_back({toggle, toggle == on ? "on" : "off"});
        lines.clear();
        perform(frameCopy, settings);
        ASSERT_EQ(lines.size(), 2u) << on;
        EXPECT_TRUE(lines[1].starts_with(on)) << lines[1];
    }
}

TEST_F(Copies, a_frame_copy_types_the_source_s_own_values_or_those_of_its_place) {
    fill(curve("Box", "Position.X"), {{0, 1}});
    fill(curve("Box", "Position.Y"), {{0, 2}});
    fill(curve("Box", "Position.Z"), {{0, 3}});
    fill(curve("Box", "Rotation.H"), {{0, 1.5707963268}});
    fill(curve("Box", "Scale.Y"), {{0, -2}});
    fill(curve("Lid", "Position.X"), {{0, 10}});
    perform(frameCopy,
            {{"Source", "Box"}, {"Target", "Face"}, {"Use World co-ordinates Copy", "off"}});
    EXPECT_EQ(lines, (Texts{"SelectItem Face", "Position 1.000000 2.000000 3.000000",
                            "SelectItem Face", "Rotation 90.000000 0.000000 0.000000",
                            "SelectItem Face", "Scale 1.000000 -2.000000 1.000000"}));
    EXPECT_EQ(host.scene().selection, std::vector{item("Face")});
    EXPECT_EQ(keys("Face", "Position.Y"), (Keys{{0, 2}}));

    // In the world the lid is beside the rotated box; the sun has no parent.
    lines.clear();
    perform(frameCopy, {{"Source", "Lid"}, {"Target", "Sun"}});
    EXPECT_EQ(lines, (Texts{"SelectItem Sun", "Position 1.000000 2.000000 -7.000000",
                            "SelectItem Sun", "Rotation 90.000003 -0.000000 0.000000",
                            "SelectItem Sun", "Scale 1.000000 -2.000000 1.000000"}));
    lines.clear();
    perform(frameCopy, {{"Source", "Lid"},
                        {"Target", "Sun"},
                        {"Position", "off"},
                        {"Rotation", "off"},
                        {"Scale", "off"}});
    EXPECT_EQ(lines, Texts());
}

TEST_F(Copies, start_with_the_first_two_affected_items_and_need_both) {
    Texts shown;
    user.inDialog = [&](PanelModel& panel) {
        shown = {panel.title};
        for (const ControlModel* control : panel.controls)
            if (control->type == ControlType::item || control->type == ControlType::toggle)
                shown.push_back(valueText(*control, host.scene()));
    };
    const Texts missing{"error: No source or target item / Please choose both items"};
    select({"Box"});
    perform("Destroy Keys", {{"Include all subchildren", "off"}}, Reply::no); // leaves its toggles
    EXPECT_EQ(said(frameCopy), missing);
    EXPECT_EQ(shown,
              (Texts{"Item-To-Item copy - CURRENT FRAME", "Box", "", "on", "on", "on", "on"}));
    select({});
    EXPECT_EQ(said(motionCopy), missing);
    EXPECT_EQ(shown, (Texts{"Copy Motion using frames: 0 - 60", "", "", "off"}));
    EXPECT_EQ(lines, Texts());
    select({"Sun", "Cam", "Box"});
    EXPECT_EQ(said(motionCopy), Texts());
    EXPECT_EQ(shown, (Texts{"Copy Motion using frames: 0 - 60", "Sun", "Cam", "off"}));
    EXPECT_EQ(lines, (Texts{"SelectItem Sun", "SaveMotion temporary_motion_PLEASE_DELETE.mot",
                            "SelectItem Cam", "LoadMotion temporary_motion_PLEASE_DELETE.mot"}));
}

TEST_F(Copies, a_loaded_list_outlasts_a_copy) {
    const std::string list = writeText("two.lw_items", "Sun Lid");
    perform("Destroy Keys", {{"Affected Objects/Load", list}}, Reply::no);
    perform(motionCopy, {{"Target", "Cam"}});
    EXPECT_EQ(lines[0], "SelectItem Sun") << "the list's first item";
    EXPECT_EQ(names(state()), (Texts{"Sun", "Lid"}));
}

TEST_F(Copies, a_motion_copy_pairs_two_families_by_place_as_far_as_both_reach) {
    // Hips (Spine (Head), Leg) onto Tail (Mid, End): the leg has no counterpart.
    Scene& scene = host.mutableScene();
    const ItemId tail = scene.addItem(ItemType::object, "Tail");
    scene.addItem(ItemType::object, "Mid", tail);
    scene.addItem(ItemType::object, "End", tail);
    for (const char* name : {"Hips", "Spine", "Head", "Leg"}) {
        fill(curve(name, "Rotation.B"), {{0, double(name[0])}, {1, double(name[1])}}, Shape::hold);
        curve(name, "Rotation.B").after = Behaviour::mirror;
    }
    fill(curve("Mid", "Scale.X"), {{0, 5}});
    perform(motionCopy, {{"Source", "Hips"}, {"Target", "Tail"}, {"All descendants", "on"}});
    ASSERT_EQ(lines.size(), 4u + 2 + 3 * 4);
    EXPECT_EQ(lines[4], "SelectItem Hips");
    EXPECT_EQ(lines[5], "SelectItem Tail");
    EXPECT_EQ(lines[14], "SelectItem Head");
    EXPECT_EQ(lines[16], "SelectItem End");
    const std::pair<const char*, const char*> pairs[] = {
        {"Hips", "Tail"}, {"Spine", "Mid"}, {"Head", "End"}};
    for (const auto& [from, to] : pairs) {
        EXPECT_EQ(keys(to, "Rotation.B"), keys(from, "Rotation.B"));
        EXPECT_EQ(curve(to, "Rotation.B").after, Behaviour::mirror);
        EXPECT_EQ(curve(to, "Rotation.B").keys.begin().shape(), Shape::hold);
    }
    EXPECT_TRUE(keys("Mid", "Scale.X").empty()) << "the whole motion, empty channels too";
    EXPECT_EQ(names(state()), (Texts{"Tail", "Mid", "End"}));
    EXPECT_EQ(value(state()->selectedOnlyToggle), 1);
    EXPECT_EQ(value(state()->allChildrenToggle), 1);
    EXPECT_EQ(value(state()->customListToggle), 0);
}

TEST_F(Copies, end_without_a_word_where_a_service_is_missing_and_with_one_without_a_panel) {
    for (const char* command : {frameCopy, motionCopy, "Save Single Frame data",
                                "Load Single Frame data", "Save Clip data", "Load Clip data"}) {
        SCOPED_TRACE(command);
        for (const char* service : {"LW Item Info 5", "LW Interface Info 7"}) {
            user.titles.clear();
            host.mutableFaults().withheldServices = {service};
            EXPECT_EQ(said(command), Texts());
            EXPECT_EQ(user.titles, Texts());
        }
        host.mutableFaults().withheldServices.clear();
        select({"Box"});
        const bool dialogFirst = command != frameCopy && command != motionCopy;
        host.mutableFaults().panelsUntilNull = dialogFirst ? 1 : 0;
        EXPECT_EQ(said(command), Texts{"error: Unable to create new panel / "});
        host.mutableFaults().panelsUntilNull = -1;
    }
    EXPECT_EQ(lines, Texts());
}

} // namespace
} // namespace cadencora::stage
