// Operations on all keys of a range of a channel: clearing, copying to later frames, moving onto
// frames, changing by a fixed or a random amount.

#include "plugin/keys/modify_channel.h"
#include "plugin/keys/whole_channels.h"
#include "tests/plugin/rig.h"

#include <cmath>
#include <functional>
#include <limits>

namespace cadencora::stage {
namespace {

const double hairBelow1 = std::nextafter(1.0, 0.0);
const double hairAbove3 = std::nextafter(3.0, 4.0);

struct Ranges : testing::Test, Rig {
    const host::EnvelopeFuncs* envelopes =
        static_cast<const host::EnvelopeFuncs*>(Host::lookup("Animation Envelopes", 0));
    Envelope& channelCurve = curve("Box", "Position.X");
    host::Envelope envelope = encode(channel("Box", "Position.X"));
    int result = -1;

    // The keys after an operation on these keys.
    Keys after(const Keys& before, const std::function<int()>& operation) {
        fill(channelCurve, before);
        edit([&] { result = operation(); });
        return keysOf(channelCurve);
    }
    Keys cleared(const Keys& before, double start, double end) {
        return after(before,
                     [=, this] { return clearChannel(nullptr, envelopes, envelope, start, end); });
    }
    Keys copied(const Keys& before, double start, double end, double gap) {
        return after(before, [=, this] {
            return copyShiftChannel(nullptr, envelopes, envelope, start, end, gap);
        });
    }
    Keys onFrames(const Keys& before, double start, double end, double fps) {
        return after(before, [=, this] {
            return reKeyChannelToNearest(nullptr, envelopes, envelope, start, end, fps);
        });
    }
    Keys modified(const Keys& before, double start, double end, double amount, int mode) {
        return after(before, [=, this] {
            return modifyChannel(nullptr, envelopes, envelope, start, end, amount, mode);
        });
    }
};

// Keys around and in the range from 1 to 3.
const Keys around = {{0, 1}, {hairBelow1, 2}, {1, 3}, {2, 4}, {3, 5}, {hairAbove3, 6}, {4, 7}};

TEST_F(Ranges, clearChannel_takes_both_ends_and_leaves_keys_a_hair_outside) {
    EXPECT_EQ(cleared(around, 1, 3), (Keys{{0, 1}, {hairBelow1, 2}, {hairAbove3, 6}, {4, 7}}));
    EXPECT_EQ(result, 1);
    const struct {
        double start, end;
        Keys left;
        int result;
    } rows[] = {
        {2, 2, {{0, 1}, {1, 3}, {3, 5}}, 1},             // only the key at that time
        {1.5, 1.5, {{0, 1}, {1, 3}, {2, 4}, {3, 5}}, 1}, // a visited curve without a key there
        {3, 1, {{0, 1}, {1, 3}, {2, 4}, {3, 5}}, 0},
        {-5, 50, {}, 1},
        {0.5, 50, {{0, 1}}, 1}, // no key at the start
        {-5, 2.5, {{3, 5}}, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(cleared({{0, 1}, {1, 3}, {2, 4}, {3, 5}}, row.start, row.end), row.left);
        EXPECT_EQ(result, row.result) << row.start << " to " << row.end;
    }
    EXPECT_EQ(cleared({}, 0, 9), Keys());
    EXPECT_EQ(result, 0) << "a curve without keys";
}

TEST_F(Ranges, copyShiftChannel_copies_the_range_after_itself) {
    const struct {
        const char* what;
        Keys before;
        double start, end, gap;
        Keys after;
    } rows[] = {
        {"a key amid the range", {{5, 1}}, 0, 10, 0, {{5, 1}, {15, 1}}},
        {"the first key replaces the last, which is then copied as it is now",
         {{0, 1}, {5, 2}, {10, 3}},
         0,
         10,
         0,
         {{0, 1}, {5, 2}, {10, 1}, {15, 2}, {20, 1}}},
        {"a gap", {{0, 1}, {10, 3}}, 0, 10, 2, {{0, 1}, {10, 3}, {12, 1}, {22, 3}}},
        {"keys outside the range, and later keys that are in the way",
         {{-1, 9}, {0, 1}, {12, 8}, {13, 7}},
         0,
         10,
         2,
         {{-1, 9}, {0, 1}, {12, 1}, {13, 7}}},
        {"keys a hair outside",
         {{hairBelow1, 1}, {1, 2}, {3, 3}, {hairAbove3, 4}},
         1,
         3,
         10,
         {{hairBelow1, 1}, {1, 2}, {3, 3}, {hairAbove3, 4}, {13, 2}, {15, 3}}},
        {"copies that land in the range ahead of the walk are copied again",
         {{0, 1}},
         0,
         4,
         -3,
         {{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}}},
        {"a copy onto itself changes nothing", {{0, 1}, {2, 2}}, 0, 2, -2, {{0, 1}, {2, 2}}},
        {"start and end on one key", {{1, 5}, {2, 6}}, 1, 1, 3, {{1, 5}, {2, 6}, {4, 5}}},
        {"a reversed range", {{1, 5}, {2, 6}}, 2, 1, 3, {{1, 5}, {2, 6}}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(copied(row.before, row.start, row.end, row.gap), row.after) << row.what;
}

TEST_F(Ranges, reKeyChannelToNearest_brings_every_key_of_the_range_onto_a_frame) {
    const struct {
        const char* what;
        Keys before;
        double start, end;
        Keys after;
    } rows[] = {
        // at one frame per second
        {"backward onto one frame", {{1.2, 1}, {1.4, 2}}, 0, 9, {{1, 2}}},
        {"forward onto a key", {{1.6, 1}, {2, 2}}, 0, 9, {{2, 1}}},
        {"several forward onto one frame", {{1.6, 1}, {1.7, 2}, {1.9, 3}}, 0, 9, {{2, 3}}},
        {"several forward onto a key", {{1.6, 1}, {1.9, 3}, {2, 4}}, 0, 9, {{2, 3}}},
        {"from both sides", {{1.6, 1}, {2, 4}, {2.4, 2}, {2.6, 5}}, 0, 9, {{2, 2}, {3, 5}}},
        {"half-way goes down", {{0.5, 1}, {2.5, 2}}, 0, 9, {{0, 1}, {2, 2}}},
        {"whole frames stay", {{0, 1}, {1, 2}, {9, 3}}, 0, 9, {{0, 1}, {1, 2}, {9, 3}}},
        {"outside stays, fractional or not",
         {{0.6, 1}, {1.2, 2}, {3.2, 3}},
         1,
         3,
         {{0.6, 1}, {1, 2}, {3.2, 3}}},
        {"the bounds are in", {{0.5, 1}, {1.5, 2}}, 0.5, 1.5, {{0, 1}, {1, 2}}},
        {"a reversed range", {{1.2, 1}}, 3, 1, {{1.2, 1}}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(onFrames(row.before, row.start, row.end, 1), row.after) << row.what;
    EXPECT_EQ(onFrames({{1.0, 1}, {1.05, 2}}, 0, 2, 30), (Keys{{1.0, 1}, {31 / 30.0, 2}}));
}

TEST_F(Ranges, a_key_takes_its_attributes_along) {
    const std::array<double, parameterCount> parameters{1, 2, 3, 4, 5, 6, 7};
    const std::function<int()> operations[] = {
        [this] { return copyShiftChannel(nullptr, envelopes, envelope, 1, 2, 3); },
        [this] { return reKeyChannelToNearest(nullptr, envelopes, envelope, 1, 2, 1); },
        [this] { return modifyChannel(nullptr, envelopes, envelope, 1, 2, 0.01, jitterTime); },
        [this] { return modifyChannel(nullptr, envelopes, envelope, 1, 2, 0.01, jitterBoth); },
    };
    for (const auto& operation : operations) {
        SCOPED_TRACE(&operation - operations);
        channelCurve.keys.clear();
        channelCurve.keys.append({1.25, 9, Shape::hold, parameters});
        edit(operation);
        const auto last = channelCurve.keys.last();
        ASSERT_TRUE(last);
        EXPECT_NE(last.time(), 1.25);
        EXPECT_EQ(last.shape(), Shape::hold);
        EXPECT_EQ(last.data().parameters, parameters);
    }
}

TEST_F(Ranges, modifyChannel_changes_the_values_of_the_range_alone) {
    const auto expected = [](double first, double middle, double last) {
        return Keys{{0, 1},    {hairBelow1, 2}, {1, first}, {2, middle},
                    {3, last}, {hairAbove3, 6}, {4, 7}};
    };
    const struct {
        int mode;
        double amount;
        Keys after;
    } rows[] = {
        {addMode, 10, expected(13, 14, 15)},
        {addMode, 0, around},
        {addMode, -4, expected(-1, 0, 1)},
        {multiplyMode, 0, expected(0, 0, 0)},
        {multiplyMode, -2, expected(-6, -8, -10)},
        {multiplyMode, 1, around},
        {overwriteMode, 0.5, expected(.5, .5, .5)},
        {jitterValue, 0, around},
        {jitterTime, 0, around},
        {jitterBoth, 0, around},
        {3, 10, around},
        {7, 10, around},
        {-1, 10, around},
    };
    for (const auto& row : rows)
        EXPECT_EQ(modified(around, 1, 3, row.amount, row.mode), row.after)
            << row.mode << " by " << row.amount;
    EXPECT_EQ(modified(around, 3, 1, 10, addMode), around);
    EXPECT_EQ(result, 0);
}

double drawSigned() {
    return (std::rand() - 1073741823.5) / 1073741823.5;
}

TEST_F(Ranges, value_jitter_draws_once_for_each_key_of_the_range_in_order) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        std::srand(seed);
        const double s[] = {drawSigned(), drawSigned(), drawSigned()};
        std::srand(seed);
        const Keys after = modified(around, 1, 3, 2.5, jitterValue);
        EXPECT_EQ(after, (Keys{{0, 1},
                               {hairBelow1, 2},
                               {1, s[0] * 2.5 + 3},
                               {2, s[1] * 2.5 + 4},
                               {3, s[2] * 2.5 + 5},
                               {hairAbove3, 6},
                               {4, 7}}));
    }
}

// The walk in plain terms: it goes on after a moved key's new place, so that keys are skipped
// or met again. Counts how often a key is visited, by the value that time jitter leaves it.
Keys jittered(const Keys& before, double start, double end, double amount, bool both,
              std::map<double, int>& visits) {
    std::map<double, double> keys(before.begin(), before.end());
    auto key = keys.contains(start) ? keys.find(start) : keys.begin();
    while (key != keys.end()) {
        const auto [time, value] = *key;
        if (time >= start && time <= end) {
            ++visits[value];
            const double change = drawSigned() * amount;
            keys.erase(time);
            keys[change + time] = both ? change + value : value;
            key = keys.upper_bound(change + time);
        } else {
            ++key;
        }
    }
    return {keys.begin(), keys.end()};
}

TEST_F(Ranges, time_jitter_jumps_over_keys_and_meets_keys_again_as_it_goes) {
    Keys before;
    for (int i = 0; i <= 12; ++i)
        before.emplace_back(i * 0.25, i);
    int skipped = 0, metAgain = 0;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        for (const int mode : {jitterTime, jitterBoth}) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", mode " << mode);
            std::map<double, int> visits;
            std::srand(seed);
            const Keys expected = jittered(before, 0.5, 2.5, 0.6, mode == jitterBoth, visits);
            std::srand(seed);
            ASSERT_EQ(modified(before, 0.5, 2.5, 0.6, mode), expected);
            if (mode == jitterBoth) continue;
            for (int i = 2; i <= 10; ++i)
                if (!visits.contains(i)) ++skipped;
            for (const auto& [value, count] : visits)
                if (count > 1) ++metAgain;
        }
    }
    EXPECT_GT(skipped, 0);
    EXPECT_GT(metAgain, 0);
}

// A key that cannot be placed must not be lost.
TEST_F(Ranges, a_key_whose_new_time_is_no_number_stays) {
    const Keys before = {{1, 2}, {2, 3}};
    fill(channelCurve, before);
    edit([&] {
        modifyChannel(nullptr, envelopes, envelope, 0, 9, std::numeric_limits<double>::infinity(),
                      jitterTime);
    });
    EXPECT_EQ(keysOf(channelCurve), before);
    EXPECT_FALSE(host.misuses.empty()) << "the host refused the key";
    host.misuses.clear();
}

} // namespace
} // namespace cadencora::stage
