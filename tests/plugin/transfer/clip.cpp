// Clips: directories of motion files that are saved from a frame range and loaded back onto it.

#include "plugin/host/lookup.h"
#include "plugin/transfer/channel_motion.h"
#include "tests/plugin/rig.h"

#include <algorithm>
#include <filesystem>

namespace cadencora::stage {
namespace {

namespace fs = std::filesystem;

// Every attribute of every key, and the behaviours, to the bit.
std::vector<double> content(const Envelope& curve) {
    std::vector<double> all{double(curve.before), double(curve.after)};
    for (auto key = curve.keys.begin(); key; key.advance()) {
        const KeyData data = key.data();
        all.insert(all.end(), {data.time, data.value, double(data.shape)});
        all.insert(all.end(), data.parameters.begin(), data.parameters.end());
    }
    return all;
}

struct Clip : testing::Test {
    const fs::path folder = scratchFile("clip");
    Clip() {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    ~Clip() override { fs::remove_all(folder); }

    // All items; the toggle is new in each dialog.
    ChangeReport perform(Rig& rig, bool save, int start, int end) const {
        return rig.perform(save ? "Save Clip data" : "Load Clip data",
                           {{"Start", std::to_string(start)},
                            {"End", std::to_string(end)},
                            {"Use selected objects only", "off"},
                            {save ? "New Motion directory" : "Motion directory", folder.string()}});
    }
    std::size_t fileCount() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
    }
    std::string file(const std::string& name) const { return (folder / name).string(); }
};

// A key per frame with every shape, odd parameters and keys between the frames.
void keyAll(Scene& scene, ItemId item, double offset) {
    for (std::size_t c = 0; c < motionChannelCount; ++c) {
        Envelope& curve = scene.mutableMotion(item, static_cast<MotionChannel>(c));
        const Shape shapes[] = {Shape::linear, Shape::spline, Shape::tangents, Shape::hold};
        for (int frame = 0; frame <= 60; ++frame) {
            KeyData key{scene.rate.timeOf(frame),
                        offset + frame * 0.1 + double(c),
                        shapes[(std::size_t(frame) + c) % 4],
                        {}};
            for (std::size_t p = 0; p < parameterCount; ++p)
                key.parameters[p] = frame % 3 == 0 ? offset + double(p) / 7 : 0;
            curve.keys.append(key);
            if (frame % 7 != 3) continue;
            key.time += 0.4 / scene.rate.perSecond();
            curve.keys.append(key);
        }
        curve.before = static_cast<Behaviour>(c % 5);
        curve.after = static_cast<Behaviour>((c + 2) % 5);
    }
}

TEST_F(Clip, saved_and_loaded_over_the_same_frames_changes_nothing_whatever_the_range) {
    for (const auto& [start, end, rate] :
         {std::tuple{0, 60, "30"}, {10, 20, "30"}, {29, 57, "25"}, {7, 7, "24000/1001"}}) {
        SCOPED_TRACE(testing::Message() << start << " to " << end << " at " << rate);
        Scene scene = someScene();
        scene.setRate(*FrameRate::parse(rate));
        scene.lastFrame = scene.previewLast = 60;
        for (const char* name : {"Hips", "Box"})
            keyAll(scene, scene.findItem(name), 0.5);
        Rig rig(std::move(scene));
        rig.activateModule();
        perform(rig, true, start, end);
        EXPECT_EQ(rig.user.said(),
                  Texts{"info: Motion saved to " + folder.string() +
                        " / Frames: " + std::to_string(start) + " - " + std::to_string(end)});
        EXPECT_EQ(fileCount(), rig.host.scene().itemCount() * motionChannelCount);
        const ChangeReport report = perform(rig, false, start, end);
        EXPECT_EQ(report.keysRemoved + report.keysChanged, 0u);
        // Channels without keys get the one at the start that their files hold.
        EXPECT_EQ(report.keysAdded, (rig.host.scene().itemCount() - 2) * motionChannelCount);
        for (const ChannelChange& change : report.channels)
            EXPECT_EQ(rig.host.scene().channelPath(change.channel).find("Hips"), std::string::npos);
    }
}

TEST_F(Clip, replaces_the_range_of_another_scene_and_leaves_what_lies_outside_to_the_bit) {
    Scene from = someScene(), to = someScene();
    keyAll(from, from.findItem("Hips"), 0.5);
    keyAll(to, to.findItem("Hips"), -3);
    const ItemId hips = from.findItem("Hips");
    Rig source(std::move(from));
    source.activateModule();
    perform(source, true, 10, 20);
    Rig target(std::move(to));
    target.activateModule();
    std::vector<Envelope> before;
    for (std::size_t c = 0; c < motionChannelCount; ++c)
        before.push_back(target.host.scene().motion(hips, static_cast<MotionChannel>(c)));
    perform(target, false, 10, 20);
    const FrameRate rate = target.host.scene().rate;
    const auto cut = [&](const Envelope& curve, bool inside) {
        Envelope part;
        for (auto key = curve.keys.begin(); key; key.advance())
            if ((key.time() >= rate.timeOf(10) && key.time() <= rate.timeOf(20)) == inside)
                part.keys.append(key.data());
        return content(part);
    };
    for (std::size_t c = 0; c < motionChannelCount; ++c) {
        const auto channel = static_cast<MotionChannel>(c);
        const Envelope& now = target.host.scene().motion(hips, channel);
        const Envelope& wanted = source.host.scene().motion(hips, channel);
        EXPECT_EQ(cut(now, false), cut(before[c], false));
        EXPECT_EQ(cut(now, true), cut(wanted, true));
        EXPECT_EQ(now.before, wanted.before);
        EXPECT_EQ(now.after, wanted.after);
    }
}

TEST_F(Clip, keeps_a_key_at_its_start_and_what_lies_less_than_a_frame_outside) {
    Scene scene = someScene();
    scene.setRate(*FrameRate::parse("16"));
    Rig rig(std::move(scene));
    rig.activate();
    fill(rig.curve("Box", "Position.X"), {{0, 0}, {0.28125, 1}, {0.40625, 3}, {1, 9}});
    fill(rig.curve("Box", "Position.Y"), {{0, 0}, {4, 64}}); // none in the range
    const ItemId box = rig.item("Box");
    const auto transfer = [&](auto routine, int start, int end) {
        int result = -1;
        rig.edit([&] {
            result = routine(fetchChannelInfo(), fetchEnvelopeFuncs(), fetchFileIOFuncs(),
                             fetchSceneInfo(), encode(rig.host.scene().item(box).group),
                             folder.c_str(), start, end);
        });
        return result;
    };
    EXPECT_EQ(transfer(saveChannel, 6, 5), 0);
    EXPECT_EQ(fileCount(), 0u);
    EXPECT_EQ(transfer(saveChannel, 5, 6), 1);
    const std::string text = readText(file("Box-Position.X.mot"));
    EXPECT_NE(text.find("keys 3\n"), text.npos) << text;
    const std::string key = "\n0.3125 1.5 1\n";
    EXPECT_NE(text.find(key), text.npos) << "on the curve: " << text;
    EXPECT_EQ(transfer(loadChannel, 5, 6), 1);
    EXPECT_EQ(rig.keys("Box", "Position.Y"), (Keys{{0, 0}, {0.3125, 5}, {4, 64}}));
    EXPECT_EQ(rig.keys("Box", "Position.X"),
              (Keys{{0, 0}, {0.28125, 1}, {0.3125, 1.5}, {0.40625, 3}, {1, 9}}));

    // The files of a group are read one by one, up to the first that is not there.
    fs::remove(file("Box-Position.Z.mot"));
    fill(rig.curve("Box", "Position.X"), {{0, 0}});
    EXPECT_EQ(transfer(loadChannel, 5, 6), 0);
    EXPECT_EQ(rig.keys("Box", "Position.X").size(), 2u);
    EXPECT_EQ(rig.keys("Box", "Scale.X").size(), 1u) << "as the load before left it";
    ASSERT_EQ(rig.host.problems.size(), 1u);
    EXPECT_EQ(rig.host.problems[0].where, file("Box-Position.Z.mot"));
    rig.host.problems.clear();
}

TEST_F(Clip, every_name_stays_in_its_directory_and_finds_its_file_again) {
    const Texts names = {"mixamorig:LeftArm",
                         "Bip01 L Thigh",
                         "Null (2)",
                         "F\303\274\303\237e",
                         "a/b",
                         "..",
                         "-",
                         ".hidden",
                         "Arm",
                         "ARM",
                         "x:/../../../tmp/evil:y",
                         "%2F",
                         "a%2Fb",
                         "tab\there"};
    Scene scene;
    scene.lastFrame = scene.previewLast = 60;
    for (const std::string& name : names)
        fill(scene.mutableMotion(scene.addItem(ItemType::object, name), positionX),
             {{0, double(scene.itemCount())}});
    // A directory that a name could mislead to.
    const fs::path trap = folder.string() + ":x";
    fs::create_directories(trap);
    Rig rig(std::move(scene));
    rig.activateModule();
    perform(rig, true, 0, 10);
    EXPECT_EQ(fileCount(), names.size() * motionChannelCount);
    EXPECT_TRUE(fs::is_empty(trap));
    fs::remove_all(trap);
    const auto before = allKeys(rig.host.scene());
    for (const std::string& name : names)
        fill(rig.curve(name, "Position.X"), {{0, -1}});
    perform(rig, false, 0, 10);
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(rig.keys(names[i], "Position.X"), (Keys{{0, double(i)}})) << names[i];
}

TEST_F(Clip, files_that_are_no_motion_are_refused_by_name_and_change_nothing) {
    Rig rig;
    rig.activateModule();
    fill(rig.curve("Hero", "Position.X"), {{0, 1}, {0.5, 2}});
    perform(rig, true, 0, 10);
    const std::string whole = readText(file("Hero-Position.X.mot"));
    fill(rig.curve("Hero", "Position.X"), {{0, 5}, {0.1, 6}});
    const auto before = allKeys(rig.host.scene());
    for (const std::string& text : {whole.substr(0, whole.size() - 8), std::string(),
                                    std::string("HIERARCHY\nROOT Hips\n"), std::string(99, '\0')}) {
        std::ofstream(file("Hero-Position.X.mot"), std::ios::binary) << text;
        rig.select({"Hero"});
        rig.perform("Load Clip data",
                    {{"Include all subchildren", "off"}, {"Motion directory", folder.string()}});
        EXPECT_EQ(allKeys(rig.host.scene()), before);
        ASSERT_EQ(rig.host.problems.size(), 1u);
        EXPECT_NE(rig.host.problems[0].text().find("Hero-Position.X.mot"), std::string::npos);
        rig.host.problems.clear();
    }
}

TEST_F(Clip, says_what_it_could_not_do_justice_to) {
    Scene scene = someScene();
    scene.addItem(ItemType::camera, "Hips");
    scene.addItem(ItemType::camera, std::string(200, 'x'));
    Rig rig(std::move(scene));
    rig.activateModule();
    const fs::path deep = folder / std::string(240 - folder.string().size(), 'd');
    fs::create_directories(deep);
    rig.perform("Save Clip data", {{"Use selected objects only", "off"},
                                   {"New Motion directory", (folder / "none").string()}});
    ASSERT_EQ(rig.host.problems.size(), 1u) << "once, not for each file";
    EXPECT_EQ(rig.host.problems[0].where, (folder / "none").string());
    rig.host.problems.clear();

    rig.perform("Save Clip data",
                {{"Use selected objects only", "off"}, {"New Motion directory", deep.string()}});
    const Texts said = rig.user.said();
    ASSERT_EQ(said.size(), 3u);
    EXPECT_TRUE(said[0].starts_with(
        "info: Items with files passed over, as their paths are too long: 12 / Hero, "));
    EXPECT_EQ(said[1], "info: Items whose name another one has, and thus the same files: 1 / Hips");
    EXPECT_NE(said[2].find("..."), std::string::npos);
    EXPECT_LE(said[2].find(" / "), 255u + 6) << "the line fits, with the middle cut out";
    EXPECT_TRUE(said[2].ends_with("ddd / Frames: 0 - 60"));
}

TEST_F(Clip, starts_in_the_motions_directory_or_with_a_hint) {
    for (const bool known : {false, true}) {
        TestUser user;
        user.cancelled = "Save Motions to EMPTY directory";
        Host host(someScene(), user, {.motionsDirectory = known ? folder : fs::path()});
        user.lookAt(host.scene());
        const auto module = Module::open(CADENCORA_BIN_DIR "/cadencora.so");
        ASSERT_TRUE(module && module.value().activate(&Host::lookup, Host::layoutGeneric()));
        std::string shown;
        user.inDialog = [&](PanelModel& panel) { shown = panel.controls[0]->text; };
        host.select({host.scene().findItem("Box")});
        Step step;
        step.press = "Save Clip data";
        host.event("Test", [&] { EXPECT_TRUE(user.perform(step)); });
        EXPECT_EQ(shown, known ? folder.string() : "[Some Directory with Motion Files]");
        EXPECT_TRUE(user.said().empty());
    }
}

} // namespace
} // namespace cadencora::stage
