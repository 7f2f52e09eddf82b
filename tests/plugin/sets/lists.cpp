// Affected channels and objects: lists, their files, and the dialogs that show and check them.

#include "plugin/sets/channel_list.h"
#include "plugin/sets/dialogs.h"
#include "plugin/sets/object_list.h"
#include "stage/panels/labels.h"
#include "tests/plugin/rig.h"

namespace cadencora::stage {
namespace {

const Texts nineNames = {"Position.X", "Position.Y", "Position.Z", "Rotation.H", "Rotation.P",
                         "Rotation.B", "Scale.X",    "Scale.Y",    "Scale.Z"};
const Texts wholeScene = {"Hero", "Hips", "Spine", "Head", "Leg",
                          "Box",  "Lid",  "Face",  "Sun",  "Cam"};

struct Lists : testing::Test, Rig {
    ToolState* state = activate();

    Texts channels() const {
        return {state->channelNames, state->channelNames + state->numChannels};
    }
    Texts rows(host::Control* list) { return listRows(*host.panels().find(list)); }
    std::vector<int> toggles() {
        return {value(state->selectedOnlyToggle), value(state->allChildrenToggle),
                value(state->customListToggle)};
    }
    // The table of a dialog with these settings, accepted or cancelled, that then asks for nothing.
    Texts table(const std::vector<Step::Setting>& settings, Reply reply = Reply::no) {
        EXPECT_TRUE(perform("Destroy Keys", settings, reply).empty());
        return names(state);
    }
};

TEST_F(Lists, channel_files_are_words_of_up_to_255_characters_of_which_64_count) {
    const std::string longest(255, 'a'), tooLong(256, 'b');
    Texts many;
    std::string manyText;
    for (int i = 0; i < 70; ++i) {
        manyText += "Name" + std::to_string(i) + (i == 5 ? "\n" + tooLong + "\n" : "\n");
        if (i < 64) many.push_back("Name" + std::to_string(i));
    }
    const struct {
        std::string text;
        Texts names;
    } rows[] = {
        {"Position.X Scale.Y\n", {"Position.X", "Scale.Y"}},
        {"\r\n A\tB\r\nC\v\fD", {"A", "B", "C", "D"}},
        {tooLong + " A " + longest + "\n" + longest + "c B", {"A", longest, "B"}},
        {manyText, many},
        {"A a A", {"A", "a", "A"}},
        {"", {}},
        {" \n\n", {}},
    };
    for (const auto& row : rows) {
        loadChannelSets(writeText("set", row.text).c_str(), state);
        EXPECT_EQ(channels(), row.names);
    }
    EXPECT_FALSE(isActiveChannel("Position.X", state)) << "of an empty list";
}

TEST_F(Lists, channels_survive_saving_and_loading_in_the_dialog) {
    const std::string path = scratchFile("saved");
    table({{"Affected Channels/Save", path}, {"Affected Channels", "Position.Y"}, {"Remove", ""}});
    EXPECT_EQ(state->numChannels, 8);
    EXPECT_FALSE(isActiveChannel("Position.Y", state));
    EXPECT_EQ(readText(path), "Position.X\nPosition.Y\nPosition.Z\nRotation.H\nRotation.P\n"
                              "Rotation.B\nScale.X\nScale.Y\nScale.Z\n");
    table({{"Affected Channels/Load", path}}, Reply::cancel);
    EXPECT_EQ(channels(), nineNames) << "a cancelled dialog keeps what was loaded";
    EXPECT_EQ(rows(state->channelList), nineNames);

    table({{"Affected Channels/Load", writeText("other", "Fog")}});
    EXPECT_EQ(channels(), Texts{"Fog"});
    table({{"Default", ""}, {"Remove", ""}});
    EXPECT_EQ(channels(), nineNames) << "and no row was chosen to remove";
}

TEST_F(Lists, the_last_of_several_equal_channels_is_removed) {
    loadChannelSets(writeText("set", "Scale.X Fog scale.x Mist").c_str(), state);
    table({{"Affected Channels", "0"}, {"Remove", ""}});
    EXPECT_EQ(channels(), (Texts{"Scale.X", "Fog", "Mist"}));
    deleteChannel("MIST", state);
    deleteChannel("Mis", state);
    EXPECT_EQ(channels(), (Texts{"Scale.X", "Fog"}));
    EXPECT_TRUE(isActiveChannel("sCALE.x", state));
    EXPECT_FALSE(isActiveChannel("Scale", state));
    EXPECT_FALSE(isActiveChannel("Scale.X2", state));
}

TEST_F(Lists, files_that_cannot_be_opened_are_told_and_leave_the_lists) {
    const std::string missing = scratchFile("missing/set"), folder = testFolder();
    select({"Box"});
    for (const std::string list : {"Affected Channels", "Affected Objects"})
        for (const bool load : {true, false})
            for (const std::string& path : {missing, folder}) {
                SCOPED_TRACE(list + path);
                table({{list + (load ? "/Load" : "/Save"), path}}, Reply::cancel);
                const std::string what = load ? "reading" : "writing";
                EXPECT_EQ(user.said(),
                          Texts{"error: Failure to open file for " + what + " / " + path});
                EXPECT_EQ(channels(), nineNames);
                EXPECT_EQ(names(state), (Texts{"Box", "Lid"}));
            }
}

TEST_F(Lists, objects_are_the_selection_then_all_below_or_the_whole_scene) {
    const struct {
        Texts selected;
        std::vector<Step::Setting> settings;
        Texts table;
    } rows[] = {
        {{"Box", "Hips"}, {}, {"Box", "Hips", "Lid", "Spine", "Head", "Leg"}},
        {{"Hips", "Box"}, {}, {"Hips", "Box", "Spine", "Head", "Leg", "Lid"}},
        {{"Hips", "Spine"}, {}, {"Hips", "Spine", "Spine", "Head", "Leg", "Head"}},
        {{"Hips", "Sun"}, {{"Include all subchildren", "off"}}, {"Hips", "Sun"}},
        {{"Lid"}, {{"Use selected objects only", "off"}}, wholeScene},
        {{}, {{"All", ""}}, wholeScene},
    };
    for (const auto& row : rows) {
        select(row.selected);
        EXPECT_EQ(table(row.settings), row.table);
        EXPECT_EQ(listRows(*host.panels().find(state->objectList)), row.table);
    }
    // Whatever is below an object is below it, of any type.
    const ItemId lamp = host.mutableScene().addItem(ItemType::light, "Lamp", item("Lid"));
    host.mutableScene().addItem(ItemType::camera, "Eye", lamp);
    select({"Box"});
    EXPECT_EQ(table({}), (Texts{"Box", "Lid", "Lamp", "Eye"}));
}

TEST_F(Lists, a_loaded_table_stands_until_all_or_a_toggle_collects_anew) {
    const std::string path = writeText("set", "Lid Nobody\nHero lid Sun");
    const Texts loaded = {"Lid", "(none)", "Hero", "(none)", "Sun"};
    const std::string saved = scratchFile("saved");
    select({"Box"});
    table({{"Affected Objects/Load", path}}, Reply::cancel);
    EXPECT_EQ(toggles(), (std::vector{0, 0, 1}));

    select({"Face"});
    EXPECT_EQ(table({{"Affected Objects/Save", saved}}), loaded);
    EXPECT_EQ(toggles(), (std::vector{0, 0, 1})) << "of the next dialog";
    EXPECT_EQ(listRows(*host.panels().find(state->objectList)),
              (Texts{"Lid", "(not found)", "Hero", "(not found)", "Sun"}));
    EXPECT_EQ(readText(saved), "Lid\nHero\nSun\n");
    for (const char* command : {"Defractionalize", "MoveRotateScale", "Key All Morphs"})
        EXPECT_TRUE(perform(command).empty()) << "names without an item are passed over";

    EXPECT_EQ(table({{"All", ""}}), wholeScene);
    EXPECT_EQ(toggles(), (std::vector{0, 0, 0}));
    EXPECT_EQ(table({{"Use selected objects only", "on"}}), Texts{"Face"})
        << "although the custom list is on";
    EXPECT_EQ(toggles(), (std::vector{1, 0, 1}));
}

TEST_F(Lists, turning_the_custom_list_on_by_hand_keeps_the_table_that_is_shown) {
    select({"Box"});
    EXPECT_EQ(table({{"Use custom loaded", "on"}}), (Texts{"Box", "Lid"}));
    EXPECT_EQ(toggles(), (std::vector{0, 0, 1}));
    select({"Sun"});
    EXPECT_EQ(table({{"Use custom loaded", "off"}}), wholeScene) << "the other toggles are off";
    EXPECT_EQ(table({}), wholeScene) << "once turned on, the next dialog opens with it";
}

TEST(ItemFiles, name_the_first_item_in_the_order_of_kinds) {
    Scene scene;
    scene.addItem(ItemType::light, "Twin");
    const ItemId hero = scene.addItem(ItemType::object, "Hero");
    const ItemId object = scene.addItem(ItemType::object, "Twin");
    const ItemId bone = scene.addItem(ItemType::bone, "Rib", hero, hero);
    scene.addItem(ItemType::camera, "Rib");
    scene.addItem(ItemType::object, "Two Words");
    Rig rig(std::move(scene));
    ToolState* state = rig.activate();
    loadItemSets(writeText("set", "Twin Rib Twin Two Words").c_str(), state);
    EXPECT_EQ(
        std::vector(state->objects, state->objects + state->numObjects),
        (std::vector<host::Item>{encode(object), encode(bone), encode(object), nullptr, nullptr}));
}

TEST(ObjectTable, holds_20480_items_of_which_the_list_shows_512) {
    Scene scene;
    std::vector<ItemId> items;
    for (int i = 0; i < 20500; ++i)
        items.push_back(scene.addItem(ItemType::light, "L" + std::to_string(i)));
    Rig rig(std::move(scene));
    ToolState* state = rig.activate();
    for (const std::size_t selected : {512, 600, 20500}) {
        rig.host.select({items.begin(), items.begin() + static_cast<long>(selected)});
        rig.perform("Defractionalize", {}, Reply::no);
        EXPECT_EQ(state->numObjects, std::min(selected, std::size_t{20480}));
        EXPECT_EQ(listRows(*rig.host.panels().find(state->objectList)).size(), 512u);
        const int last = state->numObjects - 1;
        EXPECT_EQ(objectName(state, last), "L" + std::to_string(last));
        EXPECT_FALSE(objectName(state, last + 1));
    }
    std::string names;
    for (int i = 20499; i >= 0; --i)
        names += "L" + std::to_string(i) + "\n";
    loadItemSets(writeText("set", names).c_str(), state);
    EXPECT_EQ(state->numObjects, 20480);
    EXPECT_STREQ(objectName(state, 20479), "L20");
}

TEST_F(Lists, dialogs_refuse_with_a_message_the_range_first) {
    const std::string reversed =
        "error: End frame must be greater (or equal) than start frame / Not completing operation";
    const std::string empty =
        "error: No items affected(none in list) / Please add items to the list";
    const struct {
        Texts selected;
        std::vector<Step::Setting> settings;
        Reply reply;
        Texts said;
    } rows[] = {
        {{"Box"}, {{"Start", "31"}, {"End", "30"}}, Reply::yes, {reversed}},
        {{}, {{"Start", "31"}, {"End", "30"}}, Reply::yes, {reversed}},
        {{}, {}, Reply::yes, {empty}},
        {{"Box"}, {{"Start", "31"}, {"End", "30"}}, Reply::cancel, {}},
        {{}, {}, Reply::cancel, {}},
    };
    for (const auto& row : rows) {
        select(row.selected);
        EXPECT_TRUE(perform("MoveRotateScale", row.settings, row.reply).empty());
        EXPECT_EQ(user.said(), row.said);
        EXPECT_EQ(user.titles.back(), "Select range and objects");
    }
    for (const int made : {0, 1}) { // the first dialog, the options
        select({"Box"});
        host.mutableFaults().panelsUntilNull = made;
        EXPECT_TRUE(perform("MoveRotateScale").empty());
        EXPECT_EQ(user.said(), Texts{"error: Unable to create new panel / "});
    }
}

TEST_F(Lists, frame_sliders_reach_from_the_preview_to_the_later_end) {
    const struct {
        int lastFrame, previewFirst, previewLast, minimum, maximum;
    } rows[] = {{60, 5, 90, 5, 90}, {60, 10, 20, 10, 60}, {0, -8, -2, -8, 0}, {60, 0, 60, 0, 60}};
    select({"Box"});
    for (const auto& row : rows) {
        host.mutableScene().lastFrame = row.lastFrame;
        host.mutableScene().previewFirst = row.previewFirst;
        host.mutableScene().previewLast = row.previewLast;
        double start = -1, end = -1;
        EXPECT_EQ(createDefaultPanel(state, &start, &end), 1);
        EXPECT_EQ(start, row.minimum / 30.0);
        EXPECT_EQ(end, row.maximum / 30.0);
        for (host::Control* slider : {state->startSlider, state->endSlider}) {
            EXPECT_EQ(host.panels().find(slider)->minimum, row.minimum);
            EXPECT_EQ(host.panels().find(slider)->maximum, row.maximum);
        }
    }
    user.inDialog = [&](PanelModel& panel) {
        ASSERT_TRUE(setInteger(**findControl({&panel}, "Start"), 7).ok());
        ASSERT_TRUE(setInteger(**findControl({&panel}, "End"), 7).ok());
    };
    double start = -1, end = -1;
    EXPECT_EQ(createDefaultRangeObjectsPanel("Range", state, &start, &end), 1);
    EXPECT_EQ(start, 7 / 30.0);
    EXPECT_EQ(end, 7 / 30.0);
}

TEST_F(Lists, dialogs_hold_what_their_command_needs_with_buttons_in_rows) {
    double start = 0, end = 0;
    Texts seen;
    user.inDialog = [&](PanelModel& panel) {
        seen = labels({&panel});
        EXPECT_EQ(panel.x, (user.width - panel.width()) / 2) << "centred with all its controls";
        EXPECT_EQ(panel.y, (user.height - panel.height()) / 2);
    };
    select({"Box"});
    EXPECT_EQ(createDefaultPanel(state, &start, &end), 1);
    EXPECT_EQ(seen,
              (Texts{"Start", "End", "Affected Channels", "Affected Channels/Load",
                     "Affected Channels/Save", "Remove", "Default", "Affected Objects",
                     "Affected Objects/Load", "Affected Objects/Save", "All",
                     "Use selected objects only", "Include all subchildren", "Use custom loaded"}));
    const auto& controls = host.panels().find(state->objectList)->panel->controls;
    const auto expectRow = [&](std::size_t first, const std::vector<int>& places) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            EXPECT_EQ(controls[first + i]->rect.x, places[i]);
            EXPECT_EQ(controls[first + i]->rect.y, controls[first]->rect.y);
        }
    };
    expectRow(3, {5, 47, 89, 131});
    expectRow(8, {5, 61, 117});
    EXPECT_EQ(controls[3]->pattern, "*.lw_channels");
    EXPECT_EQ(controls[9]->pattern, "*.lw_items");
    EXPECT_EQ(createDefaultFramePanel("Frame", state), 1);
    EXPECT_TRUE(seen.size() == 12 && seen.front() == "Affected Channels");
    EXPECT_EQ(createDefaultRangeObjectsPanel("Range", state, &start, &end), 1);
    EXPECT_TRUE(seen.size() == 9 && seen.front() == "Start");
    EXPECT_EQ(createDefaultMorphPanel("Morphs", state), 1);
    EXPECT_TRUE(seen.size() == 7 && seen.front() == "Affected Objects");
}

} // namespace
} // namespace cadencora::stage
