// Reading BVH: what a file becomes, and what is refused.

#include "stage/formats/bvh/bvh.h"
#include "stage/scene/transform.h"
#include "tests/stage/formats/bvh/text.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage::bvh {
namespace {

// A point rotated about one axis, without matrices.
Vec3 rotated(Vec3 p, char axis, double degrees) {
    const double c = std::cos(degrees * degree), s = std::sin(degrees * degree);
    if (axis == 'X') return {p[0], c * p[1] - s * p[2], s * p[1] + c * p[2]};
    if (axis == 'Y') return {c * p[0] + s * p[2], p[1], c * p[2] - s * p[0]};
    return {c * p[0] - s * p[1], s * p[0] + c * p[1], p[2]};
}

TEST(Bvh, a_skeleton_becomes_bones_of_one_object_with_a_linear_key_per_row) {
    auto file = loaded("Walk 1.bvh", "HIERARCHY\nROOT mixamorig:Hips\n{\nOFFSET 1 2 3\nCHANNELS 6 "
                                     "Xposition Yposition Zposition Yrotation Xrotation Zrotation\n"
                                     "JOINT Left Leg\n{\nOFFSET 4 5 6\nCHANNELS 1 Xrotation\n"
                                     "End Site\n{\nOFFSET 0 -5 0\n}\nEnd Site\n{\nOFFSET 0 0 1\n}\n"
                                     "}\nJOINT Left Leg\n{\nOFFSET 0 0 0\nCHANNELS 0\n}\n}\n"
                                     "ROOT Prop\n{\nOFFSET 7 8 9\nCHANNELS 1 Yposition\n}\n"
                                     "MOTION\nFrames: 3\nFrame Time: .0083333\n"
                                     "10 20 30 40 50 60 70 80\n11 21 31 41 51 61 71 81\n"
                                     "12 22 32 42 52 62 72 82\n");
    EXPECT_TRUE(file.warnings.empty());
    const Scene& scene = file.scene;
    ASSERT_EQ(scene.itemCount(), 5u);
    EXPECT_EQ(scene.name, "Walk 1");
    EXPECT_EQ(scene.rate, FrameRate::of(120));
    EXPECT_EQ(scene.lastFrame, 2);
    EXPECT_EQ(scene.previewLast, 2);

    const ItemId object = Scene::itemAt(0), hips = Scene::itemAt(1), leg = Scene::itemAt(2),
                 other = Scene::itemAt(3), prop = Scene::itemAt(4);
    EXPECT_EQ(scene.item(object).name, "Walk 1");
    EXPECT_EQ(scene.item(object).type, ItemType::object);
    EXPECT_EQ(scene.item(hips).name, "mixamorig:Hips");
    EXPECT_EQ(scene.item(hips).parent, object);
    EXPECT_EQ(scene.item(leg).parent, hips);
    EXPECT_EQ(scene.item(other).parent, hips);
    EXPECT_EQ(scene.item(other).name, "Left Leg#2");
    EXPECT_EQ(scene.item(other).writtenName(), scene.item(leg).name);
    EXPECT_EQ(scene.item(prop).parent, object);
    for (const ItemId bone : {hips, leg, other, prop})
        EXPECT_EQ(scene.item(bone).owner, object);
    EXPECT_EQ(scene.item(leg).joint.channels, std::vector{pitch});
    EXPECT_EQ(scene.item(leg).joint.endSites, (std::vector<Vec3>{{0, -5, 0}, {0, 0, 1}}));

    EXPECT_EQ(scene.keyCount(), 8u * 3);
    EXPECT_EQ(scene.motion(leg, positionZ).rest, 6);
    EXPECT_TRUE(scene.motion(leg, positionZ).keys.empty());
    const struct {
        ItemId item;
        MotionChannel channel;
        double first;
    } columns[]{{hips, positionX, 10},      {hips, positionZ, 30},     {hips, heading, 40 * degree},
                {hips, pitch, 50 * degree}, {hips, bank, 60 * degree}, {leg, pitch, 70 * degree},
                {prop, positionY, 80}};
    for (const auto& column : columns) {
        const KeyStore& keys = scene.motion(column.item, column.channel).keys;
        ASSERT_EQ(keys.size(), 3u);
        EXPECT_DOUBLE_EQ(keys.begin().value(), column.first);
        EXPECT_EQ(keys.begin().shape(), Shape::linear);
        EXPECT_EQ(keys.last().time(), 2.0 / 120);
    }
}

TEST(Bvh, rotations_in_any_order_turn_as_the_file_says_and_never_jump) {
    for (const std::string& axes : orders) {
        SCOPED_TRACE(axes);
        const auto file = loaded("order.bvh", twoJoints(channelsOf(axes), hardRows(axes.size())));
        const ItemId hips = named(file.scene, "Hips"), spine = named(file.scene, "Spine");
        for (std::size_t f = 0; f < hardAngles.size(); ++f) {
            const double time = file.scene.rate.timeOf(static_cast<std::int64_t>(f));
            const auto rotate = [&](Vec3 point) {
                for (std::size_t n = axes.size(); n-- > 0;)
                    point = rotated(point, axes[n], hardAngles[f][n]);
                return point;
            };
            // The spine's own rotation shows in a point beside it.
            const Affine world = worldTransform(file.scene, spine, time);
            Vec3 expected = rotate({3, 4, 5});
            expected[1] += 10;
            expected = rotate(expected);
            expected[1] += 90;
            const Vec3 found = product(world.linear, Vec3{3, 4, 5});
            for (std::size_t n = 0; n < 3; ++n)
                EXPECT_NEAR(found[n] + world.offset[n], expected[n], 2e-5) << "frame " << f;
        }
        // Values that are taken over one by one keep the jumps of the file.
        if (axes.size() < 2 || std::ranges::is_sorted(axes, {}, [](char a) {
                return std::string_view("YXZ").find(a);
            }))
            continue;
        for (const MotionChannel c : {heading, pitch, bank}) {
            const KeyStore& keys = file.scene.motion(hips, c).keys;
            auto before = keys.begin(), key = before;
            for (key.advance(); key; key.advance(), before.advance())
                EXPECT_LT(std::abs(key.value() - before.value()), std::numbers::pi + 1e-6);
        }
    }
}

TEST(Bvh, the_first_frame_keeps_the_turns_that_the_file_gives_it) {
    const auto file =
        loaded("a.bvh", twoJoints("Zrotation Xrotation Yrotation", {"0 0 0 -370 10 1090 5 10 15"}));
    const ItemId hips = named(file.scene, "Hips");
    EXPECT_NEAR(file.scene.motion(hips, heading).keys.begin().value(), 1090 * degree, 0.5);
    EXPECT_NEAR(file.scene.motion(hips, bank).keys.begin().value(), -370 * degree, 0.5);
}

TEST(Bvh, spellings_found_in_the_wild_are_read_alike) {
    const std::string plain = twoJoints("Zrotation Xrotation Yrotation",
                                        {"1 2 3 4 5 6 7 8 9", "1 2 3 4 5 6 7 8 10"}, "0.008333");
    const std::string expected = written(loaded("a.bvh", plain).scene, "plain.bvh");
    const auto replaced = [&](std::string_view from, std::string_view to) {
        std::string text = plain;
        std::size_t count = 0;
        for (auto at = text.find(from); at != std::string::npos;
             at = text.find(from, at + to.size()), ++count)
            text.replace(at, from.size(), to);
        EXPECT_GT(count, 0u) << from;
        return text;
    };
    for (const std::string& text :
         {replaced("\n", "\r\n"), replaced("\n", "\r"), replaced(" ", " \t "),
          replaced("\t", "   "), replaced("\n{", " {"), replaced("\n", "\n\n"),
          replaced("Frames: ", "Frames:"), replaced("Frame Time:", "Frame Time :"),
          replaced("rotation", "Rotation"), replaced("ROOT", "Root"),
          replaced("OFFSET 1 2 3\n\tCHANNELS", "OFFSET 1 2 3 CHANNELS"),
          std::string("\xEF\xBB\xBF") + plain, plain.substr(0, plain.size() - 1),
          plain + "\n \n"}) {
        SCOPED_TRACE(text);
        const auto file = loaded("a.bvh", text);
        EXPECT_TRUE(file.warnings.empty());
        expectSameFile(expected, written(file.scene, "b.bvh"));
    }
}

TEST(Bvh, the_rows_count_where_the_frame_count_says_otherwise) {
    for (const char* count : {"0", "1", "999999999999"}) {
        std::string text = twoJoints("Xrotation", {"1 2 3 4 5", "1 2 3 4 5"});
        text.replace(text.find("Frames: 2") + 8, 1, count);
        const auto file = loaded("a.bvh", text);
        EXPECT_EQ(file.scene.lastFrame, 1);
        ASSERT_EQ(file.warnings.size(), 1u);
        EXPECT_NE(file.warnings.front().find(count), std::string::npos);
    }
    // Only a skeleton without rows may have frames without a length.
    const auto still = loaded("a.bvh", twoJoints("Xrotation", {}, "0"));
    EXPECT_TRUE(still.warnings.empty());
    EXPECT_EQ(still.scene.keyCount(), 0u);
    EXPECT_FALSE(readText("a.bvh", twoJoints("Xrotation", {}, "0") + "1 2 3 4 5\n").ok());
}

TEST(Bvh, a_wrong_file_is_refused_with_the_line_and_what_was_expected) {
    const std::string good = twoJoints("Zrotation Xrotation Yrotation", {"1 2 3 4 5 6 7 8 9"});
    const struct {
        const char *from, *to;
        int line;
        const char* expected;
    } cases[]{
        {"HIERARCHY", "HIERARCHI", 1, "HIERARCHY"},
        {"ROOT Hips", "JOINT Hips", 2, "ROOT"},
        {"ROOT Hips", "ROOT ", 2, "name"},
        {"ROOT Hips", "ROOT {", 2, "name"},
        {"Hips\n{", "Hips\n", 4, "expected {"},
        {"OFFSET 1 2 3", "OFSET 1 2 3", 4, "OFFSET with three numbers"},
        {"OFFSET 1 2 3", "OFFSET 1 2", 5, "OFFSET with three numbers"},
        {"OFFSET 1 2 3", "OFFSET 1 2 nan", 4, "OFFSET with three numbers"},
        {"OFFSET 1 2 3", "OFFSET 1 2 3 OFFSET 1 2 3", 4, "one OFFSET"},
        {"CHANNELS 6", "CHANNELS 7", 5, "0 to 6"},
        {"CHANNELS 6", "CHANNELS 99999999999999999999", 5, "0 to 6"},
        {"CHANNELS 6", "CHANNELS 5", 5, "CHANNELS, JOINT"},
        {"CHANNELS 3", "CHANNELS 4", 10, "a channel such as"},
        {"Xposition", "Xscale", 5, "a channel such as"},
        {"Yposition", "Xposition", 5, "repeated"},
        {"End Site", "End", 11, "Site"},
        {"0 5 0", "0 5 0 0", 12, "} at the end"},
        {"}\n}\nMOTION", "}\nMOTION", 15, "CHANNELS, JOINT"},
        {"MOTION", "MOTIONS", 16, "MOTION"},
        {"MOTION\n", "CHANNELS 0\nMOTION\n", 16, "MOTION"},
        {"Frames: 1", "Frames: -1", 17, "Frames"},
        {"Frames: 1", "Frames: 1.5", 17, "Frames"},
        {"Frames: 1", "Frames 1", 17, "Frames"},
        {"Frame Time: 0.04", "Frame Time: 0", 18, "seconds of a frame"},
        {"Frame Time: 0.04", "Frame Time: 1e-300", 18, "seconds of a frame"},
        {"Frame Time: 0.04", "Frame Time: 0.04 s", 18, "end of the line"},
        {"1 2 3 4", "1 2 3", 19, "9 numbers (the row has 8)"},
        {"8 9\n", "8 9 10\n", 19, "9 numbers (the row goes on"},
        {"1 2 3 4", "1 2 inf 4", 19, "9 numbers (found \"inf\")"},
        {"1 2 3 4", "1 2 1e999 4", 19, "9 numbers (found \"1e999\")"},
        {"1 2 3 4", "1 2,5 3 4", 19, "9 numbers (found \"2,5\")"},
        {"8 9\n", "8 9\n1 2\n", 20, "9 numbers (the row has 2)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " -> " + c.to);
        std::string text = good;
        text.replace(text.find(c.from), std::string_view(c.from).size(), c.to);
        const auto result = readText("bad.bvh", text);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.problem().where,
                  scratch("bad.bvh").string() + ":" + std::to_string(c.line))
            << result.problem().text();
        EXPECT_NE(result.problem().text().find(c.expected), std::string::npos)
            << result.problem().text();
    }
}

TEST(Bvh, every_truncation_and_corruption_ends_in_a_scene_or_a_problem_with_the_file) {
    const std::string good =
        twoJoints("Zrotation Yrotation", {"1 2 3 4 5 6 7", "1 2 3 -4 5 6e1 -7"});
    const auto path = scratch("bad.bvh");
    const auto check = [&](const std::string& text) {
        const auto result = read(text, path, {});
        if (!result) {
            ASSERT_TRUE(result.problem().where.starts_with(path.string() + ":"));
            ASSERT_FALSE(result.problem().what.empty());
        }
    };
    for (std::size_t at = 0; at < good.size(); ++at) {
        check(good.substr(0, at));
        for (const char c : {'\0', '\n', ' ', '{', '}', '9', '-', 'e', '.', '\xff'}) {
            std::string text = good;
            text[at] = c;
            check(text);
        }
    }
}

TEST(Bvh, what_a_file_claims_is_held_to_limits) {
    ReadOptions options;
    options.limits = {1 << 20, 40, 400, 100, 31};
    const auto nested = [](int count, const std::string& end) {
        std::string text = "HIERARCHY\nROOT a { OFFSET 0 0 0";
        for (int n = 1; n < count; ++n)
            text += "\nJOINT a { OFFSET 0 0 0";
        return text + end;
    };
    std::string braces;
    for (int n = 0; n < 30; ++n)
        braces += " }";
    const std::string motion = "\nMOTION\nFrames: 0\nFrame Time: 0.1\n";
    EXPECT_TRUE(readText("a.bvh", nested(30, braces + motion), options).ok());
    const struct {
        std::string text, expected;
    } cases[]{
        {nested(31, ""), "nested too deeply (the limit is 30)"},
        {nested(1, " }") +
             [] {
                 std::string text;
                 for (int n = 0; n < 40; ++n)
                     text += "\nROOT b { OFFSET 0 0 0 }";
                 return text;
             }(),
         "too many joints"},
        {twoJoints("Xrotation", std::vector<std::string>(21, "1 2 3 4 5")), "too many keys"},
        {std::string(2 << 20, ' '), "the limit is"},
    };
    for (const auto& c : cases)
        expectRefused(readText("a.bvh", c.text, options), c.expected);
    // Nothing recurses, so depth costs no stack.
    options.limits = {};
    options.limits.depth = options.limits.items = 1'000'000;
    options.limits.channels = 9'000'000;
    EXPECT_FALSE(readText("a.bvh", nested(20'000, ""), options).ok());
}

} // namespace
} // namespace cadencora::stage::bvh
