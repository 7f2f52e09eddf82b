// Motion files, read and written.

#include "stage/formats/native/motion_file.h"

#include "tests/stage/formats/files.h"

namespace cadencora::stage {
namespace {

TEST(MotionFile, an_envelope_reads_back_as_the_same_bits) {
    for (const Envelope& curve : {Envelope{}, oddCurve()}) {
        const std::string text = envelopeText(curve);
        auto again = parseEnvelopes(text, "a.mot");
        ASSERT_TRUE(again.ok()) << again.problem().text();
        ASSERT_EQ(again->size(), 1u);
        expectSameCurve(curve, again->front());
        EXPECT_EQ(envelopeText(again->front()), text);
    }
    auto two = parseEnvelopes(envelopeText({}) + envelopeText(oddCurve()), "a.mot");
    ASSERT_TRUE(two.ok()) << two.problem().text();
    ASSERT_EQ(two.value().size(), 2u);
    expectSameCurve(two.value()[1], oddCurve());
}

TEST(MotionFile, an_items_motion_reads_back_with_the_path_of_every_channel) {
    Scene scene;
    const ItemId other = scene.addItem(ItemType::object, "Other");
    const ItemId hero = scene.addItem(ItemType::object, "He\"ro\\ \n\x01\xff", other);
    scene.mutableMotion(hero, heading) = oddCurve();
    const GroupId face = scene.addGroup(scene.item(hero).group, "Face \"");
    scene.addGroup(face, "without channels");
    const GroupId mouth = scene.addGroup(face, "");
    for (const GroupId group : {scene.item(hero).group, face, mouth})
        scene.mutableEnvelope(scene.channel(scene.addChannel(group, "Smile wide")).envelope) =
            oddCurve();
    auto motion = parseItemMotion(itemMotionText(scene, hero), "a.mot");
    ASSERT_TRUE(motion.ok()) << motion.problem().text();
    EXPECT_EQ(motion->item, scene.item(hero).name);
    ASSERT_EQ(motion->channels.size(), motionChannelCount + 3);
    const auto& channels = motion->channels;
    for (std::size_t c = 0; c < motionChannelCount; ++c) {
        EXPECT_EQ(channels[c].channel, motionChannelNames[c]);
        EXPECT_TRUE(channels[c].groups.empty());
        expectSameCurve(channels[c].envelope, scene.motion(hero, static_cast<MotionChannel>(c)));
    }
    const std::vector<std::vector<std::string>> groups{{}, {"Face \""}, {"Face \"", ""}};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        EXPECT_EQ(channels[motionChannelCount + i].groups, groups[i]);
        EXPECT_EQ(channels[motionChannelCount + i].channel, "Smile wide");
        expectSameCurve(channels[motionChannelCount + i].envelope, oddCurve());
    }
}

TEST(MotionFile, a_wrong_file_is_refused_with_the_line_and_what_was_expected) {
    const std::string good = "cadencora motion 1\nitem \"a\"\nchannel \"b\" \"c\"\nrest 0\n"
                             "behaviour constant linear\nkeys 2\n0 1\n0.5 2 1\nend\n";
    ASSERT_TRUE(parseItemMotion(good, "a.mot").ok());
    const struct {
        const char *from, *to;
        int line;
        const char* expected;
    } cases[]{
        {"cadencora motion 1", "HIERARCHY", 1, "a motion file"},
        {"motion 1", "motion 2", 1, "known is 1, found \"2\""},
        {"item \"a\"", "envelope", 2, "expected item"},
        {"item \"a\"", "item a", 2, "a name in quotes"},
        {"\"a\"", "\"a", 2, "that ends"},
        {"\"a\"", "\"\\n\"", 2, "escape"},
        {"\"a\"", "\"\\x1\"", 2, "escape"},
        {"\"b\" \"c\"", "\"b\" c", 3, "a name in quotes"},
        {"rest 0", "rest nan", 4, "a number"},
        {"rest 0", "rest 0 0", 4, "the end of the line"},
        {"constant", "loop", 5, "offset-repeat"},
        {" linear", "", 5, "offset-repeat"},
        {"keys 2", "keys -2", 6, "the number of keys"},
        {"keys 2", "keys 99999999999", 9, "expected a key"},
        {"keys 2", "keys 1", 8, "expected end"},
        {"0 1\n", "0\n", 7, "the value"},
        {"0 1\n", "0 inf\n", 7, "the value"},
        {"0 1\n", "0 1 3\n", 7, "0, 1, 2 or 4"},
        {"0 1\n", "0 1 1e300\n", 7, "0, 1, 2 or 4"},
        {"0 1\n", "0 1 0 x\n", 7, "a shape parameter"},
        {"0 1\n", "0 1 0 1 2 3 4 5 6 7 8\n", 7, "the end of the line"},
        {"0 1\n", "0.5 1\n", 8, "order of their times"},
        {"end\n", "end\nend\n", 10, "nothing after the end"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " -> " + c.to);
        std::string text = good;
        text.replace(text.find(c.from), std::string_view(c.from).size(), c.to);
        const auto result = parseItemMotion(text, "a.mot");
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.problem().where, "a.mot:" + std::to_string(c.line))
            << result.problem().text();
        EXPECT_NE(result.problem().text().find(c.expected), std::string::npos)
            << result.problem().text();
    }
    EXPECT_FALSE(parseEnvelopes(good, "a.mot").ok()) << "an item's motion is not a single envelope";
}

TEST(MotionFile, no_cut_is_taken_for_a_whole_and_no_corruption_does_harm) {
    Scene scene;
    const ItemId item = scene.addItem(ItemType::object, "a\n\"b");
    scene.mutableMotion(item, positionX).keys.append({0.1, -1e-5, Shape::tangents, {0, 0, 0, 1}});
    const struct {
        std::string text;
        bool isItem;
    } files[]{{itemMotionText(scene, item), true},
              {envelopeText(scene.motion(item, positionX)), false}};
    const auto problemOf = [](const std::string& text, bool isItem) -> std::optional<Problem> {
        if (isItem) {
            const auto result = parseItemMotion(text, "a.mot");
            return result ? std::nullopt : std::optional(result.problem());
        }
        const auto result = parseEnvelopes(text, "a.mot");
        return result ? std::nullopt : std::optional(result.problem());
    };
    for (const auto& [text, isItem] : files) {
        EXPECT_FALSE(problemOf(text, isItem));
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (at + 1 < text.size()) { // only the last line end is missing
                const auto problem = problemOf(text.substr(0, at), isItem);
                ASSERT_TRUE(problem) << at;
                ASSERT_TRUE(problem->where.starts_with("a.mot:"));
            }
            for (const char c : {'\0', '\n', '"', '\\', '9', '-', ' ', '\xff'}) {
                std::string changed = text;
                changed[at] = c;
                const auto problem = problemOf(changed, isItem);
                ASSERT_TRUE(!problem || problem->where.starts_with("a.mot:"));
            }
        }
    }
}

} // namespace
} // namespace cadencora::stage
