// Keys at random times: whatever the generator draws, they lie where they should.

#include "plugin/keys/random_keys.h"
#include "tests/plugin/rig.h"

#include <algorithm>
#include <functional>

namespace cadencora::stage {
namespace {

constexpr unsigned seeds = 200;
const Keys ramp = {{-1, 5}, {0, 0}, {2, 8}, {4, -8}, {5, 3}}; // straight between

struct RandomKeys : testing::Test, Rig {
    const host::EnvelopeFuncs* envelopes =
        static_cast<const host::EnvelopeFuncs*>(Host::lookup("Animation Envelopes", 0));
    const host::ChannelInfo* channels =
        static_cast<const host::ChannelInfo*>(Host::lookup("Channel Info 2", 0));
    host::Group group = encode(host.scene().item(item("Box")).group);

    void refill() {
        for (const std::string_view name : motionChannelNames)
            fill(curve("Box", name), ramp);
    }
    // The times of the keys that a channel has beyond the ramp's, each of which lies on the ramp.
    std::vector<double> newTimes(std::string_view name) {
        Envelope before;
        fill(before, ramp);
        std::vector<double> times;
        Keys old;
        for (const auto& [time, value] : keys("Box", name)) {
            if (std::ranges::count(ramp, std::pair{time, value})) {
                old.emplace_back(time, value);
                continue;
            }
            times.push_back(time);
            EXPECT_NEAR(value, before.evaluate(time), 1e-9);
        }
        EXPECT_EQ(old, ramp) << "the keys that were there";
        return times;
    }
    int createIn(std::string_view name, double start, double end, int count, int method) {
        const host::Envelope envelope = encode(channel("Box", name));
        int result = -1;
        edit([&] {
            result =
                createRandomKeysChannel(nullptr, envelopes, envelope, start, end, count, method);
        });
        return result;
    }
    void createInGroup(double start, double end, int count, int method, int selection) {
        edit([&] {
            EXPECT_EQ(createRandomKeysChannelGroup(channels, envelopes, group, start, end, count,
                                                   method, selection),
                      0);
        });
    }
    static void expectOnePerSlice(const std::vector<double>& times, double start, double slice,
                                  std::size_t count) {
        ASSERT_EQ(times.size(), count);
        for (std::size_t i = 0; i < count; ++i) {
            EXPECT_GE(times[i], start + slice * static_cast<double>(i) - 1e-12);
            EXPECT_LE(times[i], start + slice * static_cast<double>(i + 1) + 1e-12);
        }
    }
};

TEST_F(RandomKeys, lie_within_the_range_and_on_the_curve) {
    for (unsigned seed = 1; seed <= seeds; ++seed) {
        SCOPED_TRACE(seed);
        refill();
        std::srand(seed);
        EXPECT_EQ(createIn("Position.X", 0.5, 3.5, 6, randomTimes), 1);
        EXPECT_EQ(createIn("Position.Y", 0.5, 3.5, 6, randomTimes), 1);
        const auto first = newTimes("Position.X"), second = newTimes("Position.Y");
        ASSERT_EQ(first.size(), 6u);
        EXPECT_GE(first.front(), 0.5);
        EXPECT_LE(first.back(), 3.5);
        EXPECT_NE(first, second) << "every channel draws its own times";
        EXPECT_TRUE(newTimes("Position.Z").empty());

        std::srand(seed);
        std::vector<double> drawn;
        for (int i = 0; i < 6; ++i)
            drawn.push_back(std::rand() / 2147483647.0 * 3.0 + 0.5);
        std::ranges::sort(drawn);
        EXPECT_EQ(first, drawn) << "one draw per key";
    }
}

TEST_F(RandomKeys, spread_evenly_lie_one_in_each_slice) {
    for (unsigned seed = 1; seed <= seeds; ++seed) {
        SCOPED_TRACE(seed);
        refill();
        std::srand(seed);
        EXPECT_EQ(createIn("Scale.X", 0, 4, 4, evenSpread), 1);
        expectOnePerSlice(newTimes("Scale.X"), 0, 1, 4);
        createInGroup(1, 3, 5, groupedEven, boneRotation);
        expectOnePerSlice(newTimes("Rotation.H"), 1, 0.4, 5);
    }
}

TEST_F(RandomKeys, of_a_group_share_their_times_on_the_selected_channels) {
    const auto isSelected = [](std::string_view name, int selection) {
        return selection == allChannels || (selection == boneRotation && name.starts_with("Rot")) ||
               (selection == objectPosition && name.starts_with("Pos"));
    };
    for (unsigned seed = 1; seed <= seeds; ++seed)
        for (const int method : {groupedRandom, groupedEven})
            for (const int selection : {0, 1, 2, 3, -1}) {
                SCOPED_TRACE(testing::Message() << seed << ", " << method << ", " << selection);
                refill();
                std::srand(seed);
                createInGroup(0.5, 3.5, 3, method, selection);
                std::vector<double> shared;
                for (const std::string_view name : motionChannelNames) {
                    const auto times = newTimes(name);
                    ASSERT_EQ(times.size(), isSelected(name, selection) ? 3u : 0u) << name;
                    if (shared.empty()) shared = times;
                    if (!times.empty()) {
                        EXPECT_EQ(times, shared) << name;
                    }
                }
            }
}

TEST_F(RandomKeys, are_none_for_no_count_no_range_and_unknown_methods) {
    refill();
    EXPECT_EQ(createIn("Scale.X", 0, 4, 0, randomTimes), 0);
    EXPECT_EQ(createIn("Scale.X", 0, 4, -3, evenSpread), 0);
    EXPECT_EQ(createIn("Scale.X", 4, 3, 5, randomTimes), 0);
    EXPECT_EQ(createIn("Scale.X", 0, 4, 5, groupedRandom), 0);
    EXPECT_EQ(createIn("Scale.X", 0, 4, 5, -1), 0);
    createInGroup(0, 4, 0, groupedRandom, allChannels);
    createInGroup(0, 4, -1, groupedEven, allChannels);
    createInGroup(4, 3, 5, groupedRandom, allChannels);
    for (const std::string_view name : motionChannelNames)
        EXPECT_EQ(keys("Box", name), ramp);
}

TEST_F(RandomKeys, in_a_range_of_one_time_are_one_key) {
    refill();
    EXPECT_EQ(createIn("Scale.X", 1, 1, 5, randomTimes), 1);
    EXPECT_EQ(newTimes("Scale.X"), std::vector<double>{1});
}

} // namespace
} // namespace cadencora::stage
