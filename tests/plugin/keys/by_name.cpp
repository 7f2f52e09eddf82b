// Keying channels that are found in an item's groups: by their name, and all morphs at once.

#include "plugin/keys/morph_channels.h"
#include "plugin/keys/whole_channels.h"
#include "tests/plugin/rig.h"

namespace cadencora::stage {
namespace {

struct ByName : testing::Test, Rig {
    const host::EnvelopeFuncs* envelopes =
        static_cast<const host::EnvelopeFuncs*>(Host::lookup("Animation Envelopes", 0));
    const host::ChannelInfo* channels =
        static_cast<const host::ChannelInfo*>(Host::lookup("Channel Info 2", 0));
    const host::ItemInfo* items =
        static_cast<const host::ItemInfo*>(Host::lookup("LW Item Info 5", 0));

    host::Item handle(std::string_view name) { return encode(item(name)); }

    using Operation = decltype(&keyAllMorphChannels);
    // On Face, whose Smile has keys at 1 and 2, and whose deeper Wink has a key at 1.
    ChangeReport morphs(Operation operation, double time, int result = 1) {
        fill(curve("Face", "Morph/Smile"), {{1, 0.5}, {2, 1}});
        fill(curve("Face", "Morph/Frown"), {});
        fill(curve("Face", "Morph/Deeper/Wink"), {{1, 1}});
        fill(curve("Face", "Position.X"), {{1, 1}});
        return again(operation, time, "Face", result);
    }
    ChangeReport again(Operation operation, double time, const char* name, int result = 1) {
        const auto changes = edit(
            [&] { EXPECT_EQ(operation(envelopes, channels, items, handle(name), time), result); });
        EXPECT_EQ(keys("Face", "Morph/Deeper/Wink"), (Keys{{1, 1}}))
            << "deeper groups are no morphs";
        EXPECT_EQ(keys("Face", "Position.X"), (Keys{{1, 1}}));
        return changes;
    }
    Keys smile() { return keys("Face", "Morph/Smile"); }
    Keys frown() { return keys("Face", "Morph/Frown"); }
};

TEST_F(ByName, a_channel_is_keyed_by_its_exact_name_the_first_one_alone) {
    const GroupId group = host.scene().item(item("Box")).group;
    const ChannelId first = host.mutableScene().addChannel(group, "Fog");
    const ChannelId second = host.mutableScene().addChannel(group, "Fog");
    const int hold = 4;
    const auto key = [&](host::Item item, const char* name) {
        return setChannelKeysWithTag(envelopes, channels, items, item, name, 1.5, 7, 2, &hold);
    };
    edit([&] {
        EXPECT_EQ(key(handle("Box"), "Fog"), 1);
        EXPECT_EQ(key(handle("Box"), "fog"), 0);
        EXPECT_EQ(key(handle("Box"), "Fo"), 0);
        EXPECT_EQ(key(handle("Face"), "Smile"), 0) << "a morph is not directly in the group";
        EXPECT_EQ(setChannelKeys(envelopes, channels, items, encode(group), "Scale.Z", 2, 3), 1);
        EXPECT_EQ(setChannelKeys(envelopes, channels, items, encode(group), "scale.z", 2, 3), 0);
    });
    const Envelope& keyed = host.scene().envelope(host.scene().channel(first).envelope);
    EXPECT_EQ(keysOf(keyed), (Keys{{1.5, 7}}));
    EXPECT_EQ(keyed.keys.begin().shape(), Shape::hold);
    EXPECT_TRUE(host.scene().envelope(host.scene().channel(second).envelope).keys.empty());
    EXPECT_EQ(keys("Box", "Scale.Z"), (Keys{{2, 3}}));
}

TEST_F(ByName, nothing_is_keyed_without_a_service_or_a_group) {
    const int hold = 4;
    for (int missing = 0; missing < 4; ++missing) {
        const auto* e = missing == 0 ? nullptr : envelopes;
        const auto* c = missing == 1 ? nullptr : channels;
        const auto* i = missing == 2 ? nullptr : items;
        const host::Group group = encode(host.scene().item(item("Box")).group);
        const auto changes = edit([&] {
            EXPECT_EQ(setChannelKeys(e, c, i, missing == 3 ? nullptr : group, "Scale.X", 1, 1), 0);
            if (missing == 3) return;
            EXPECT_EQ(setChannelKeysWithTag(e, c, i, handle("Box"), "Scale.X", 1, 1, 2, &hold), 0);
            EXPECT_EQ(keyAllMorphChannels(e, c, i, handle("Face"), 1), 0);
        });
        EXPECT_TRUE(changes.empty());
    }
}

TEST_F(ByName, morphs_are_keyed_with_their_value_where_they_have_no_key) {
    morphs(keyAllMorphChannels, 1.5);
    EXPECT_EQ(smile(), (Keys{{1, 0.5}, {1.5, 0.75}, {2, 1}}));
    EXPECT_EQ(frown(), (Keys{{1.5, 0}}));
    EXPECT_TRUE(again(keyAllMorphChannels, 1.5, "Face").empty()) << "a second time";
    morphs(keyAllMorphChannels, 1);
    EXPECT_EQ(smile(), (Keys{{1, 0.5}, {2, 1}}));
}

TEST_F(ByName, morphs_are_unkeyed_at_exactly_the_time) {
    morphs(unkeyAllMorphChannels, 1);
    EXPECT_EQ(smile(), (Keys{{2, 1}}));
    EXPECT_TRUE(morphs(unkeyAllMorphChannels, 1.5).empty());
}

TEST_F(ByName, morphs_are_reset_where_their_value_is_not_zero) {
    morphs(resetAllMorphChannels, 2);
    EXPECT_EQ(smile(), (Keys{{1, 0.5}, {2, 0}}));
    EXPECT_TRUE(frown().empty()) << "it is zero already";
    morphs(resetAllMorphChannels, 1.5);
    EXPECT_EQ(smile(), (Keys{{1, 0.5}, {1.5, 0}, {2, 1}}));
}

TEST_F(ByName, morphs_of_an_item_with_children_are_left_alone) {
    host.mutableScene().addItem(ItemType::object, "Hat", item("Face"));
    for (const auto operation : {keyAllMorphChannels, unkeyAllMorphChannels, resetAllMorphChannels})
        EXPECT_TRUE(morphs(operation, 1, 0).empty());
}

TEST_F(ByName, an_item_without_morphs_is_processed_and_unchanged) {
    fill(curve("Face", "Morph/Deeper/Wink"), {{1, 1}});
    fill(curve("Face", "Position.X"), {{1, 1}});
    for (const auto operation : {keyAllMorphChannels, unkeyAllMorphChannels, resetAllMorphChannels})
        EXPECT_TRUE(again(operation, 1, "Lid").empty());
}

} // namespace
} // namespace cadencora::stage
