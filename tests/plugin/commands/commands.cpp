// The commands as a host runs them: through the loaded module, by pressing their buttons.

#include "stage/scene/transform.h"
#include "tests/plugin/rig.h"

#include <ctime>

namespace cadencora::stage {
namespace {

const char* const commands[] = {
    "Cycle (Bake) Keys",     "Destroy Keys",     "Defractionalize", "Create Random Keys",
    "Randomize/Jitter Keys", "MoveRotateScale",  "Dissolve",        "UnDissolve",
    "Key All Morphs",        "UnKey All Morphs", "Reset All Morphs"};

// A scene in which each of the commands has something to do, with all of it selected.
struct Commands : testing::Test, Rig {
    Commands() {
        activateModule();
        for (const std::string_view name : motionChannelNames)
            fill(curve("Face", name), {{0, 1}, {0.51, 2}, {1, 3}});
        fill(curve("Face", "Morph/Smile"), {{0, 0.5}, {1, 1}});
        select({"Hero", "Box", "Face", "Sun", "Cam"});
    }
    EnvelopeId dissolve(const char* name) const { return channel(name, "Dissolve"); }
};

TEST_F(Commands, each_changes_something_unless_the_user_declines) {
    const auto before = allKeys(host.scene());
    for (const char* command : commands) {
        SCOPED_TRACE(command);
        select({"Hero", "Box", "Face", "Sun", "Cam"});
        host.mutableScene().currentTime = std::string_view(command) == "UnKey All Morphs" ? 1 : 0.5;
        EXPECT_TRUE(perform(command, {}, Reply::cancel).empty());
        EXPECT_TRUE(user.said().empty());
        const bool declined = perform(command, {}, Reply::no).empty();
        EXPECT_EQ(declined, !user.said().empty()) << "a command that asks accepts No";
        if (declined) {
            EXPECT_EQ(allKeys(host.scene()), before);
            EXPECT_FALSE(perform(command).empty());
        }
        EXPECT_TRUE(host.undo());
        EXPECT_EQ(allKeys(host.scene()), before);
    }
}

TEST_F(Commands, end_without_a_word_where_a_service_is_missing) {
    for (const char* service : {"LW Item Info 5", "LW Scene Info 6", "LW Interface Info 7",
                                "Channel Info 2", "Animation Envelopes"})
        for (const char* command : commands) {
            SCOPED_TRACE(testing::Message() << command << " without " << service);
            expectNothingWithout(service, command);
            // The service goes while the dialog is open.
            user.inDialog = [&](PanelModel& panel) {
                host.mutableFaults().withheldServices = {service};
                for (const ControlModel* control : panel.controls)
                    if (control->type == ControlType::listBox) (void)listRows(*control);
            };
            perform(command, {{"All", ""}, {"Use selected objects only", "on"}}, Reply::no);
            user.inDialog = nullptr;
        }
}

TEST_F(Commands, destroy_their_options_panels_and_keep_their_dialogs) {
    const std::map<std::string, std::string> options = {
        {"Copy and Cycle frames", "Cycle (Bake) Keys"},
        {"Create random keyframes", "Create Random Keys"},
        {"Randomize keyframes", "Randomize/Jitter Keys"},
        {"Move/Rotation/Scale keys", "MoveRotateScale"}};
    for (const char* command : commands)
        perform(command);
    for (const auto& [title, command] : options) {
        user.cancelled = title;
        EXPECT_TRUE(perform(command).empty()) << "cancelled options";
        EXPECT_EQ(user.titles.back(), title);
        EXPECT_EQ(user.said(), Texts());
    }
    for (const PanelModel& panel : host.panels().panels())
        EXPECT_EQ(panel.destroyed, options.contains(panel.title)) << panel.title;
}

TEST_F(Commands, dissolve_keys_objects_alone_and_gives_them_the_channel_they_lack) {
    host.mutableScene().rate = *FrameRate::of(25);
    const GroupId group = host.scene().item(item("Hero")).group;
    host.mutableScene().addChannel(group, "Dissolve");
    const Keys before = {{0, 0.25}, {1, 0.75}, {3, 0.5}};
    const struct {
        const char* command;
        const char* question;
        double startValue, endValue;
    } rows[] = {{"Dissolve", "question: Dissolve range / START: 0 --- END: 50 / ", 1, 0},
                {"UnDissolve",
                 "question: Dissolve range / START: 0 --- END: 50 / Geometry objects in Affected "
                 "List",
                 0, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        fill(curve("Hero", "Dissolve"), before);
        select({"Hero", "Sun", "Face", "Box", "Cam"});
        const auto changes = perform(row.command, {{"Start", "0"}, {"End", "50"}});
        EXPECT_EQ(user.said(), Texts{row.question});
        EXPECT_EQ(keys("Hero", "Dissolve"),
                  (Keys{{0, row.startValue}, {1, 0.75}, {2, row.endValue}, {3, 0.5}}));
        const auto held = curve("Hero", "Dissolve").keys.begin();
        EXPECT_EQ(held.shape(), Shape::hold);
        for (const char* name : {"Face", "Box", "Lid"}) { // Lid is below Box
            ASSERT_NE(dissolve(name), EnvelopeId::none) << name;
            EXPECT_EQ(keys(name, "Dissolve"), (Keys{{0, row.startValue}, {2, row.endValue}}));
            for (auto key = curve(name, "Dissolve").keys.begin(); key; key.advance())
                EXPECT_EQ(key.shape(), Shape::hold);
        }
        const bool hides = row.startValue == 1;
        for (const double time : {0.0, 1.99})
            EXPECT_EQ(isHidden(host.scene(), item("Lid"), time), hides);
        EXPECT_EQ(isHidden(host.scene(), item("Lid"), 2), !hides);
        EXPECT_FALSE(isHidden(host.scene(), item("Hero"), 1)) << "0.75 is not gone";
        for (const char* name : {"Hips", "Sun", "Cam"}) {
            EXPECT_EQ(dissolve(name), EnvelopeId::none) << name;
            EXPECT_FALSE(isHidden(host.scene(), item(name), 0));
        }
        EXPECT_EQ(changes.channelsAdded.size(), 3u);
        EXPECT_EQ(host.scene().selection, std::vector{item("Lid")}) << "the last that lacked it";
        host.undo();
    }
    select({"Box"});
    perform("Dissolve", {{"Start", "5"}, {"End", "5"}});
    EXPECT_EQ(keys("Box", "Dissolve"), (Keys{{0.2, 1}})) << "start and end on one frame";
    select({"Hips", "Sun"});
    EXPECT_TRUE(perform("Dissolve").empty()) << "no objects";
}

// Two runs in one second draw the same numbers. The second may turn between them, but not twice.
TEST_F(Commands, random_commands_reseed_from_the_calendar_second) {
    for (const char* command : {"Create Random Keys", "Randomize/Jitter Keys"}) {
        SceneKeys first, second;
        for (int attempt = 0; attempt < 3 && (first.empty() || first != second); ++attempt) {
            perform(command);
            first = allKeys(host.scene());
            host.undo();
            std::srand(12345); // whatever else uses the generator
            perform(command);
            second = allKeys(host.scene());
            host.undo();
        }
        EXPECT_EQ(first, second) << command;
        EXPECT_NE(first, allKeys(host.scene()));
    }
}

TEST_F(Commands, random_keys_heed_the_channel_list_unless_they_are_grouped) {
    const GroupId group = host.scene().item(item("Face")).group;
    host.mutableScene().addChannel(group, "Fog");
    const struct {
        const char *method, *selection;
        Texts selected;
        Texts keyed; // channels of Face and Hips
    } rows[] = {
        {"Random", "All", {"Face"}, {"Face/Scale.X"}},
        {"Even Spread", "All", {"Face"}, {"Face/Scale.X"}},
        {"Grouped Random",
         "Object Position",
         {"Face", "Hips"},
         {"Face/Position.X", "Face/Position.Y", "Face/Position.Z"}},
        {"Random",
         "Bone Rotation",
         {"Face", "Hips"},
         {"Hips/Rotation.H", "Hips/Rotation.P", "Hips/Rotation.B"}},
        {"Grouped Even",
         "All",
         {"Face"},
         {"Face/Position.X", "Face/Position.Y", "Face/Position.Z", "Face/Rotation.H",
          "Face/Rotation.P", "Face/Rotation.B", "Face/Scale.X", "Face/Scale.Y", "Face/Scale.Z",
          "Face/Fog"}},
    };
    const std::string list = writeText("set", "scale.x");
    for (const auto& row : rows) {
        select(row.selected);
        const auto changes = perform("Create Random Keys", {{"Affected Channels/Load", list},
                                                            {"Include all subchildren", "off"},
                                                            {"Method", row.method},
                                                            {"Selection", row.selection},
                                                            {"Max Keys", "3"}});
        Texts keyed;
        for (const ChannelChange& change : changes.channels) {
            keyed.push_back(host.scene().channelPath(change.channel));
            EXPECT_EQ(change.keys.added, 3u);
        }
        EXPECT_EQ(keyed, row.keyed) << row.method << ", " << row.selection;
        EXPECT_EQ(user.said(), Texts());
        host.undo();
    }
    const std::string nothing =
        "error: Nothing randomized! / Please check the selected objects and channels";
    select({"Sun"});
    for (const char* command : {"Create Random Keys", "Randomize/Jitter Keys"}) {
        perform(command, {{"Selection", "Bone Rotation"}});
        EXPECT_EQ(user.said(), Texts{nothing});
    }
    perform("Create Random Keys", {{"Method", "Grouped Random"}, {"Max Keys", "0"}});
    EXPECT_EQ(user.said(), Texts()) << "no keys were asked for";
}

TEST_F(Commands, move_rotate_scale_takes_factors_as_typed_and_names_in_any_case) {
    const ChannelId lower =
        host.mutableScene().addChannel(host.scene().item(item("Box")).group, "position.x");
    Envelope& lowerCurve =
        host.mutableScene().mutableEnvelope(host.scene().channel(lower).envelope);
    fill(lowerCurve, {{0.5, 2}});
    fill(curve("Box", "Rotation.P"), {{0.5, 2}});
    fill(curve("Box", "Scale.Y"), {{0.5, 2}});
    select({"Box"});
    perform("MoveRotateScale",
            {{"Affected Channels/Load", writeText("set", "")}, // the channel list is not used
             {"Method", "Multiply"},
             {"Position.X", "-3"},
             {"Rotation.P", "2"},
             {"Scale.Y", "0"}});
    EXPECT_EQ(keysOf(lowerCurve), (Keys{{0.5, -6}}));
    EXPECT_EQ(keys("Box", "Rotation.P"), (Keys{{0.5, 4}}));
    EXPECT_EQ(keys("Box", "Scale.Y"), (Keys{{0.5, 0}}));
}

} // namespace
} // namespace cadencora::stage
