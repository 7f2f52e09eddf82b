#include "stage/formats/bvh/bvh.h"

#include "stage/base/text.h"
#include "stage/scene/transform.h"
#include "tests/stage/formats/files.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <sstream>

namespace cadencora::stage::bvh {
namespace {

constexpr double degree = std::numbers::pi / 180;

// A root and one child 10 units above it, both with these rotation channels.
std::string twoJoints(const std::string& channels, const std::vector<std::string>& rows,
                      const std::string& frameTime = "0.04") {
    std::istringstream words(channels);
    const auto count = std::distance(std::istream_iterator<std::string>(words), {});
    std::string text = "HIERARCHY\nROOT Hips\n{\n\tOFFSET 1 2 3\n\tCHANNELS " +
                       std::to_string(count + 3) + " Xposition Yposition Zposition " + channels +
                       "\n\tJOINT Spine\n\t{\n\t\tOFFSET 0 10 0\n\t\tCHANNELS " +
                       std::to_string(count) + " " + channels +
                       "\n\t\tEnd Site\n\t\t{\n\t\t\tOFFSET 0 5 0\n\t\t}\n\t}\n}\nMOTION\n"
                       "Frames: " +
                       std::to_string(rows.size()) + "\nFrame Time: " + frameTime + "\n";
    for (const std::string& row : rows)
        text += row + "\n";
    return text;
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

// Word for word, numbers within 1e-4.
void expectSameFile(const std::string& text, const std::string& other) {
    const auto a = wordsOf(text), b = wordsOf(other);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto x = parseNumber(a[i]), y = parseNumber(b[i]);
        ASSERT_EQ(x.has_value(), y.has_value()) << a[i] << " and " << b[i] << " at word " << i;
        if (!x) {
            ASSERT_EQ(a[i], b[i]);
        } else {
            ASSERT_NEAR(*x, *y, 1e-4) << "at word " << i;
        }
    }
}

// The numbers of all rows of a file.
std::vector<std::vector<double>> rowsOf(const std::string& text) {
    std::vector<std::vector<double>> rows;
    std::istringstream lines(text.substr(text.find("Frame Time:")));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        rows.emplace_back();
        for (const std::string& word : wordsOf(line))
            rows.back().push_back(parseNumber(word).value());
    }
    return rows;
}

// Turns a point about one axis the way school teaches it.
Vec3 turned(Vec3 p, char axis, double degrees) {
    const double c = std::cos(degrees * degree), s = std::sin(degrees * degree);
    if (axis == 'X') return {p[0], c * p[1] - s * p[2], s * p[1] + c * p[2]};
    if (axis == 'Y') return {c * p[0] + s * p[2], p[1], c * p[2] - s * p[0]};
    return {c * p[0] - s * p[1], s * p[0] + c * p[1], p[2]};
}

std::string channelsOf(const std::string& axes) {
    std::string text;
    for (const char axis : axes)
        text.append(text.empty() ? "" : " ").append(1, axis).append("rotation");
    return text;
}

ItemId named(const Scene& scene, std::string_view name) {
    const ItemId id = scene.findItem(name);
    EXPECT_NE(id, ItemId::none) << name;
    return id;
}

// Angles that BVH files have and that one decomposition after another gets wrong: wrapped, beyond
// a quarter turn in the middle, several turns, all three places at gimbal lock, and near it.
const std::vector<std::array<double, 3>> hardAngles{
    {179, 10, -20},   {-179, 12, -21},  {30, 135, -160}, {30, -135, 500}, {725, 20, -400},
    {0, 90, 30},      {45, 90, 30},     {45, -90, 77},   {90, 0, 90},     {90, 90, 90},
    {10, 89.9999, 5}, {0, 0, 90.00001}, {90, 0, 0},      {0, 0, 0},       {-1080, 270, 1e-6}};

std::vector<std::string> hardRows(std::size_t axes) {
    std::vector<std::string> rows;
    for (const auto& angles : hardAngles) {
        std::string triple;
        for (std::size_t n = 0; n < axes; ++n)
            triple.append(" ").append(shortest(angles[n]));
        rows.push_back(std::string("0 90 0") + triple + triple);
    }
    return rows;
}

const std::vector<std::string> orders{"XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX", "XY", "XZ",
                                      "YX",  "YZ",  "ZX",  "ZY",  "X",   "Y",   "Z",  ""};

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
    EXPECT_EQ(scene.item(other).name, scene.item(leg).name);
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
            const auto carry = [&](Vec3 point) {
                for (std::size_t n = axes.size(); n-- > 0;)
                    point = turned(point, axes[n], hardAngles[f][n]);
                return point;
            };
            // The spine's own rotation shows in a point beside it.
            const Affine world = worldTransform(file.scene, spine, time);
            Vec3 expected = carry({3, 4, 5});
            expected[1] += 10;
            expected = carry(expected);
            expected[1] += 90;
            const Vec3 found = product(world.linear, Vec3{3, 4, 5});
            for (std::size_t n = 0; n < 3; ++n)
                EXPECT_NEAR(found[n] + world.offset[n], expected[n], 2e-5) << "frame " << f;
        }
        // Values that pass one by one keep what jumps the file has.
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

TEST(Bvh, an_unchanged_file_comes_back_number_by_number) {
    for (const std::string& axes : orders) {
        SCOPED_TRACE(axes);
        const std::string text =
            twoJoints(channelsOf(axes), hardRows(axes.size()), "0.0417083750417");
        std::vector<std::string> warnings;
        expectSameFile(text, written(loaded("a.bvh", text).scene, "b.bvh", &warnings));
        EXPECT_TRUE(warnings.empty());
    }
    const std::string odd =
        "HIERARCHY\nROOT  Hips : low \n{\nOFFSET 0.00001 -2 3e2\nCHANNELS 5 Zrotation Xposition "
        "Yrotation Zposition Xrotation\nJOINT {b}\n{\nOFFSET 0 0 0\nCHANNELS 0\nJOINT a\tb\n{\n"
        "OFFSET 0 0 0\nCHANNELS 0\nEnd Site\n{\nOFFSET 1 1 1\n}\n}\n}\n}\n"
        "ROOT Hips : low\n{\nOFFSET 0 0 0\nCHANNELS 2 Zrotation Yrotation\n}\nMOTION\nFrames: 2\n"
        "Frame Time: 0.033333\n-170 1 20 3 40 100 200\n170 1 2e1 3 +40 -100 20\n";
    expectSameFile(odd, written(loaded("a.bvh", odd).scene, "b.bvh"));
    const std::string still = twoJoints("Zrotation", {}, "0.04");
    expectSameFile(still, written(loaded("a.bvh", still).scene, "b.bvh"));
}

TEST(Bvh, real_files_come_back_number_by_number) {
    std::vector<std::filesystem::path> paths{std::filesystem::path(CADENCORA_SOURCE_DIR) /
                                             "examples" / "walk.bvh"};
    for (const char* name :
         {"cmu_12_01_walk.bvh", "full_precision_frame_time.bvh", "rotation_first_root.bvh"})
        if (const auto path = dataFile(name); !path.empty()) paths.push_back(path);
    for (const auto& path : paths) {
        SCOPED_TRACE(path);
        auto read = readScene(path);
        ASSERT_TRUE(read.ok()) << read.problem().text();
        EXPECT_TRUE(read->warnings.empty());
        expectSameFile(bytesOf(path), written(read->scene, "again.bvh"));
    }
    if (paths.size() < 4) GTEST_SKIP() << "only the project's own example was at hand";
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
    // A skeleton alone may have frames without a length.
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
    options.limits = {1 << 20, 40, 400, 100, 30};
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
    for (const auto& c : cases) {
        const auto result = readText("a.bvh", c.text, options);
        ASSERT_FALSE(result.ok());
        EXPECT_NE(result.problem().text().find(c.expected), std::string::npos)
            << result.problem().text();
    }
    // Nothing recurses, so depth costs no stack.
    options.limits = {};
    options.limits.depth = options.limits.items = 1'000'000;
    options.limits.channels = 9'000'000;
    EXPECT_FALSE(readText("a.bvh", nested(20'000, ""), options).ok());
}

// Adds to every key of a channel.
void addToKeys(Scene& scene, ItemId item, MotionChannel channel, double amount) {
    KeyStore& keys = scene.mutableMotion(item, channel).keys;
    KeyStore moved;
    for (auto key = keys.begin(); key; key.advance()) {
        KeyData data = key.data();
        data.value += amount;
        moved.append(data);
    }
    keys = moved;
}

TEST(Bvh, an_edited_rotation_is_written_as_it_is_now_near_the_angles_that_were) {
    std::vector<std::string> rows;
    for (int f = 0; f < 60;
         ++f) // in the middle around a quarter turn, at both ends over half turns
        rows.push_back(std::string("0 0 0 ") + std::to_string(150 + 3 * f) + " " +
                       std::to_string(20 + f / 3) + " " + std::to_string(-170 - 4 * f) + " 0 0 0");
    auto file = loaded("a.bvh", twoJoints("Zrotation Xrotation Yrotation", rows));
    const ItemId hips = named(file.scene, "Hips");
    addToKeys(file.scene, hips, bank, 0.3);
    const std::string text = written(file.scene, "b.bvh");
    const auto values = rowsOf(text);
    ASSERT_EQ(values.size(), rows.size());
    const auto again = loaded("b.bvh", text);
    for (std::size_t f = 0; f < values.size(); ++f) {
        const double time = file.scene.rate.timeOf(static_cast<std::int64_t>(f));
        const Affine was = localTransform(file.scene, hips, time);
        const Affine is = localTransform(again.scene, named(again.scene, "Hips"), time);
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(was.linear[r][c], is.linear[r][c], 1e-6);
        // A turn more or less than the file has would show as 360.
        const auto old = wordsOf(rows[f]);
        for (std::size_t c : {3u, 5u})
            EXPECT_NEAR(values[f][c], *parseNumber(old[c]), 60) << f;
        for (std::size_t c = 3; f > 0 && c < 6; ++c)
            EXPECT_LT(std::abs(values[f][c] - values[f - 1][c]), 30) << f;
    }
}

TEST(Bvh, one_changed_frame_leaves_all_others_as_the_file_has_them) {
    const auto rows = hardRows(3);
    const std::string text = twoJoints("Xrotation Yrotation Zrotation", rows);
    auto file = loaded("a.bvh", text);
    KeyStore& keys = file.scene.mutableMotion(named(file.scene, "Spine"), heading).keys;
    const double time = file.scene.rate.timeOf(3);
    keys.insert(time, keys.atOrAfter(time).value() + 0.1, Shape::linear);
    const auto before = rowsOf(text), after = rowsOf(written(file.scene, "b.bvh"));
    for (std::size_t f = 0; f < before.size(); ++f)
        for (std::size_t c = 0; c < (f == 3 ? 6 : 9); ++c)
            EXPECT_NEAR(before[f][c], after[f][c], 1e-4) << f << " " << c;
    EXPECT_GT(std::abs(before[3][6] - after[3][6]) + std::abs(before[3][7] - after[3][7]) +
                  std::abs(before[3][8] - after[3][8]),
              1.0);
}

TEST(Bvh, columns_appear_for_channels_that_the_file_did_not_animate) {
    const struct {
        const char* channels;
        MotionChannel channel;
        const char* expected;
        double key = 0.5;
        bool isWarned = true;
    } cases[]{
        {"Zrotation", heading, "CHANNELS 3 Yrotation Xrotation Zrotation"},
        {"Zrotation Yrotation", pitch, "CHANNELS 3 Zrotation Yrotation Xrotation"},
        {"Zrotation Xrotation", positionY,
         "CHANNELS 5 Xposition Yposition Zposition Zrotation Xrotation"},
        {"Zrotation", bank, "CHANNELS 1 Zrotation", 0.5, false},
        {"Zrotation", heading, "CHANNELS 1 Zrotation", 0, false}, // a key that says nothing
        {"Zrotation", positionY, "CHANNELS 1 Zrotation", 10, false},
        {"Zrotation Yrotation", scaleX, "CHANNELS 2 Zrotation Yrotation"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        const std::string row =
            std::string_view(c.channels).size() > 9 ? "1 2 3 4 5 6 7" : "1 2 3 4 6";
        auto file = loaded("a.bvh", twoJoints(c.channels, {row, row}));
        const ItemId spine = named(file.scene, "Spine");
        const Affine before = localTransform(file.scene, spine, 0.04);
        file.scene.mutableMotion(spine, c.channel).keys.insert(0.04, c.key, Shape::linear);
        const Affine changed = localTransform(file.scene, spine, 0.04);
        std::vector<std::string> warnings;
        const std::string text = written(file.scene, "b.bvh", &warnings);
        EXPECT_NE(text.find(c.expected, text.find("JOINT")), std::string::npos) << text;
        EXPECT_EQ(warnings.size(), c.isWarned ? 1u : 0u);
        const auto again = loaded("b.bvh", text);
        const Affine is = localTransform(again.scene, named(again.scene, "Spine"), 0.04);
        const Affine& expected = c.channel == scaleX ? before : changed;
        for (std::size_t r = 0; r < 3; ++r) {
            EXPECT_NEAR(is.offset[r], expected.offset[r], 1e-6);
            for (std::size_t k = 0; k < 3; ++k)
                EXPECT_NEAR(is.linear[r][k], expected.linear[r][k], 1e-6);
        }
    }
}

TEST(Bvh, another_rate_samples_the_same_motion_and_says_what_falls_between) {
    std::vector<std::string> rows;
    for (int f = 0; f < 9; ++f)
        rows.push_back(std::string("0 0 0 ") + std::to_string(100 * f) + " " +
                       std::to_string(30 * f));
    const std::string text = twoJoints("Zrotation Xrotation", rows, "0.0083333");
    const std::string one = text.substr(0, text.find("0 0 0"));
    ReadOptions options;
    options.rate = FrameRate::of(30);
    // The row of the spine is the same as that of the root.
    std::string both = one;
    for (const std::string& row : rows)
        both += row + row.substr(5) + "\n";
    std::vector<std::string> warnings;
    const auto file = loaded("a.bvh", both, options);
    const std::string slow = written(file.scene, "slow.bvh", &warnings);
    EXPECT_NE(slow.find("Frames: 3\nFrame Time: 0.033333\n"), std::string::npos) << slow;
    EXPECT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings.front().find("between frames"), std::string::npos);
    const auto values = rowsOf(slow);
    EXPECT_NEAR(values[1][3], 400, 1e-4);
    EXPECT_NEAR(values[2][6], 240, 1e-4);

    options.rate = FrameRate::of(240);
    const auto quick = rowsOf(written(loaded("a.bvh", both, options).scene, "c.bvh"));
    ASSERT_EQ(quick.size(), 17u);
    EXPECT_NEAR(quick[4][3], 200, 1e-4);
    EXPECT_NEAR(quick[16][3], 800, 1e-4) << "every other frame is a row of the file";
    for (std::size_t f = 1; f < quick.size(); ++f)
        EXPECT_LT(std::abs(quick[f][3] - quick[f - 1][3]), 180) << "and the others lie between";
}

TEST(Bvh, a_key_a_rounding_beside_its_frame_stands_on_it) {
    Scene scene;
    const ItemId body = scene.addItem(ItemType::object, "Body");
    const ItemId bone = scene.addItem(ItemType::bone, "Bone", body, body);
    const FrameRate fine = FrameRate::of(120000, 1001).value();
    scene.rate = FrameRate::of(24000, 1001).value();
    for (int f = 0; f <= 1000; ++f)
        scene.mutableMotion(bone, positionX).keys.append(fine.timeOf(5 * f), f, Shape::hold);
    std::vector<std::string> warnings;
    const auto values = rowsOf(written(scene, "a.bvh", &warnings));
    EXPECT_TRUE(warnings.empty());
    ASSERT_EQ(values.size(), 1001u);
    for (std::size_t f = 0; f < values.size(); ++f)
        ASSERT_EQ(values[f][0], static_cast<double>(f));
}

TEST(Bvh, bones_from_elsewhere_get_the_usual_columns_and_an_end_site) {
    Scene scene;
    const ItemId body = scene.addItem(ItemType::object, "Body");
    const ItemId root = scene.addItem(ItemType::bone, "Root {1} {\n", body, body);
    const ItemId arm = scene.addItem(ItemType::bone, "Arm", root, body);
    const ItemId slide = scene.addItem(ItemType::bone, "", arm, body);
    scene.mutableMotion(arm, positionY).rest = 2;
    scene.mutableMotion(slide, positionX).keys.append(1.0, 4, Shape::spline);
    scene.mutableMotion(arm, heading).keys.append(0.0, 90 * degree, Shape::linear);
    scene.mutableMotion(arm, heading).keys.append(0.05, 180 * degree, Shape::linear);
    scene.mutableMotion(arm, heading).keys.append(0.1, 0, Shape::hold);
    std::vector<std::string> warnings;
    const std::string text = written(scene, "a.bvh", &warnings);
    expectSameFile(text.substr(0, text.find("Frame Time")),
                   "HIERARCHY\nROOT Root {1} {_\n{\nOFFSET 0 0 0\nCHANNELS 6 Xposition Yposition "
                   "Zposition Yrotation Xrotation Zrotation\nJOINT Arm\n{\nOFFSET 0 2 0\nCHANNELS "
                   "3 Yrotation Xrotation Zrotation\nJOINT _\n{\nOFFSET 0 0 0\nCHANNELS 6 "
                   "Xposition Yposition Zposition Yrotation Xrotation Zrotation\nEnd Site\n{\n"
                   "OFFSET 0 0 0\n}\n}\n}\n}\nMOTION\nFrames: 31\n");
    const auto values = rowsOf(text);
    EXPECT_NEAR(values[1][6], 150, 1e-6) << "between the keys at frames 0 and 1.5";
    EXPECT_NEAR(values[2][6], 180, 1e-6) << "held";
    EXPECT_NEAR(values[3][6], 0, 1e-6);
    EXPECT_NEAR(values[30][9], 4, 1e-6);
    EXPECT_EQ(warnings.size(), 2u) << "names, and keys between frames";
    EXPECT_TRUE(loaded("a.bvh", text).warnings.empty());
}

TEST(Bvh, what_bvh_cannot_hold_is_said) {
    Scene scene;
    const ItemId body = scene.addItem(ItemType::object, "Body");
    const ItemId root = scene.addItem(ItemType::bone, "Root", body, body);
    std::vector<std::string> warnings;
    written(scene, "a.bvh", &warnings);
    EXPECT_TRUE(warnings.empty());

    const ItemId other = scene.addItem(ItemType::object, "Other");
    const ItemId second = scene.addItem(ItemType::bone, "Second", other, other);
    const ItemId lamp = scene.addItem(ItemType::light, "Lamp", second);
    const ItemId held = scene.addItem(ItemType::bone, "Held", lamp, other);
    scene.addItem(ItemType::camera, "Eye");
    scene.mutableMotion(body, positionX).keys.append(0, 1, Shape::linear);
    scene.mutableMotion(root, scaleY).keys.append(0, 2, Shape::linear);
    scene.mutableMotion(root, heading).keys.append(-1, 2, Shape::linear);
    scene.item(second).pivot = {0, 1, 0};
    scene.addChannel(scene.addGroup(scene.item(held).group, "Morphs"), "Smile");
    const std::string text = written(scene, "a.bvh", &warnings);
    for (const char* name : {"Root", "Second", "Held"})
        EXPECT_NE(text.find("ROOT " + std::string(name) + "\n"), std::string::npos) << text;
    for (const char* part :
         {R"(left out: light "Lamp", camera "Eye")", R"(bones: object "Body")",
          R"(scale: bone "Root")", R"(second rotation: bone "Second")",
          R"(further channels: bone "Held")", R"(root, without what it stands under: bone "Held")",
          "2 objects", "before frame 0 are left out: 1 "})
        EXPECT_EQ(std::ranges::count_if(
                      warnings, [&](const auto& w) { return w.find(part) != std::string::npos; }),
                  1)
            << part;
    EXPECT_EQ(warnings.size(), 8u);
}

TEST(Bvh, a_scene_that_bvh_cannot_be_is_refused_and_the_old_file_stays) {
    const auto path = scratch("a.bvh");
    ASSERT_TRUE(writeFile(path, "old").ok());
    const auto expectRefused = [&](const Scene& scene, const char* reason) {
        const auto result = writeScene(scene, path);
        ASSERT_FALSE(result.ok());
        EXPECT_NE(result.problem().text().find(reason), std::string::npos)
            << result.problem().text();
        EXPECT_EQ(bytesOf(path), "old");
    };
    Scene scene;
    const ItemId body = scene.addItem(ItemType::object, "Body");
    expectRefused(scene, "no bones");
    const ItemId bone = scene.addItem(ItemType::bone, "Bone", body, body);
    scene.lastFrame = 1'999'999'999;
    expectRefused(scene, "too many");
    scene.lastFrame = 3;
    scene.mutableMotion(bone, pitch).keys.append(0, std::nan(""), Shape::linear);
    expectRefused(scene, "frame 0 is not finite");
}

TEST(Bvh, the_example_walks_forward_on_the_ground) {
    auto read = readScene(std::filesystem::path(CADENCORA_SOURCE_DIR) / "examples" / "walk.bvh");
    ASSERT_TRUE(read.ok()) << read.problem().text();
    const Scene& scene = read->scene;
    EXPECT_EQ(scene.rate, FrameRate::of(120));
    double travelled = 0, before = 0;
    for (std::int64_t f = 0; f <= scene.lastFrame; ++f) {
        const double time = scene.rate.timeOf(f);
        double lowest = 1e9;
        for (const char* foot : {"LeftToe", "RightToe", "LeftFoot", "RightFoot"})
            lowest = std::min(lowest, worldPosition(scene, named(scene, foot), time)[1]);
        EXPECT_GT(lowest, -0.5) << "frame " << f; // centimetres
        EXPECT_LT(lowest, 5) << "frame " << f;
        const double hips = worldPosition(scene, named(scene, "Hips"), time)[2];
        EXPECT_GT(hips, before - 1e-6);
        travelled = before = hips;
    }
    EXPECT_GT(travelled, 200);
}

} // namespace
} // namespace cadencora::stage::bvh
