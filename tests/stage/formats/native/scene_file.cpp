// Scene files, read and written, and the table of formats.

#include "stage/formats/native/scene_file.h"

#include "stage/scene/keys/settle.h"
#include "tests/stage/formats/files.h"

#include <algorithm>
#include <random>

namespace cadencora::stage {
namespace {

void expectSameGroup(const Scene& a, GroupId inA, const Scene& b, GroupId inB) {
    const ChannelGroup &x = a.group(inA), &y = b.group(inB);
    ASSERT_EQ(x.channels.size(), y.channels.size());
    for (std::size_t i = 0; i < x.channels.size(); ++i) {
        SCOPED_TRACE(a.channelPath(x.channels[i]));
        EXPECT_EQ(a.channelPath(x.channels[i]), b.channelPath(y.channels[i]));
        expectSameCurve(a.envelope(a.channel(x.channels[i]).envelope),
                        b.envelope(b.channel(y.channels[i]).envelope));
    }
    ASSERT_EQ(x.groups.size(), y.groups.size());
    for (std::size_t i = 0; i < x.groups.size(); ++i) {
        EXPECT_EQ(a.group(x.groups[i]).name, b.group(y.groups[i]).name);
        expectSameGroup(a, x.groups[i], b, y.groups[i]);
    }
}

void expectSameScene(const Scene& a, const Scene& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.rate, b.rate);
    EXPECT_EQ(a.lastFrame, b.lastFrame);
    EXPECT_EQ(a.previewFirst, b.previewFirst);
    EXPECT_EQ(a.previewLast, b.previewLast);
    EXPECT_TRUE(sameBits(a.currentTime, b.currentTime));
    EXPECT_EQ(a.selection, b.selection);
    ASSERT_EQ(a.itemCount(), b.itemCount());
    for (std::size_t i = 0; i < a.itemCount(); ++i) {
        const Item &x = a.item(Scene::itemAt(i)), &y = b.item(Scene::itemAt(i));
        SCOPED_TRACE(x.name);
        EXPECT_EQ(x.type, y.type);
        EXPECT_EQ(x.name, y.name);
        EXPECT_EQ(x.parent, y.parent);
        EXPECT_EQ(x.owner, y.owner);
        EXPECT_EQ(x.joint, y.joint);
        for (std::size_t n = 0; n < 3; ++n) {
            EXPECT_TRUE(sameBits(x.pivot[n], y.pivot[n]));
            EXPECT_TRUE(sameBits(x.secondRotation[n], y.secondRotation[n]));
        }
        expectSameGroup(a, x.group, b, y.group);
    }
}

// One of everything that a scene can hold.
Scene fullScene() {
    Scene scene;
    scene.name = "All \"of\" it\n";
    scene.rate = FrameRate::of(24000, 1001).value();
    scene.lastFrame = 90;
    scene.previewFirst = -5;
    scene.previewLast = 33;
    scene.currentTime = 0.1 + 0.2;
    const ItemId hero = scene.addItem(ItemType::object, "Héro");
    const ItemId bone = scene.addItem(ItemType::bone, "\xff\x00 no UTF-8", hero, hero);
    const ItemId tip = scene.addItem(ItemType::bone, "", bone, hero);
    scene.addItem(ItemType::light, "Lamp", tip);
    const ItemId eye = scene.addItem(ItemType::camera, "Eye");
    scene.selection = {eye, bone};
    scene.item(tip).pivot = {1.0 / 3, -0.0, 2};
    scene.item(bone).secondRotation = {0, 0, 5e-324};
    scene.item(bone).joint = {{bank, positionX, pitch}, {{1, 2, 3}, {-0.0, 0, 1e300}}};
    scene.mutableMotion(bone, heading) = oddCurve();
    scene.mutableMotion(bone, scaleY).rest = 0;
    scene.mutableMotion(eye, bank).after = Behaviour::linear;
    KeyStore& onFrames = scene.mutableMotion(eye, positionZ).keys;
    for (int f = -3; f < 500; f += 1 + (f + 3) % 3)
        onFrames.append({scene.rate.timeOf(f), f / 3.0, Shape::linear, {}});
    const auto further = [&](GroupId group, const char* name) {
        scene.mutableEnvelope(scene.channel(scene.addChannel(group, name)).envelope) = oddCurve();
    };
    further(scene.item(eye).group, "Dissolve");
    further(scene.item(tip).group, "Position.X"); // the same name again, further down
    const GroupId face = scene.addGroup(scene.item(hero).group, "Face");
    further(scene.addGroup(face, "Mouth"), "Smile");
    further(face, "Scale.X");
    scene.addGroup(face, "");
    for (std::size_t c = 1; c <= scene.channelCount(); ++c)
        settleOnFrames(scene.mutableEnvelope(static_cast<EnvelopeId>(c)).keys, scene.rate);
    return scene;
}

TEST(SceneFile, everything_reads_back_as_the_same_bits) {
    const Scene scene = fullScene();
    const std::string text = written(scene, "full.stage");
    const auto again = loaded("full.stage", text);
    expectSameScene(scene, again.scene);
    EXPECT_EQ(written(again.scene, "again.stage"), text);

    const Scene empty;
    expectSameScene(empty, loaded("empty.stage", written(empty, "empty.stage")).scene);
}

TEST(SceneFile, a_motion_capture_scene_survives_the_way_through_a_scene_file) {
    const auto path = std::filesystem::path(CADENCORA_SOURCE_DIR) / "examples" / "walk.bvh";
    auto walk = readScene(path);
    ASSERT_TRUE(walk.ok());
    const auto again = loaded("walk.stage", written(walk->scene, "walk.stage"));
    expectSameScene(walk->scene, again.scene);
    EXPECT_EQ(written(again.scene, "walk.bvh"), bytesOf(path));
}

TEST(SceneFile, what_is_left_out_has_its_default_and_frames_have_the_times_of_the_clock) {
    const auto file = loaded("hand.stage", R"({
        "items": [
            {"type": "object", "name": "Box", "channels": [
                {"name": "Position.X", "frames": [[-1, 5], [7, 6, 4], [7.5, 6]]},
                {"name": "Dissolve", "rest": 0.5, "after": "offset-repeat"},
                {"name": "Scale.Y", "keys": [[0.25, 2, 2, 0, 0, 0, 1]]}]},
            {"type": "bone", "owner": 0}],
        "version": 1, "rate": "24000/1001", "cadencora": "scene"})");
    const Scene& scene = file.scene;
    const ItemId box = Scene::itemAt(0);
    EXPECT_EQ(scene.rate, FrameRate::of(24000, 1001));
    EXPECT_EQ(scene.lastFrame, 8) << "covers the last key";
    EXPECT_EQ(scene.previewLast, 8);
    EXPECT_EQ(scene.item(Scene::itemAt(1)).parent, ItemId::none);
    EXPECT_EQ(scene.motion(box, scaleX).rest, 1);
    auto key = scene.motion(box, positionX).keys.begin();
    EXPECT_TRUE(sameBits(key.time(), -1 / scene.rate.perSecond()));
    EXPECT_EQ(key.shape(), Shape::spline);
    key.advance();
    EXPECT_TRUE(sameBits(key.time(), scene.rate.timeOf(7)));
    EXPECT_EQ(key.shape(), Shape::hold);
    key.advance();
    EXPECT_DOUBLE_EQ(scene.rate.frameOf(key.time()), 7.5);
    EXPECT_EQ(scene.motion(box, scaleY).keys.begin().parameter(incomingSlope), 1);
    const ChannelId dissolve = scene.findChannel(scene.item(box).group, "Dissolve");
    ASSERT_NE(dissolve, ChannelId::none);
    EXPECT_EQ(scene.envelope(scene.channel(dissolve).envelope).rest, 0.5);
    EXPECT_EQ(scene.envelope(scene.channel(dissolve).envelope).after, Behaviour::offsetRepeat);
}

// A scene with this text among its members, or with this item, channel or key.
std::string sceneWith(const std::string& members) {
    return std::string(R"({"cadencora": "scene", "version": 1, )") + members + "}";
}
std::string itemWith(const std::string& members) {
    return sceneWith(R"("items": [{"type": "object"}, {"type": "light")" + members + "}]");
}
std::string channelWith(const std::string& members) {
    return itemWith(R"(, "channels": [{"name": "A"}, {"name": "B")" + members + "}]");
}

TEST(SceneFile, a_wrong_file_is_refused_with_the_place_and_what_was_expected) {
    const struct {
        std::string text, place, expected;
    } cases[]{
        {"", ":1", "not valid JSON"},
        {"{\n\"cadencora\": }", ":2", "not valid JSON"},
        {sceneWith("\"name\": 1e999"), ":1", "not valid JSON"},
        {"[]", "", "expected an object (found an array)"},
        {"{}", "", "not a Cadencora scene"},
        {R"({"cadencora": "recipe"})", "", "not a Cadencora scene"},
        {R"({"cadencora": "scene"})", "", "\"version\" is missing"},
        {R"({"cadencora": "scene", "version": 2, "new": 0})", ": version", "known is 1, found 2"},
        {sceneWith("\"nmae\": \"x\""), "", "unknown member \"nmae\" (known are \"name\","},
        {sceneWith("\"name\": \"x\", \"name\": \"y\""), ": name", "repeated"},
        {sceneWith("\"name\": [300]"), ": name[0]", "a byte from 0 to 255"},
        {sceneWith("\"rate\": 30"), ": rate", "expected a text (found a number)"},
        {sceneWith("\"rate\": \"0\""), ": rate", "24000/1001"},
        {sceneWith("\"lastFrame\": 1.5"), ": lastFrame", "whole number (found 1.5)"},
        {sceneWith("\"lastFrame\": 3e9"), ": lastFrame", "whole number"},
        {sceneWith("\"preview\": [1]"), ": preview", "expected two frames (found 1)"},
        {sceneWith("\"currentTime\": null"), ": currentTime", "a number (found null)"},
        {sceneWith("\"selection\": [0]"), ": selection[0]", "no item 0"},
        {sceneWith("\"items\": {}"), ": items", "expected an array (found an object)"},
        {sceneWith("\"items\": [{}]"), ": items[0]", "\"type\" is missing"},
        {sceneWith(R"("items": [{"type": "lamp"}])"), ": items[0].type", "found \"lamp\""},
        {sceneWith(R"("items": [{"type": "object", "parent": 0}])"), ": items[0].parent",
         "no item 0 before"},
        {sceneWith(R"("items": [{"type": "bone"}])"), ": items[0]", "\"owner\" is missing"},
        {itemWith(", \"parent\": -1"), ": items[1].parent", "no item -1"},
        {itemWith(", \"parent\": 1"), ": items[1].parent", "no item 1 before"},
        {itemWith(", \"owner\": 0"), ": items[1].owner", "only bones"},
        {itemWith(R"(}, {"type": "bone", "owner": 1)"), ": items[2].owner", "a light"},
        {itemWith(", \"pivot\": [0, 0]"), ": items[1].pivot", "three numbers (found 2)"},
        {itemWith(", \"pivot\": [0, 0, 0, 0]"), ": items[1].pivot", "three numbers (found 4)"},
        {itemWith(", \"secondRotation\": [0, true, 0]"), ": items[1].secondRotation[1]",
         "found true or false"},
        {itemWith(R"(, "joint": {"channels": ["Rotation.X"]})"), ": items[1].joint.channels[0]",
         "a motion channel"},
        {itemWith(R"(, "joint": {"channels": ["Scale.X", "Scale.X"]})"),
         ": items[1].joint.channels[1]", "repeated"},
        {itemWith(R"(, "joint": {"endSites": [1]})"), ": items[1].joint.endSites[0]", "an array"},
        {itemWith(R"(, "groups": [{"name": "G", "groups": [{}]}])"),
         ": items[1].groups[0].groups[0]", "\"name\" is missing"},
        {channelWith(", \"rest\": \"1\""), ": items[1].channels[1].rest", "a number"},
        {channelWith(", \"before\": \"loop\""), ": items[1].channels[1].before",
         "constant, repeat, mirror, offset-repeat, linear"},
        {channelWith(", \"keys\": [], \"frames\": []"), ": items[1].channels[1]", "has both"},
        {channelWith(", \"keys\": [0]"), ": items[1].channels[1].keys[0]", "an array"},
        {channelWith(", \"keys\": [[0]]"), ": items[1].channels[1].keys[0]", "a key"},
        {channelWith(", \"keys\": [[0, \"1\"]]"), ": items[1].channels[1].keys[0][1]", "a number"},
        {channelWith(", \"keys\": [[0, 1, 3]]"), ": items[1].channels[1].keys[0][2]", "a shape"},
        {channelWith(", \"keys\": [[0, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8]]"),
         ": items[1].channels[1].keys[0]", "ten numbers"},
        {channelWith(", \"keys\": [[0, 1], [1, 1], [1, 1]]"), ": items[1].channels[1].keys[2]",
         "order of their times"},
        {channelWith(", \"frames\": [[0, 1], [-0.5, 1]]"), ": items[1].channels[1].frames[1]",
         "order of their times"},
    };
    const std::string path = scratch("bad.stage").string();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const auto result = readSceneFile(c.text, path, {});
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.problem().where, path + c.place) << result.problem().text();
        EXPECT_NE(result.problem().text().find(c.expected), std::string::npos)
            << result.problem().text();
    }
}

TEST(SceneFile, limits_hold_whatever_is_nested_or_repeated) {
    const std::filesystem::path path = "deep.stage";
    for (const char* piece : {"[", "{\"groups\":["}) {
        std::string deep;
        while (deep.size() < 10'000'000)
            deep += piece;
        const auto result = readSceneFile(deep, path, {});
        ASSERT_FALSE(result.ok());
        EXPECT_NE(result.problem().text().find("nested too deeply"), std::string::npos);
    }
    ReadOptions options;
    options.limits = {1 << 20, 3, 40, 4, 3};
    const auto groups = [](int depth) {
        std::string text = ", \"groups\": [";
        for (int n = 1; n < depth; ++n)
            text += R"({"name": "", "groups": [)";
        text += "{\"name\": \"\"}]";
        for (int n = 1; n < depth; ++n)
            text += "}]";
        return text;
    };
    const std::string light = R"(}, {"type": "light")";
    const struct {
        std::string text, expected;
    } cases[]{
        {itemWith(light), ""},
        {itemWith(light + light), "too many items (the limit is 3)"},
        {itemWith(groups(3)), ""},
        {itemWith(groups(4)), "too many groups within groups"},
        {itemWith(R"(, "parent": 0}, {"type": "light", "parent": 1)"), ""},
        {channelWith(", \"keys\": [[0, 0], [1, 0], [2, 0], [3, 0]]"), ""},
        {channelWith(", \"keys\": [[0, 0], [1, 0], [2, 0], [3, 0], [4, 0]]"), "too many keys"},
    };
    for (const auto& c : cases) {
        const auto result = readSceneFile(c.text, path, options);
        EXPECT_EQ(result.ok(), c.expected.empty());
        const std::string problem = result ? "" : result.problem().text();
        EXPECT_NE(problem.find(c.expected), std::string::npos) << problem;
    }
    options.limits.depth = 2;
    EXPECT_FALSE(readSceneFile(cases[4].text, path, options).ok()) << "items below items";
    options.limits = {1 << 20, 3, 19, 4, 3};
    EXPECT_FALSE(readSceneFile(cases[5].text, path, options).ok()) << "channels";
}

TEST(SceneFile, every_truncation_and_corruption_ends_in_a_scene_or_a_problem_with_the_file) {
    const std::string path = "bad.stage";
    const std::string good = channelWith(
        R"(, "rest": -1e3, "frames": [[0, 1.5, 1], [2, -0.5]]}], "groups": [{"name": "\u00e9")");
    ASSERT_TRUE(readSceneFile(good, path, {}).ok());
    for (std::size_t at = 0; at < good.size(); ++at) {
        const auto cut = readSceneFile(good.substr(0, at), path, {});
        ASSERT_FALSE(cut.ok()) << at;
        ASSERT_TRUE(cut.problem().where.starts_with(path)) << at;
        for (const char c : {'\0', '\n', '"', '[', ']', '}', '9', '-', 'e', ',', '\xff'}) {
            std::string text = good;
            text[at] = c;
            const auto result = readSceneFile(text, path, {});
            ASSERT_TRUE(result.ok() || result.problem().where.starts_with(path)) << at;
        }
    }
}

TEST(SceneFile, a_number_that_is_not_finite_is_refused_and_the_old_file_stays) {
    const auto path = scratch("a.stage");
    ASSERT_TRUE(writeFile(path, "old").ok());
    for (const int which : {0, 1, 2}) {
        Scene scene = fullScene();
        const ItemId eye = scene.findItem("Eye");
        const double infinite = std::numeric_limits<double>::infinity();
        if (which == 0) scene.mutableMotion(eye, pitch).rest = infinite;
        if (which == 1) scene.mutableMotion(eye, pitch).keys.append(0, -infinite, Shape::hold);
        if (which == 2) scene.item(eye).pivot[1] = infinite;
        const auto result = writeScene(scene, path);
        ASSERT_FALSE(result.ok()) << which;
        EXPECT_NE(result.problem().text().find("Eye"), std::string::npos);
        EXPECT_EQ(bytesOf(path), "old");
    }
}

TEST(Format, a_name_or_content_of_another_kind_is_told_so) {
    const std::string scene = sceneWith("\"name\": \"x\"");
    const std::string walk = "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\n}\nMOTION\nFrames: 0\n"
                             "Frame Time: 0.1\n";
    EXPECT_TRUE(readText("a.BVH", walk).ok());
    EXPECT_TRUE(readText("a.Stage", scene).ok());
    const struct {
        const char* name;
        std::string text, expected;
    } cases[]{
        {"a.fbx", walk, "\".fbx\" is not known (known are .bvh (BVH), .gltf (glTF)"},
        {"walk", walk, "no extension (known are .bvh"},
        {"a.bvh", scene, "its content is Cadencora scene, whose names end in .stage"},
        {"a.stage", walk, "its content is BVH, whose names end in .bvh"},
        {"a.bvh", "cadencora motion 1\nenvelope\n", "the motion of one item, not a scene"},
        {"a.stage", "", "the file is empty"},
        {"a.bvh", "\x89PNG\r\n", "expected HIERARCHY"},
    };
    for (const auto& c : cases) {
        const auto result = readText(c.name, c.text);
        ASSERT_FALSE(result.ok()) << c.name;
        EXPECT_NE(result.problem().text().find(c.expected), std::string::npos)
            << result.problem().text();
        EXPECT_TRUE(result.problem().where.starts_with(scratch(c.name).string()));
    }
    EXPECT_FALSE(readScene(scratch("missing.bvh")).ok());
    EXPECT_FALSE(writeScene(Scene(), scratch("a.fbx")).ok());
    EXPECT_FALSE(writeScene(Scene(), scratch("none") / "a.stage").ok());
}

TEST(Format, a_reader_tells_how_far_it_is_and_stops_when_told_to) {
    const auto walk =
        readScene(std::filesystem::path(CADENCORA_SOURCE_DIR) / "examples" / "walk.bvh");
    ASSERT_TRUE(walk.ok());
    for (const char* name : {"walk.bvh", "walk.stage", "walk.gltf", "walk.glb"}) {
        const std::string text = written(walk.value().scene, name);
        std::vector<double> shares;
        ReadOptions options;
        options.progress = [&](double share) { return shares.push_back(share), true; };
        EXPECT_TRUE(readText(name, text, options).ok());
        ASSERT_GT(shares.size(), 3u) << name;
        EXPECT_TRUE(std::ranges::is_sorted(shares)) << name;
        EXPECT_GE(shares.front(), 0);
        EXPECT_LE(shares.back(), 1);
        EXPECT_GT(shares.back(), 0.5) << name;
        options.progress = [](double share) { return share < 0.5; };
        const auto stopped = readText(name, text, options);
        ASSERT_FALSE(stopped.ok()) << name;
        EXPECT_EQ(stopped.problem().what, readingStopped) << name;
    }
}

TEST(Format, a_given_rate_replaces_the_files_while_keys_keep_their_times) {
    ReadOptions options;
    options.rate = FrameRate::of(10);
    const auto file = loaded("a.stage", channelWith(", \"keys\": [[0, 1], [0.25, 2]]"), options);
    EXPECT_EQ(file.scene.rate, FrameRate::of(10));
    EXPECT_EQ(file.scene.lastFrame, 3);
    const ChannelId b = file.scene.findChannel(file.scene.item(Scene::itemAt(1)).group, "B");
    EXPECT_EQ(file.scene.envelope(file.scene.channel(b).envelope).keys.last().time(), 0.25);
}

TEST(SceneFile, items_of_one_name_get_names_of_their_own_and_are_written_with_the_old_ones) {
    const auto item = [](const char* name) {
        return std::string("{\"type\": \"object\", \"name\": \"") + name + "\"}";
    };
    const std::string text = "{\"cadencora\": \"scene\", \"version\": 1, \"items\": [" +
                             item("Head") + "," + item("Head") + "," + item("Head#2") + "," +
                             item("Head") + "," + item("Head#2") + "]}";
    const auto read = loaded("twins.stage", text);
    std::vector<std::string> names, groups, written;
    const auto collect = [&](const Scene& scene) {
        names.clear(), groups.clear(), written.clear();
        for (std::size_t i = 0; i < scene.itemCount(); ++i) {
            const Item& one = scene.item(Scene::itemAt(i));
            names.push_back(one.name);
            groups.push_back(scene.group(one.group).name);
            written.push_back(one.writtenName());
        }
    };
    const std::vector<std::string> expected{"Head", "Head#3", "Head#2", "Head#4", "Head#2#2"};
    const std::vector<std::string> original{"Head", "Head", "Head#2", "Head", "Head#2"};
    collect(read.scene);
    EXPECT_EQ(names, expected) << "a name of the file is not given to another item";
    EXPECT_EQ(groups, expected);
    EXPECT_EQ(written, original);
    for (const char* name : {"again.stage", "again.glb"}) {
        ASSERT_TRUE(writeScene(read.scene, scratch(name)).ok());
        collect(readScene(scratch(name)).value().scene);
        EXPECT_EQ(written, original) << name;
        EXPECT_EQ(names, expected) << name;
    }
}

} // namespace
} // namespace cadencora::stage
