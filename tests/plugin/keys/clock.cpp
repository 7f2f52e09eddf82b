// Commands whose times are sums: what they mean is on frames, at every rate.

#include "stage/formats/native/scene_file.h"
#include "tests/plugin/rig.h"

namespace cadencora::stage {
namespace {

const FrameRate rates[] = {*FrameRate::of(24), *FrameRate::of(25), *FrameRate::of(30000, 1001),
                           *FrameRate::of(30), *FrameRate::of(120)};

// A key on each frame from 0 to `last`, its value the frame's number.
void keyFrames(Rig& rig, std::int64_t last) {
    Scene& scene = rig.host.mutableScene();
    scene.lastFrame = scene.previewLast = last;
    KeyStore& keys = rig.curve("Box", "Position.X").keys;
    for (std::int64_t frame = 0; frame <= last; ++frame)
        keys.append(scene.rate.timeOf(frame), static_cast<double>(frame), Shape::linear);
    rig.select({"Box"});
}

TEST(Clock, a_cycle_puts_each_copy_on_its_frame_and_leaves_nothing_beside_it) {
    for (const FrameRate rate : rates) {
        SCOPED_TRACE(rate.text());
        Rig rig;
        rig.activate();
        rig.host.mutableScene().rate = rate;
        keyFrames(rig, 396);
        rig.perform("Cycle (Bake) Keys", {{"Start", "174"}, {"End", "305"}, {"Repeats", "3"}});
        std::int64_t frame = 0;
        for (const auto& [time, value] : rig.keys("Box", "Position.X")) {
            ASSERT_EQ(time, rate.timeOf(frame)) << frame;
            const std::int64_t source = frame < 305 ? frame : 174 + (frame - 174) % 131;
            ASSERT_EQ(value, static_cast<double>(source)) << frame;
            ++frame;
        }
        EXPECT_EQ(frame, 305 + 3 * 131 + 1);
    }
}

TEST(Clock, a_clip_goes_from_rate_to_rate_with_all_its_keys) {
    for (const FrameRate from : rates)
        for (const FrameRate to : {*FrameRate::of(24000, 1001), *FrameRate::of(30)}) {
            SCOPED_TRACE(from.text() + " to " + to.text());
            const std::string folder =
                scratchFile(std::to_string(from.frames()) + "to" + std::to_string(to.frames()));
            std::filesystem::create_directories(folder);
            Rig rig;
            rig.activateModule();
            rig.host.mutableScene().rate = from;
            keyFrames(rig, from.frames() / from.seconds()); // about a second
            rig.perform("Save Clip data", {{"New Motion directory", folder}});
            const Keys saved = rig.keys("Box", "Position.X");
            rig.host.mutableScene().setRate(to);
            const Keys before = rig.keys("Box", "Position.X");
            EXPECT_EQ(before.size(), saved.size());
            rig.select({"Box"});
            rig.perform("Load Clip data", {{"Motion directory", folder}});
            EXPECT_EQ(rig.keys("Box", "Position.X"), before) << "loading what was saved";
        }
}

TEST(Clock, a_jitter_below_the_clocks_precision_loses_no_key) {
    for (const char* method : {"Time", "Both"})
        for (const char* amount : {"1e-12", "1e-8", "1e-6"}) {
            SCOPED_TRACE(std::string(method) + " by " + amount);
            Rig rig;
            rig.activate();
            keyFrames(rig, 60);
            rig.perform("Randomize/Jitter Keys", {{"Method", method}, {"Max Value", amount}});
            const Keys keys = rig.keys("Box", "Position.X");
            ASSERT_EQ(keys.size(), 61u);
            for (std::size_t i = 0; i < keys.size(); ++i) {
                EXPECT_NEAR(keys[i].first, static_cast<double>(i) / 30, 2e-6);
                EXPECT_NEAR(keys[i].second, static_cast<double>(i), 2e-6);
            }
        }
}

TEST(Clock, a_key_that_a_file_has_a_hair_off_its_frame_is_on_it) {
    auto read = readSceneFile(
        R"({"cadencora": "scene", "version": 1, "rate": "30", "lastFrame": 60, "selection": [0],
            "items": [{"type": "object", "name": "Box", "channels": [{"name": "Position.X",
            "keys": [[0.9999999999, 1], [1.0000000001, 2], [1.50000001, 5]]}]}]})",
        "a.stage", {});
    ASSERT_TRUE(read.ok()) << read.problem().text();
    Rig rig(std::move(read->scene));
    EXPECT_EQ(rig.keys("Box", "Position.X"), (Keys{{1, 1}, {1.0000000001, 2}, {1.5, 5}}))
        << "where two are as near, both stay";
    rig.activate();
    const auto changes =
        rig.perform("MoveRotateScale", {{"Start", "45"}, {"End", "45"}, {"Position.X", "2"}});
    EXPECT_EQ(changes.keysChanged, 1u);
    EXPECT_EQ(changes.keysAdded, 0u);
}

} // namespace
} // namespace cadencora::stage
