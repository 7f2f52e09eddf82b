// Edits, their reports, undo and redo.

#include "stage/scene/journal.h"
#include "stage/scene/transform.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>

namespace cadencora::stage {
namespace {

// Two objects with keys on frames 0 to 9 of Position.X and Rotation.H.
struct Journaled : testing::Test {
    Scene scene;
    Journal journal;
    ItemId a, b;

    Journaled() {
        a = scene.addItem(ItemType::object, "A");
        b = scene.addItem(ItemType::object, "B");
        for (const ItemId item : {a, b})
            for (const MotionChannel channel : {positionX, heading})
                for (int frame = 0; frame < 10; ++frame)
                    scene.mutableMotion(item, channel)
                        .keys.append(scene.rate.timeOf(frame), frame, Shape::linear);
    }
    EnvelopeId envelope(ItemId item, MotionChannel channel) const {
        return scene.channel(scene.item(item).motion[channel]).envelope;
    }
    Envelope& edit(EditScope& scope, ItemId item, MotionChannel channel) {
        return scope.envelope(envelope(item, channel));
    }
    std::vector<double> values(ItemId item, MotionChannel channel) const {
        std::vector<double> result;
        for (auto key = scene.motion(item, channel).keys.begin(); key; key.advance())
            result.push_back(key.value());
        return result;
    }
};

TEST_F(Journaled, the_report_counts_what_changed_and_nothing_else) {
    EditScope scope(scene, "edit");
    KeyStore& keys = edit(scope, a, positionX).keys;
    keys.erase(keys.find(scene.rate.timeOf(3)));
    keys.erase(keys.find(scene.rate.timeOf(4)));
    keys.insert(5.5 / 30, 1, Shape::linear);
    keys.setValue(keys.at(keys.find(scene.rate.timeOf(7))), 70);
    // Touched, and as it was in the end.
    KeyStore& same = edit(scope, b, heading).keys;
    same.erase(same.find(0));
    same.insert(0, 0, Shape::linear);
    // A parameter and a behaviour count as changes too; a negative zero is another value.
    KeyStore& turned = edit(scope, a, heading).keys;
    turned.setParameter(turned.at(turned.first()), bias, 0.5);
    edit(scope, b, positionX).after = Behaviour::repeat;

    const ChangeReport report = journal.commit(scope);
    EXPECT_EQ(report.keysRemoved, 2u);
    EXPECT_EQ(report.keysAdded, 1u);
    EXPECT_EQ(report.keysChanged, 2u);
    EXPECT_EQ(report.items, 2u);
    ASSERT_EQ(report.channels.size(), 3u);
    EXPECT_EQ(scene.channelPath(report.channels[0].channel), "A/Position.X");
    EXPECT_EQ(report.firstFrame, 0);
    EXPECT_EQ(report.lastFrame, 7);
}

// Long curves, so that both states have blocks in common, blocks that differ and blocks that split.
TEST_F(Journaled, the_report_agrees_with_a_plain_comparison_over_random_edits) {
    std::mt19937 random(3);
    KeyStore& keys = scene.mutableMotion(b, bank).keys;
    for (int i = 0; i < 3000; ++i)
        keys.append(i, i % 7, Shape::linear);
    for (int round = 0; round < 60; ++round) {
        std::map<double, KeyData> before, after;
        const auto read = [&](auto& states) {
            for (auto key = keys.begin(); key; key.advance())
                states[key.time()] = key.data();
        };
        read(before);
        EditScope scope(scene, "edit");
        edit(scope, b, bank);
        const int edits = 1 << round % 9, first = static_cast<int>(random() % 2500);
        for (int i = 0; i < edits; ++i) { // scattered, or each key after the one before
            const double time = round % 2 ? static_cast<int>(random() % 3000) : first + i;
            const KeyHandle key = keys.find(time);
            const auto kind = random() % 4;
            if (key == KeyHandle::none || kind == 0)
                keys.insert(kind == 0 ? time + 0.5 : time, round, Shape::linear);
            else if (kind == 1)
                keys.erase(key);
            else if (kind == 2)
                keys.setValue(keys.at(key), i % 7);
            else
                keys.setParameter(keys.at(key), tension, round < 30 ? 0 : i % 2);
        }
        read(after);
        KeyStore::Differences expected;
        for (const auto& [time, old] : before) {
            const auto now = after.find(time);
            if (now == after.end())
                ++expected.removed;
            else if (old.value != now->second.value || old.parameters != now->second.parameters)
                ++expected.changed;
        }
        expected.added = after.size() + expected.removed - before.size();
        const ChangeReport report = journal.commit(scope);
        ASSERT_EQ(report.keysAdded, expected.added);
        ASSERT_EQ(report.keysRemoved, expected.removed);
        ASSERT_EQ(report.keysChanged, expected.changed);
        if (round % 5 == 4) journal.undo(scene);
    }
}

TEST_F(Journaled, undo_and_redo_go_both_ways_and_a_new_edit_drops_the_redo) {
    const auto before = values(a, positionX);
    for (const char* name : {"first", "second"}) {
        EditScope scope(scene, name);
        KeyStore& keys = edit(scope, a, positionX).keys;
        keys.erase(keys.first());
        journal.commit(scope);
    }
    const auto after = values(a, positionX);
    ASSERT_EQ(after.size(), 8u);
    EXPECT_EQ(*journal.undoName(), "second");
    EXPECT_TRUE(journal.undo(scene));
    EXPECT_TRUE(journal.undo(scene));
    EXPECT_FALSE(journal.undo(scene));
    EXPECT_EQ(values(a, positionX), before);
    EXPECT_EQ(*journal.redoName(), "first");
    EXPECT_TRUE(journal.redo(scene));
    EXPECT_TRUE(journal.redo(scene));
    EXPECT_EQ(values(a, positionX), after);
    EXPECT_TRUE(journal.undo(scene));

    EditScope scope(scene, "third");
    edit(scope, b, heading).keys.clear();
    journal.commit(scope);
    EXPECT_FALSE(journal.redo(scene));
    EXPECT_EQ(*journal.undoName(), "third");
}

TEST_F(Journaled, a_behaviour_or_a_rest_value_alone_is_a_change) {
    for (const int which : {0, 1, 2}) {
        EditScope scope(scene, "edit");
        Envelope& envelope = edit(scope, a, positionX);
        if (which == 0) envelope.before = Behaviour::mirror;
        if (which == 1) envelope.after = Behaviour::mirror;
        if (which == 2) envelope.rest = -0.0;
        const ChangeReport report = journal.commit(scope);
        ASSERT_EQ(report.channels.size(), 1u) << which;
        EXPECT_TRUE(report.channels[0].settingsChanged);
        EXPECT_FALSE(report.firstFrame);
        ASSERT_TRUE(journal.undo(scene)) << which;
    }
}

TEST_F(Journaled, a_preview_that_ends_early_stays_and_one_to_the_end_grows) {
    for (const bool toEnd : {false, true}) {
        scene.lastFrame = 20;
        scene.previewFirst = 2;
        scene.previewLast = toEnd ? 20 : 15;
        EditScope scope(scene, "longer");
        edit(scope, a, positionX).keys.insert(scene.rate.timeOf(30 + toEnd), 0, Shape::linear);
        journal.commit(scope);
        EXPECT_EQ(scene.lastFrame, 30 + toEnd);
        EXPECT_EQ(scene.previewLast, toEnd ? 31 : 15);
        EXPECT_EQ(scene.previewFirst, 2);
    }
    scene.lastFrame = 40;
    scene.previewFirst = 10;
    scene.previewLast = 20;
    scene.setRate(FrameRate::of(60).value());
    EXPECT_EQ(scene.previewFirst, 20);
    EXPECT_EQ(scene.previewLast, 40);
    scene.previewLast = scene.lastFrame;
    scene.setRate(FrameRate::of(25).value());
    EXPECT_EQ(scene.previewLast, scene.lastFrame) << "still to the end";
}

TEST_F(Journaled, the_oldest_edits_make_room_for_the_newest) {
    KeyStore& keys = scene.mutableMotion(b, bank).keys;
    for (int i = 0; i < 10'000; ++i)
        keys.append(i, 0, Shape::linear);
    const auto change = [&](int value) {
        EditScope scope(scene, std::to_string(value));
        KeyStore& edited = edit(scope, b, bank).keys;
        for (auto key = edited.first(); key != KeyHandle::none; key = edited.next(key))
            edited.setValue(edited.at(key), value);
        journal.commit(scope);
    };
    change(1);
    const std::size_t each = journal.bytes();
    EXPECT_GT(each, 10'000u * 17);
    EXPECT_LT(each, 10'000u * 30);
    journal.setBudget(3 * each + each / 2);
    for (int value = 2; value <= 6; ++value)
        change(value);
    EXPECT_EQ(journal.givenUp(), 3u);
    EXPECT_LE(journal.bytes(), journal.budget());
    while (journal.undo(scene)) {
    }
    EXPECT_EQ(keys.begin().value(), 3) << "the state before the edits that are left";
    EXPECT_EQ(*journal.redoName(), "4");
    change(7); // drops what could be redone
    EXPECT_LT(journal.bytes(), 2 * each);
    journal.setBudget(1);
    EXPECT_EQ(*journal.undoName(), "7") << "the last one stays";
    journal.setBudget(0);
    EXPECT_EQ(journal.undoName(), nullptr);

    // An edit that touches one block of many keeps that block.
    journal.clear();
    journal.setBudget(std::size_t{1} << 30);
    EditScope scope(scene, "one");
    KeyStore& edited = edit(scope, b, bank).keys;
    edited.setValue(edited.at(edited.find(5000)), -1);
    journal.commit(scope);
    EXPECT_LT(journal.bytes(), each / 4);
}

TEST_F(Journaled, an_edit_that_changed_nothing_leaves_no_trace) {
    EditScope scope(scene, "nothing");
    edit(scope, a, positionX);
    EXPECT_TRUE(journal.commit(scope).empty());
    EXPECT_EQ(journal.undoName(), nullptr);
}

TEST_F(Journaled, added_channels_go_with_undo_and_come_back_with_redo) {
    EditScope scope(scene, "dissolve");
    const ChannelId channel = scope.addChannel(scene.item(a).group, "Dissolve", 0);
    scope.envelope(scene.channel(channel).envelope).keys.insert(1, 1, Shape::hold);
    const ChangeReport report = journal.commit(scope);
    EXPECT_EQ(report.channelsAdded, std::vector{channel});
    EXPECT_EQ(report.keysAdded, 1u);
    journal.undo(scene);
    EXPECT_FALSE(scene.has(channel));
    EXPECT_EQ(scene.findChannel(scene.item(a).group, "Dissolve"), ChannelId::none);
    journal.redo(scene);
    EXPECT_EQ(scene.findChannel(scene.item(a).group, "Dissolve"), channel);
    EXPECT_EQ(scene.envelope(scene.channel(channel).envelope).keys.size(), 1u);
}

TEST_F(Journaled, rolling_back_restores_the_scene_and_takes_channels_away) {
    const auto before = values(a, heading);
    EnvelopeId copy;
    {
        EditScope scope(scene, "failed");
        copy = scene.channel(scope.addChannel(scene.item(a).group, "Copy", 0)).envelope;
        scope.envelope(copy).keys.insert(0, 1, Shape::linear);
        edit(scope, a, heading).keys.clear();
        Journal::rollBack(std::move(scope));
    }
    EXPECT_EQ(values(a, heading), before);
    EXPECT_FALSE(scene.has(copy));
    EXPECT_EQ(journal.undoName(), nullptr);
}

TEST_F(Journaled, a_new_rate_keeps_the_times_of_keys_and_covers_the_last_one) {
    scene.lastFrame = scene.previewLast = 9;
    scene.mutableMotion(a, positionX).keys.append(0.32, 1, Shape::linear);
    scene.setRate(*FrameRate::of(24));
    EXPECT_EQ(scene.lastFrame, 8) << "0.32 s are 7.68 frames";
    EXPECT_EQ(scene.previewLast, 8);
    EXPECT_EQ(values(a, positionX).size(), 11u);
    EXPECT_NE(scene.motion(a, positionX).keys.last().time(), scene.rate.timeOf(8));
}

// 120000/1001 and 24000/1001 divide to times that differ in their last bit.
TEST(SceneRate, keys_on_shared_frames_of_two_broadcast_rates_stand_on_both) {
    Scene scene;
    scene.rate = *FrameRate::of(120000, 1001);
    KeyStore& keys = scene.mutableMotion(scene.addItem(ItemType::object, "A"), bank).keys;
    for (int frame = 0; frame < 1000; ++frame)
        keys.append(scene.rate.timeOf(frame), frame, Shape::linear);
    scene.previewLast = 5;
    scene.lastFrame = 999;
    scene.setRate(*FrameRate::of(24000, 1001));
    ASSERT_EQ(keys.size(), 1000u);
    for (int frame = 0; frame < 200; ++frame) {
        const KeyHandle key = keys.find(scene.rate.timeOf(frame));
        ASSERT_NE(key, KeyHandle::none) << frame;
        ASSERT_EQ(keys.at(key).value(), 5 * frame);
    }
    EXPECT_EQ(scene.lastFrame, 200);
    EXPECT_EQ(scene.previewLast, 1) << "a preview that ended before the end still does";
}

TEST(Transform, an_items_pivot_lands_on_its_position_carried_through_its_ancestors) {
    Scene scene;
    const double quarter = std::acos(0.0);
    const ItemId root = scene.addItem(ItemType::object, "root");
    const ItemId arm = scene.addItem(ItemType::object, "arm", root);
    const auto rest = [&](ItemId item, MotionChannel channel, double value) {
        scene.mutableMotion(item, channel).rest = value;
    };
    rest(root, positionX, 10);
    rest(root, heading, quarter);
    rest(root, scaleZ, 2);
    scene.item(root).pivot = {0, 0, 1};
    rest(arm, positionZ, 3);
    rest(arm, pitch, 1);
    scene.item(arm).pivot = {5, 6, 7};
    // Behind the root's pivot the arm lies at z = 2, scaled to 4, turned to x.
    const Vec3 at = worldPosition(scene, arm, 0);
    EXPECT_NEAR(at[0], 14, 1e-12);
    EXPECT_NEAR(at[1], 0, 1e-12);
    EXPECT_NEAR(at[2], 0, 1e-12);
    scene.item(root).secondRotation = {quarter, 0, 0};
    EXPECT_NEAR(worldPosition(scene, arm, 0)[2], -4, 1e-12) << "turned once more, about Y";
}

} // namespace
} // namespace cadencora::stage
