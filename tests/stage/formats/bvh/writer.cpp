// Writing BVH: what comes back number by number, and what is lost.

#include "stage/formats/bvh/bvh.h"
#include "stage/scene/transform.h"
#include "tests/stage/formats/bvh/text.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage::bvh {
namespace {

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
    if (paths.size() < 4) GTEST_SKIP() << "the real files are missing";
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

TEST(Bvh, what_a_reader_takes_a_writer_and_a_scene_file_take_too) {
    std::string deep = "HIERARCHY\n", end, row;
    for (int i = 0; i < 512; ++i) {
        deep += (i == 0 ? "ROOT J" : "JOINT J") + std::to_string(i) +
                "\n{\nOFFSET 0 1 0\nCHANNELS 1 Zrotation\n";
        end += i == 0 ? "End Site\n{\nOFFSET 0 1 0\n}\n}\n" : "}\n";
        row += "0 ";
    }
    const std::string still = "HIERARCHY\nROOT A\n{\nOFFSET 0 1 0\nCHANNELS 1 Zrotation\n"
                              "End Site\n{\nOFFSET 0 1 0\n}\n}\n"
                              "MOTION\nFrames: 0\nFrame Time: 0.0208333333\n";
    for (const std::string& text :
         {deep + end + "MOTION\nFrames: 1\nFrame Time: 0.100000\n" + row + "\n", still}) {
        const std::string first = written(loaded("a.bvh", text).scene, "a.bvh");
        const std::string scene = written(loaded("b.bvh", text).scene, "b.stage");
        EXPECT_EQ(written(loaded("c.stage", scene).scene, "c.bvh"), first);
    }
    EXPECT_NE(written(loaded("d.bvh", still).scene, "d.bvh").find("Frames: 0"), std::string::npos);
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
    EXPECT_NE(slow.find("Frames: 3\nFrame Time: 0.0333333333\n"), std::string::npos) << slow;
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

TEST(Bvh, a_key_that_is_off_its_frame_by_a_rounding_is_on_it) {
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
          R"(further channels: bone "Held")", R"(root, without its parent: bone "Held")",
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
    const auto check = [&](const Scene& scene, const char* reason) {
        expectRefused(writeScene(scene, path), reason);
        EXPECT_EQ(bytesOf(path), "old");
    };
    Scene scene;
    const ItemId body = scene.addItem(ItemType::object, "Body");
    check(scene, "no bones");
    const ItemId bone = scene.addItem(ItemType::bone, "Bone", body, body);
    scene.lastFrame = 1'999'999'999;
    check(scene, "too many");
    scene.lastFrame = 3;
    scene.mutableMotion(bone, pitch).keys.append(0, std::nan(""), Shape::linear);
    check(scene, "frame 0 is not finite");
}

} // namespace
} // namespace cadencora::stage::bvh
