// Times and frames, single keys, kinds of channels.

#include "plugin/keys/channel_kinds.h"
#include "plugin/keys/frame_time.h"
#include "plugin/keys/single_keys.h"
#include "tests/plugin/rig.h"

#include <bit>
#include <cmath>
#include <limits>

namespace cadencora::stage {
namespace {

TEST(RoundTime, goes_to_the_nearest_frame_and_half_way_to_the_lower_one) {
    const struct {
        double time, fps, expected;
    } rows[] = {
        {1.25, 2, 1.0},
        {-1.25, 2, -1.5},
        {1.05, 30, 31 / 30.0},
        {1.0, 30, 1.0},
        {2.5, 1, 2},
        {2.51, 1, 3},
        {2.49, 1, 2},
        {0.5, 1, 0},
        {-0.5, 1, -1},
        {-0.4, 1, 0},
        {0, 24, 0},
        {1.02, 25, 25 / 25.0},
        {2147483647, 1, 2147483647},
        {1e12, 30, 1e12}, // beyond the frames that an int can hold
    };
    for (const auto& row : rows)
        EXPECT_EQ(roundTime(row.time, row.fps), row.expected) << row.time << " at " << row.fps;
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_EQ(roundTime(infinite, 30), infinite);
    EXPECT_TRUE(std::isnan(roundTime(std::nan(""), 30)));
}

TEST(RoundTime, leaves_the_times_of_frames_alone_at_every_rate) {
    for (const double fps : {12.0, 15.0, 23.976, 24000 / 1001.0, 25.0, 30000 / 1001.0, 60.0, 120.0})
        for (int frame = -20000; frame <= 20000; ++frame)
            ASSERT_EQ(roundTime(toTime(frame, fps), fps), frame / fps) << frame << " at " << fps;
}

struct SingleKeys : testing::Test, Rig {
    const host::EnvelopeFuncs* envelopes =
        static_cast<const host::EnvelopeFuncs*>(Host::lookup("Animation Envelopes", 0));
    Envelope& target = curve("Box", "Position.X");
    Envelope& source = curve("Box", "Scale.X");
    host::Envelope targetHandle = encode(channel("Box", "Position.X"));
    host::Envelope sourceHandle = encode(channel("Box", "Scale.X"));

    // Keys at 0, 1 and 2 on both curves, of different shapes and with all parameters.
    void SetUp() override {
        for (int i = 0; i < 3; ++i) {
            target.keys.append({double(i), 10.0 * i, Shape::linear, {7, 7, 7, 7, 7, 7, 7}});
            source.keys.append({double(i), 5.0, Shape::tangents, {.1, .2, .3, .4, .5, .6, .7}});
        }
    }
    host::Key key(double time) { return envelopes->findKey(targetHandle, time); }
    host::Key sourceKey() { return envelopes->findKey(sourceHandle, 1); }
    KeyData at(double time) {
        const auto cursor = target.keys.atOrAfter(time);
        EXPECT_TRUE(cursor && cursor.time() == time);
        return cursor ? cursor.data() : KeyData{};
    }
    static void expectKey(const KeyData& key, double value, Shape shape,
                          const std::array<double, parameterCount>& parameters) {
        EXPECT_EQ(key.value, value);
        EXPECT_EQ(key.shape, shape);
        EXPECT_EQ(key.parameters, parameters);
    }
};

const std::array<double, parameterCount> sevens{7, 7, 7, 7, 7, 7, 7};
const std::array<double, parameterCount> tenths{.1, .2, .3, .4, .5, .6, .7};

TEST_F(SingleKeys, findOrCreateKey_keeps_a_key_and_adds_one_on_the_curve) {
    edit([&] {
        EXPECT_EQ(findOrCreateKey(envelopes, targetHandle, 1), key(1));
        const host::Key made = findOrCreateKey(envelopes, targetHandle, 0.25);
        EXPECT_TRUE(made);
        EXPECT_EQ(made, key(0.25));
    });
    EXPECT_EQ(keysOf(target), (Keys{{0, 0}, {0.25, 2.5}, {1, 10}, {2, 20}}));
    double time = -1, value = -1;
    EXPECT_TRUE(getKeyData(envelopes, targetHandle, key(0.25), &time, &value));
    EXPECT_EQ(time, 0.25);
    EXPECT_EQ(value, 2.5);
}

TEST_F(SingleKeys, findAndSetKey_changes_only_the_value_of_the_key_at_that_time) {
    const double beside = 1 + 1e-5 / 30; // further off than a rounding
    edit([&] {
        findAndSetKey(envelopes, targetHandle, 1, -7);
        findAndSetKey(envelopes, targetHandle, std::nextafter(1.0, 2.0), -3);
        findAndSetKey(envelopes, targetHandle, beside, 4);
    });
    EXPECT_EQ(keysOf(target), (Keys{{0, 0}, {1, -3}, {beside, 4}, {2, 20}}));
    expectKey(at(1), -3, Shape::linear, sevens);
}

TEST_F(SingleKeys, findAndSetKeyWithTag_writes_the_attribute_of_old_and_new_keys) {
    const int hold = 4;
    const double number = 9.5;
    edit([&] {
        EXPECT_EQ(findAndSetKeyWithTag(envelopes, targetHandle, 1, 2, 2, &hold), 1);
        EXPECT_EQ(findAndSetKeyWithTag(envelopes, targetHandle, 1.5, 3, 5, &number), 1);
    });
    expectKey(at(1), 2, Shape::hold, sevens);
    EXPECT_EQ(at(1.5).value, 3);
    EXPECT_EQ(at(1.5).parameters[bias], 9.5);
    host.mutableFaults().refusedAttributes = {2};
    edit([&] { EXPECT_EQ(findAndSetKeyWithTag(envelopes, targetHandle, 2, 8, 2, &hold), 0); });
    expectKey(at(2), 8, Shape::linear, sevens);
}

TEST_F(SingleKeys, findAndCopyKey_overwrites_the_key_at_the_time_or_makes_one) {
    const Keys sourceBefore = keysOf(source);
    edit([&] {
        EXPECT_TRUE(findAndCopyKey(envelopes, targetHandle, sourceHandle, sourceKey(), 2, 42));
        EXPECT_TRUE(findAndCopyKey(envelopes, targetHandle, sourceHandle, sourceKey(), 3, 43));
        // Within one curve, too.
        EXPECT_TRUE(findAndCopyKey(envelopes, targetHandle, targetHandle, key(1), 4, 44));
    });
    EXPECT_EQ(keysOf(target), (Keys{{0, 0}, {1, 10}, {2, 42}, {3, 43}, {4, 44}}));
    expectKey(at(2), 42, Shape::tangents, tenths);
    expectKey(at(3), 43, Shape::tangents, tenths);
    expectKey(at(4), 44, Shape::linear, sevens);
    expectKey(at(1), 10, Shape::linear, sevens);
    EXPECT_EQ(keysOf(source), sourceBefore);
}

TEST_F(SingleKeys, copyKey_stops_at_a_lost_shape_and_passes_over_other_lost_attributes) {
    const struct {
        std::set<int> refused, unavailable;
        double value; // of the key of value 10 after a copy with the value 42
        Shape shape;
        std::array<double, parameterCount> parameters;
    } rows[] = {
        {{}, {}, 42, Shape::tangents, tenths},
        {{2}, {}, 10, Shape::linear, sevens},
        {{}, {2}, 10, Shape::linear, sevens},
        {{0}, {}, 10, Shape::tangents, tenths},
        {{}, {3}, 42, Shape::tangents, {7, .2, .3, .4, .5, .6, .7}},
        {{}, {5, 9}, 42, Shape::tangents, {.1, .2, 7, .4, .5, .6, 7}},
        {{4, 8}, {6}, 42, Shape::tangents, {.1, 7, .3, 7, .5, 7, .7}},
        {{1}, {1}, 42, Shape::tangents, tenths}, // the time is neither read nor written
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        target.keys.clear();
        target.keys.append({1, 10, Shape::linear, sevens});
        host.mutableFaults().refusedAttributes = row.refused;
        host.mutableFaults().unavailableAttributes = row.unavailable;
        edit([&] { copyKey(envelopes, targetHandle, key(1), sourceHandle, sourceKey(), 42); });
        expectKey(at(1), row.value, row.shape, row.parameters);
        EXPECT_EQ(target.keys.size(), 1u);
    }
}

// Each wrong call comes right after a right one for the same envelope.
TEST_F(SingleKeys, attributes_are_only_reached_through_a_living_key_and_set_only_in_an_event) {
    const double number = 3;
    double read = -1;
    const host::Key living = key(1);
    const auto set = [&](host::Envelope envelope, host::Key which, double value) {
        return envelopes->keySet(envelope, which, host::keyValue, &value);
    };
    edit([&] {
        const host::Key doomed = key(2);
        EXPECT_EQ(set(targetHandle, doomed, number), 1);
        envelopes->destroyKey(targetHandle, doomed);
        const auto forged = reinterpret_cast<host::Key>( // a known place without a serial number
            reinterpret_cast<std::uintptr_t>(doomed) & 0xffffffffu);
        for (const host::Key wrong : {doomed, forged, sourceKey(), host::Key{}}) {
            EXPECT_EQ(set(targetHandle, living, number), 1);
            EXPECT_EQ(set(targetHandle, wrong, 4), 0);
            EXPECT_EQ(envelopes->keyGet(targetHandle, wrong, host::keyValue, &read), 0);
        }
        EXPECT_EQ(envelopes->nextKey(targetHandle, doomed), nullptr);
        EXPECT_EQ(set(nullptr, living, 4), 0);
        EXPECT_EQ(set(targetHandle, living, std::nan("")), 0);
        EXPECT_EQ(envelopes->keyGet(targetHandle, living, 10, &read), 0);
    });
    EXPECT_EQ(read, -1);
    EXPECT_EQ(host.misuses.size(), 4 * 2 + 3u);
    host.misuses.clear();

    EXPECT_EQ(envelopes->keyGet(targetHandle, living, host::keyValue, &read), 1);
    EXPECT_EQ(set(targetHandle, living, 4), 0);
    ASSERT_EQ(host.misuses.size(), 1u);
    EXPECT_EQ(host.misuses[0].reason, "an edit outside of any event");
    host.misuses.clear();
    EXPECT_EQ(at(1).value, number);
    edit([] {});
    host.undo();
    EXPECT_EQ(at(1).value, 10) << "as it was before the event";
}

TEST_F(SingleKeys, copyKey_without_a_target_does_nothing) {
    const auto changes = edit([&] {
        copyKey(nullptr, targetHandle, key(1), sourceHandle, sourceKey(), 42);
        copyKey(envelopes, nullptr, key(1), sourceHandle, sourceKey(), 42);
        copyKey(envelopes, targetHandle, nullptr, sourceHandle, sourceKey(), 42);
    });
    EXPECT_TRUE(changes.empty());
}

TEST(ChannelKinds, go_by_whole_names_without_regard_to_case) {
    const struct {
        const char* name;
        int rotation, position;
    } rows[] = {{"rotation.h", 1, 0}, {"ROTATION.B", 1, 0}, {"Rotation.X", 0, 0},
                {"Rotation.", 0, 0},  {"position.z", 0, 1}, {"Position.H", 0, 0},
                {"Position", 0, 0},   {"Scale.X", 0, 0},    {"", 0, 0}};
    Rig rig;
    const GroupId group = rig.host.scene().item(rig.item("Box")).group;
    const auto* channels = static_cast<const host::ChannelInfo*>(Host::lookup("Channel Info 2", 0));
    for (const auto& row : rows) {
        const host::Channel made = encode(rig.host.mutableScene().addChannel(group, row.name));
        EXPECT_EQ(isRotationChannel(channels, made), row.rotation) << row.name;
        EXPECT_EQ(isPositionChannel(channels, made), row.position) << row.name;
    }
}

} // namespace
} // namespace cadencora::stage
