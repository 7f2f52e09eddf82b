// Real motion capture through the real plug-in; skipped where the files are not at hand.

#include "stage/formats/registry.h"
#include "stage/module/module.h"
#include "stage/scene/transform.h"
#include "stage/services/host.h"
#include "stage/user/scripted_user.h"
#include "tests/stage/formats/files.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>

namespace cadencora::stage {
namespace {

struct Walk : testing::Test {
    ScriptedUser user;
    std::optional<Scene> before; // as the file has it
    std::optional<Host> host;

    void SetUp() override { open({}); }

    void open(const ReadOptions& options) {
        const auto path = dataFile("cmu_12_01_walk.bvh");
        if (path.empty()) GTEST_SKIP() << "the walk is not at hand";
        auto first = readScene(path, options), second = readScene(path, options);
        ASSERT_TRUE(first) << first.problem().text();
        before = std::move(first->scene);
        host.reset();
        host.emplace(std::move(second->scene), user);
        user.lookAt(host->scene());
        const auto module = Module::open(std::string(CADENCORA_BIN_DIR) + "/cadencora.so");
        ASSERT_TRUE(module) << module.problem().text();
        ASSERT_TRUE(module.value().activate(&Host::lookup, Host::layoutGeneric()));
    }

    ChangeReport press(const char* button, std::vector<const char*> items,
                       std::vector<Step::Setting> settings) {
        Step step;
        step.press = button;
        step.settings = std::move(settings);
        std::vector<ItemId> selection;
        for (const char* item : items)
            selection.push_back(host->scene().findItem(item));
        host->select(std::move(selection));
        Result<> performed = done();
        const ChangeReport report = host->event(button, [&] { performed = user.perform(step); });
        EXPECT_TRUE(performed) << performed.problem().text();
        EXPECT_FALSE(user.sawError());
        EXPECT_TRUE(host->misuses.empty());
        return report;
    }

    // Every channel of every bone: was before, is now.
    template <class Visit>
    void eachChannel(const Visit& visit) const {
        for (std::size_t i = 0; i < before->itemCount(); ++i)
            for (std::size_t c = 0; c < motionChannelCount; ++c) {
                const auto channel = static_cast<MotionChannel>(c);
                visit(Scene::itemAt(i), channel, before->motion(Scene::itemAt(i), channel),
                      host->scene().motion(Scene::itemAt(i), channel));
            }
    }

    // The scene as BVH, read back: the same places and rotations on every frame.
    void expectWrittenAgrees() const {
        const auto path = scratch("written.bvh");
        const auto written = writeScene(host->scene(), path);
        ASSERT_TRUE(written) << written.problem().text();
        const auto back = readScene(path);
        ASSERT_TRUE(back) << back.problem().text();
        const Scene& now = host->scene();
        const Scene& read = back.value().scene;
        ASSERT_EQ(read.itemCount(), now.itemCount());
        ASSERT_EQ(read.lastFrame, now.lastFrame);
        for (std::size_t i = 1; i < now.itemCount(); ++i)
            for (std::int64_t frame = 0; frame <= now.lastFrame; frame += 7) {
                const Affine a = localTransform(now, Scene::itemAt(i), now.rate.timeOf(frame));
                const Affine b = localTransform(read, Scene::itemAt(i), read.rate.timeOf(frame));
                for (std::size_t r = 0; r < 3; ++r) {
                    ASSERT_NEAR(a.offset[r], b.offset[r], 1e-4);
                    for (std::size_t c = 0; c < 3; ++c)
                        ASSERT_NEAR(a.linear[r][c], b.linear[r][c], 2e-6)
                            << now.item(Scene::itemAt(i)).name << " " << frame;
                }
            }
    }
};

std::map<double, double> keysOf(const Envelope& envelope) {
    std::map<double, double> keys;
    for (auto key = envelope.keys.begin(); key; key.advance())
        keys[key.time()] = key.value();
    return keys;
}

TEST_F(Walk, destroying_a_range_takes_its_keys_and_nothing_else) {
    const ChangeReport report = press("Destroy Keys", {"Hips"}, {{"Start", "100"}, {"End", "200"}});
    EXPECT_EQ(report.channels.size(), 96u);
    EXPECT_EQ(report.keysRemoved, 96u * 101);
    EXPECT_EQ(report.keysAdded + report.keysChanged, 0u);
    eachChannel([&](ItemId, MotionChannel, const Envelope& was, const Envelope& is) {
        auto expected = keysOf(was);
        std::erase_if(expected, [&](const auto& key) {
            return key.first >= 100 / 120.0 && key.first <= 200 / 120.0;
        });
        ASSERT_EQ(keysOf(is), expected);
    });
    EXPECT_TRUE(host->undo());
    eachChannel([&](ItemId, MotionChannel, const Envelope& was, const Envelope& is) {
        ASSERT_EQ(keysOf(is), keysOf(was));
    });
}

// At 24 frames per second two keys of every frame move forward onto it; all arrive.
TEST_F(Walk, defractionalizing_leaves_whole_frames_with_the_last_key_that_came) {
    for (const int rate : {30, 24}) {
        ReadOptions options;
        options.rate = FrameRate::of(rate);
        ASSERT_NO_FATAL_FAILURE(open(options));
        press("Defractionalize", {}, {{"Use selected objects only", "off"}});
        eachChannel([&](ItemId, MotionChannel, const Envelope& was, const Envelope& is) {
            std::map<double, double> expected;
            for (const auto& [time, value] : keysOf(was)) {
                const double x = time * rate, above = std::ceil(x);
                const bool down = std::abs(above - 1 - x) <= std::abs(above - x);
                expected[static_cast<int>(down ? above - 1 : above) / static_cast<double>(rate)] =
                    value;
            }
            if (!expected.empty()) {
                ASSERT_EQ(expected.size(), rate == 30 ? 132u : 106u);
            }
            ASSERT_EQ(keysOf(is), expected);
        });
        expectWrittenAgrees();
    }
}

// Copies land at sums of times, a rounding beside the frames; what came after the stride goes
// first.
TEST_F(Walk, a_stride_cycles_three_times_and_is_written) {
    press("Destroy Keys", {"Hips"}, {{"Start", "221"}});
    press("Cycle (Bake) Keys", {"Hips"}, {{"Start", "100"}, {"End", "220"}, {"Repeats", "3"}});
    eachChannel([&](ItemId, MotionChannel, const Envelope& was, const Envelope& is) {
        const auto at = [](const Envelope& envelope, int frame) {
            return envelope.evaluate(frame / 120.0);
        };
        for (int frame = 0; frame < 220; ++frame)
            ASSERT_EQ(at(is, frame), at(was, frame));
        for (int turn = 1; turn <= 3; ++turn)
            for (int frame = 101; frame < 220; ++frame)
                ASSERT_NEAR(at(is, frame + 120 * turn), at(was, frame), 1e-9)
                    << turn << " " << frame;
    });
    EXPECT_EQ(host->scene().frameOfLastKey(), 580);
    host->mutableScene().lastFrame = 580;
    expectWrittenAgrees();
}

TEST_F(Walk, a_heading_offset_turns_the_hips_over_its_range_alone) {
    std::vector<Step::Setting> settings{
        {"Start", "100"}, {"End", "200"}, {"Include all subchildren", "off"}, {"Method", "Add"}};
    for (const auto name : motionChannelNames)
        settings.push_back({std::string(name), name == "Rotation.H" ? "5" : "0"});
    press("MoveRotateScale", {"Hips"}, std::move(settings));
    eachChannel([&](ItemId item, MotionChannel channel, const Envelope& was, const Envelope& is) {
        const bool turned = before->item(item).name == "Hips" && channel == heading;
        auto expected = keysOf(was);
        for (auto& [time, value] : expected)
            if (turned && time >= 100 / 120.0 && time <= 200 / 120.0)
                value += 5 * 3.1415926535 / 180.0;
        ASSERT_EQ(keysOf(is), expected);
    });
    expectWrittenAgrees();
}

TEST_F(Walk, jittered_arms_stay_within_the_amount_and_the_rest_stays_put) {
    press("Randomize/Jitter Keys", {"LeftArm", "RightArm"},
          {{"Method", "Value"}, {"Max Value", "0.02"}});
    std::size_t moved = 0;
    eachChannel([&](ItemId item, MotionChannel, const Envelope& was, const Envelope& is) {
        std::string name = before->item(item).name;
        bool arm = false; // below one of the arms
        for (ItemId i = item; i != ItemId::none; i = before->item(i).parent)
            arm = arm || before->item(i).name == "LeftArm" || before->item(i).name == "RightArm";
        const auto now = keysOf(is);
        for (const auto& [time, value] : keysOf(was)) {
            ASSERT_TRUE(now.contains(time));
            ASSERT_LE(std::abs(now.at(time) - value), arm ? 0.02 : 0.0) << name;
            moved += now.at(time) != value;
        }
        ASSERT_EQ(now.size(), was.keys.size());
    });
    EXPECT_GT(moved, 10000u);
    expectWrittenAgrees();
}

TEST_F(Walk, the_pose_of_a_frame_is_saved_and_loaded_at_the_first) {
    const std::string file = scratch("pose.lw_frame").string();
    std::filesystem::remove(file);
    host->mutableScene().currentTime = 262 / 120.0;
    EXPECT_TRUE(press("Save Single Frame data", {"Hips"}, {{"File full path", file}}).empty());
    host->mutableScene().currentTime = 0;
    press("Load Single Frame data", {"Hips"}, {{"Load file full path", file}});
    eachChannel([&](ItemId item, MotionChannel, const Envelope& was, const Envelope& is) {
        auto expected = keysOf(was), now = keysOf(is);
        if (before->item(item).type == ItemType::bone) {
            ASSERT_NEAR(now[0], was.evaluate(262 / 120.0), 0.5e-6);
            expected[0] = now[0];
        }
        ASSERT_EQ(now, expected);
    });
    expectWrittenAgrees();
}

TEST_F(Walk, the_left_arm_s_motion_moves_the_right_arm_s_chain) {
    press("Node-to-Node Motion Copy", {},
          {{"Source", "LeftArm"}, {"Target", "RightArm"}, {"All descendants", "on"}});
    std::size_t copied = 0;
    eachChannel([&](ItemId item, MotionChannel channel, const Envelope& was, const Envelope& is) {
        const std::string& name = before->item(item).name;
        bool right = false;
        for (ItemId i = item; i != ItemId::none; i = before->item(i).parent)
            right = right || before->item(i).name == "RightArm";
        const ItemId left = before->findItem("Left" + name.substr(right ? 5 : 0));
        if (!right) {
            ASSERT_EQ(keysOf(is), keysOf(was)) << name;
        } else if (left != ItemId::none) {
            ASSERT_EQ(keysOf(is), keysOf(before->motion(left, channel))) << name;
            ASSERT_EQ(is.rest, was.rest) << "the arm keeps its own length";
            ++copied;
        }
    });
    EXPECT_GE(copied, 3 * motionChannelCount);
    expectWrittenAgrees();
}

TEST_F(Walk, a_clip_moves_into_a_fresh_scene_of_the_same_skeleton) {
    const auto folder = scratch("clip");
    std::filesystem::create_directories(folder);
    std::vector<Step::Setting> range{{"Start", "100"}, {"End", "220"}};
    auto saving = range, loading = range;
    saving.push_back({"New Motion directory", folder.string()});
    loading.push_back({"Motion directory", folder.string()});
    EXPECT_TRUE(press("Save Clip data", {"Hips"}, saving).empty());
    ASSERT_NO_FATAL_FAILURE(open({}));
    press("Destroy Keys", {"Hips"}, {});
    ASSERT_EQ(host->scene().keyCount(), 0u);
    press("Load Clip data", {"Hips"}, loading);
    eachChannel([&](ItemId item, MotionChannel, const Envelope& was, const Envelope& is) {
        auto expected = keysOf(was);
        std::erase_if(expected, [&](const auto& key) {
            return key.first < 100 / 120.0 || key.first > 220 / 120.0;
        });
        // A channel without keys has one in its file, at the start.
        if (expected.empty() && before->item(item).type == ItemType::bone)
            expected[100 / 120.0] = was.rest;
        ASSERT_EQ(keysOf(is), expected);
    });
    expectWrittenAgrees();
}

} // namespace
} // namespace cadencora::stage
