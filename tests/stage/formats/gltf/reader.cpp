// Reading glTF: what of a document becomes what of a scene.

#include "stage/scene/transform.h"
#include "tests/stage/formats/gltf/document.h"

#include <cmath>
#include <numbers>

namespace cadencora::stage::gltf {
namespace {

constexpr double pi = std::numbers::pi;

std::vector<double> valuesOf(const Envelope& envelope) {
    std::vector<double> values;
    for (auto key = envelope.keys.begin(); key; key.advance())
        values.push_back(key.value());
    return values;
}

TEST(Gltf, nodes_become_items_with_their_names_kinds_and_parents) {
    Document document;
    document.node(R"({"name": "Body", "children": [2, 1, 3, 4]})");
    document.node(R"({"name": "Twin", "camera": 0})");
    document.node(R"({"name": "Twin", "extensions": {"KHR_lights_punctual": {"light": 0}}})");
    document.node(R"({"translation": [1, 2, 3], "scale": [2, 3, 4]})");
    document.node(R"({"name": "Hips", "children": [5]})");
    document.node(R"({"name": "Spine"})");
    document.node(R"({"name": "Skin", "mesh": 0, "skin": 0})");
    document.json["cameras"] = Json::parse("[{}]");
    document.json["meshes"] = Json::parse(R"([{"primitives": []}])");
    document.json["skins"] = Json::parse(R"([{"joints": [4, 5]}])");
    const auto file = loaded("My Rig.gltf", document.embedded());
    const Scene& scene = file.scene;
    EXPECT_EQ(scene.name, "My Rig");
    EXPECT_TRUE(file.clips.empty());
    ASSERT_EQ(scene.itemCount(), 7u);
    const ItemId body = itemNamed(scene, "Body"), skin = itemNamed(scene, "Skin"),
                 hips = itemNamed(scene, "Hips"), spine = itemNamed(scene, "Spine"),
                 plain = itemNamed(scene, "Node 3");
    EXPECT_EQ(scene.itemCount(ItemType::camera), 1u);
    EXPECT_EQ(scene.itemCount(ItemType::light), 1u);
    EXPECT_EQ(scene.item(scene.firstOfType(ItemType::light)).name, "Twin");
    EXPECT_EQ(scene.item(body).firstChild, scene.firstOfType(ItemType::light));
    EXPECT_EQ(scene.item(spine).parent, hips);
    EXPECT_EQ(scene.item(hips).parent, body);
    EXPECT_EQ(scene.item(hips).type, ItemType::bone);
    EXPECT_EQ(scene.item(hips).owner, skin);
    EXPECT_EQ(scene.item(spine).owner, skin);
    EXPECT_EQ(scene.motion(plain, positionZ).rest, 3);
    EXPECT_EQ(scene.motion(plain, scaleY).rest, 3);
}

// Who owns a joint: by the document's nodes and skins.
TEST(Gltf, every_bone_has_an_object_that_owns_it) {
    const struct {
        const char* nodes;
        const char* owner;
    } cases[]{
        // the first of two that have the skin
        {R"([{"name": "J"}, {"name": "P", "skin": 0}, {"name": "Q", "skin": 0}])", "P"},
        // below the joint: what is above the joint
        {R"([{"name": "J", "children": [1]}, {"name": "P", "skin": 0},
             {"name": "Top", "children": [0]}])",
         "Top"},
        // cameras own nothing
        {R"([{"name": "J"}, {"name": "C", "camera": 0, "children": [0], "skin": 0},
             {"name": "Top", "children": [1]}])",
         "Top"},
        // nothing at all
        {R"([{"name": "J", "children": [1]}, {"name": "P", "skin": 0}])", "file"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.nodes);
        Document document;
        document.json["nodes"] = Json::parse(one.nodes);
        document.json["cameras"] = Json::parse("[{}]");
        document.json["skins"] = Json::parse(R"([{"joints": [0]}])");
        const auto file = loaded("file.gltf", document.embedded());
        const Item& joint = file.scene.item(itemNamed(file.scene, "J"));
        EXPECT_EQ(joint.type, ItemType::bone);
        EXPECT_EQ(file.scene.item(joint.owner).name, one.owner);
    }
}

TEST(Gltf, a_matrix_is_taken_apart_mirrored_or_not) {
    for (const double mirror : {1.0, -1.0})
        for (const Vec3 angles : {Vec3{0.4, -0.3, 2}, Vec3{3, 0.2, 3.1}, Vec3{0, pi / 2, 0.5}}) {
            const Mat3 turn = rotation(angles, headingPitchBank);
            const Vec3 scale{2 * mirror, 3, 0.5}, place{7, 8, 9};
            Json matrix = Json::array();
            for (std::size_t c = 0; c < 4; ++c)
                for (std::size_t r = 0; r < 4; ++r)
                    matrix.push_back(r == 3   ? (c == 3 ? 1.0 : 0.0)
                                     : c == 3 ? place[r]
                                              : turn[r][c] * scale[c]);
            Document document;
            document.json["nodes"] = Json::array({{{"name", "M"}, {"matrix", matrix}}});
            const auto file = loaded("m.gltf", document.embedded());
            EXPECT_TRUE(file.warnings.empty());
            const Affine found = localTransform(file.scene, itemNamed(file.scene, "M"), 0);
            for (std::size_t r = 0; r < 3; ++r) {
                EXPECT_NEAR(found.offset[r], place[r], 1e-12);
                for (std::size_t c = 0; c < 3; ++c)
                    EXPECT_NEAR(found.linear[r][c], turn[r][c] * scale[c], 1e-9);
            }
        }
}

TEST(Gltf, the_three_interpolations_become_shapes_with_their_slopes) {
    const struct {
        const char* name;
        std::vector<float> output;
        Shape shape;
        double middle; // of x, at a quarter of the span from 1 to 3
    } cases[]{
        {"LINEAR", {1, 2, 3, 3, 2, 1}, Shape::linear, 1.5},
        {"STEP", {1, 2, 3, 3, 2, 1}, Shape::hold, 1},
        // slopes in, values, slopes out; the span is half a second
        {"CUBICSPLINE",
         {9, 9, 9, 1, 2, 3, 4, 0, 0, -8, 0, 0, 3, 2, 1, 9, 9, 9},
         Shape::tangents,
         (2.0 / 64 - 3.0 / 16 + 1) * 1 + (1.0 / 64 - 2.0 / 16 + 0.25) * 0.5 * 4 +
             (-2.0 / 64 + 3.0 / 16) * 3 + (1.0 / 64 - 1.0 / 16) * 0.5 * -8},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        Document document;
        document.node(R"({"name": "N"})");
        document.animate(0, 0, "translation", document.times({0, 0.5f}),
                         document.floats(one.output, "VEC3"), one.name);
        const auto file = loaded("i.gltf", document.embedded());
        const Envelope& x = file.scene.motion(itemNamed(file.scene, "N"), positionX);
        ASSERT_EQ(valuesOf(x), (std::vector<double>{1, 3}));
        EXPECT_EQ(x.keys.last().shape(), one.shape);
        EXPECT_DOUBLE_EQ(x.evaluate(0.125), one.middle);
    }
}

TEST(Gltf, rotations_go_on_turning_and_never_jump) {
    Document document;
    document.node(R"({"name": "N"})");
    std::vector<float> at, output;
    for (int key = 0; key <= 40; ++key) { // five turns, and the other sign now and then
        const double half = key * pi / 8, sign = key % 3 == 0 ? -1 : 1;
        at.push_back(static_cast<float>(key) / 30);
        for (const double number : {0.0, std::sin(half), 0.0, std::cos(half)})
            output.push_back(static_cast<float>(sign * number));
    }
    document.animate(0, 0, "rotation", document.times(at), document.floats(output, "VEC4"));
    const auto file = loaded("turn.gltf", document.embedded());
    const auto values = valuesOf(file.scene.motion(itemNamed(file.scene, "N"), heading));
    for (std::size_t key = 0; key < values.size(); ++key)
        EXPECT_NEAR(values[key], static_cast<double>(key) * pi / 4, 1e-5);
}

// The slopes of heading, pitch and bank are those of the rotation that the file describes.
TEST(Gltf, smooth_rotations_leave_each_key_as_the_file_says) {
    const std::vector<float> output{0,     0,     0,    0,    0.1f, 0.2f,  0.3f, 0.9f, // in, value
                                    0.5f,  -0.2f, 0.7f, 0.1f,                          // out
                                    -0.3f, 0.4f,  0.2f, 0.6f, 0.4f, -0.1f, 0.2f, 0.7f, 0, 0, 0, 0};
    Document document;
    document.node(R"({"name": "N"})");
    document.animate(0, 0, "rotation", document.times({0, 1}), document.floats(output, "VEC4"),
                     "CUBICSPLINE");
    const auto file = loaded("smooth.gltf", document.embedded());
    const ItemId item = itemNamed(file.scene, "N");
    const auto anglesAt = [&](double t, const Vec3& near) {
        const double t2 = t * t, t3 = t2 * t;
        std::array<double, 4> q{};
        for (std::size_t n = 0; n < 4; ++n)
            q[n] = (2 * t3 - 3 * t2 + 1) * static_cast<double>(output[4 + n]) +
                   (t3 - 2 * t2 + t) * static_cast<double>(output[8 + n]) +
                   (3 * t2 - 2 * t3) * static_cast<double>(output[16 + n]) +
                   (t3 - t2) * static_cast<double>(output[12 + n]);
        const double s = 2 / (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        const auto [x, y, z, w] = q;
        const Mat3 turn{Vec3{1 - s * (y * y + z * z), s * (x * y - z * w), s * (x * z + y * w)},
                        Vec3{s * (x * y + z * w), 1 - s * (x * x + z * z), s * (y * z - x * w)},
                        Vec3{s * (x * z - y * w), s * (y * z + x * w), 1 - s * (x * x + y * y)}};
        return anglesNear(turn, headingPitchBank, near);
    };
    const double step = 1e-6;
    for (std::size_t c = 0; c < 3; ++c) {
        const KeyStore& keys =
            file.scene.motion(item, static_cast<MotionChannel>(heading + c)).keys;
        const Vec3 start = anglesAt(0, {}), end = anglesAt(1, start);
        EXPECT_NEAR(keys.begin().value(), start[c], 1e-6);
        EXPECT_NEAR(keys.begin().parameter(outgoingSlope),
                    (anglesAt(step, start)[c] - start[c]) / step, 1e-4);
        EXPECT_NEAR(keys.last().parameter(incomingSlope),
                    (end[c] - anglesAt(1 - step, end)[c]) / step, 1e-4);
    }
}

TEST(Gltf, morphs_are_channels_of_a_group_of_the_item) {
    auto document = Document::twoClips();
    document.animate(0, 1, "weights", 1, document.floats({0, 1, 2, 3}, "SCALAR"));
    document.json["meshes"].push_back(document.json["meshes"][0]);
    document.json["meshes"][1].erase("extras");
    document.json["meshes"][1]["weights"] = {0.125};
    document.node(R"({"name": "C", "mesh": 1})");
    const auto file = loaded("morph.gltf", document.embedded());
    const Scene& scene = file.scene;
    const auto morphs = [&](const char* name) {
        const auto& groups = scene.group(scene.item(itemNamed(scene, name)).group).groups;
        EXPECT_EQ(groups.size(), 1u);
        EXPECT_EQ(scene.group(groups.front()).name, "Morph");
        return scene.group(groups.front()).channels;
    };
    const auto b = morphs("B"), c = morphs("C");
    ASSERT_EQ(b.size(), 2u);
    EXPECT_EQ(scene.channelPath(b[1]), "B/Morph/Smile");
    const Envelope& second = scene.envelope(scene.channel(b[1]).envelope);
    EXPECT_EQ(second.rest, 0.5);
    EXPECT_EQ(valuesOf(second), (std::vector<double>{1, 3}));
    EXPECT_EQ(scene.channel(c[1]).name, "Morph 1");
    EXPECT_EQ(scene.envelope(scene.channel(c[0]).envelope).rest, 0.125);
}

TEST(Gltf, the_frame_rate_is_the_one_whose_frames_the_keys_stand_on) {
    const struct {
        double perSecond; // of the file's times
        const char* rate; // found
        bool onFrames;
    } cases[]{{24, "24", true},
              {25, "25", true},
              {30, "30", true},
              {60, "60", true},
              {120, "120", true},
              {48, "48", true},
              {24000 / 1001.0, "24000/1001", true},
              {30000 / 1001.0, "30000/1001", true},
              {15, "30", true},
              {12, "24", true},
              {1, "30", true},
              {37.3, "30", false}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.perSecond);
        std::vector<float> at;
        for (int frame = 0; frame < 2000; ++frame)
            at.push_back(static_cast<float>(frame / one.perSecond));
        Document document;
        document.node(R"({"name": "N"})");
        document.animate(0, 0, "translation", document.times(at),
                         document.floats(std::vector<float>(6000), "VEC3"));
        const auto file = loaded("rate.gltf", document.embedded());
        EXPECT_EQ(file.scene.rate.text(), one.rate);
        ASSERT_EQ(file.notes.size(), 1u);
        EXPECT_NE(file.notes[0].find(std::string(one.rate) + " frames per second"),
                  std::string::npos);
        std::size_t exact = 0;
        const KeyStore& keys = file.scene.motion(Scene::itemAt(0), positionX).keys;
        for (auto key = keys.begin(); key; key.advance())
            exact += file.scene.rate.frameOf(key.time()) ==
                     std::round(file.scene.rate.frameOf(key.time()));
        EXPECT_EQ(exact == 2000, one.onFrames);
        ReadOptions options;
        options.rate = FrameRate::parse("90");
        const auto wanted = loaded("rate.gltf", document.embedded(), options);
        EXPECT_EQ(wanted.scene.rate, FrameRate::of(90));
        EXPECT_NEAR(wanted.scene.motion(Scene::itemAt(0), positionX).keys.last().time(),
                    1999 / one.perSecond, 1e-4);
    }
}

TEST(Gltf, one_clip_is_open_and_an_unknown_one_is_named) {
    const std::string text = Document::twoClips().embedded();
    ReadOptions options;
    const auto first = loaded("clips.gltf", text);
    EXPECT_EQ(first.clips, (std::vector<std::string>{"Clip 0", "Clip 1"}));
    EXPECT_EQ(first.clip, "Clip 0");
    EXPECT_EQ(first.scene.keyCount(), 24u);
    options.clip = "Clip 1";
    const auto second = loaded("clips.gltf", text, options);
    EXPECT_EQ(second.clip, "Clip 1");
    EXPECT_EQ(second.scene.keyCount(), 6u);
    EXPECT_EQ(second.scene.lastFrame, 30);
    options.clip = "Walk";
    expectRefused(readText("clips.gltf", text, options), "\"Walk\" (\"Clip 0\", \"Clip 1\")");
    auto twins = Document::twoClips();
    for (const char* name : {"Clip 0", "Clip 0#2", "Clip 0"}) {
        twins.json["animations"].push_back(Json(twins.json["animations"][1]));
        twins.json["animations"].back()["name"] = name;
    }
    EXPECT_EQ(loaded("twins.gltf", twins.embedded()).clips,
              (std::vector<std::string>{"Clip 0", "Clip 1", "Clip 0#3", "Clip 0#2", "Clip 0#4"}));
}

TEST(Gltf, numbers_of_every_type_are_read_with_strides_and_sparse_ones) {
    Document document;
    for (int n = 0; n < 4; ++n)
        document.node("{}");
    const std::size_t at = document.times({0, 0.5f});
    const std::vector<std::int16_t> turns{0, 0, 0, 32767, 23170, 0, 0, 23170};
    const std::size_t turn = document.numbers(turns, "VEC4", 5122, 4);
    document.json["accessors"][turn]["normalized"] = true;
    document.animate(0, 0, "rotation", at, turn);
    // A view with room between its elements, and a place before the first.
    const std::size_t wide = document.floats({9, 1, 2, 3, 9, 4, 5, 6}, "VEC4");
    document.json["bufferViews"].back()["byteStride"] = 16;
    document.json["accessors"][wide]["type"] = "VEC3";
    document.json["accessors"][wide]["byteOffset"] = 4;
    document.animate(0, 1, "translation", at, wide);
    const std::size_t sparse = document.floats({1, 1, 1, 1, 1, 1}, "VEC3");
    document.numbers(std::vector<std::uint16_t>{1}, "SCALAR", 5123, 1);
    const std::size_t index = document.json["bufferViews"].size() - 1;
    document.floats({7, 8, 9}, "VEC3");
    document.json["accessors"][sparse]["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", index}, {"componentType", 5123}}},
        {"values", {{"bufferView", index + 1}}}};
    document.animate(0, 2, "scale", at, sparse);
    const std::vector<std::int8_t> weights{0, 127, -128, -127};
    const std::size_t weight = document.numbers(weights, "SCALAR", 5120, 1);
    document.json["accessors"][weight]["normalized"] = true;
    document.json["meshes"] =
        Json::parse(R"([{"primitives": [{"attributes": {}, "targets": [{}, {}]}]}])");
    document.json["nodes"][3]["mesh"] = 0;
    document.animate(0, 3, "weights", at, weight);

    const auto file = loaded("types.glb", document.glb());
    const auto last = [&](std::size_t node, MotionChannel channel) {
        return valuesOf(file.scene.motion(Scene::itemAt(node), channel)).at(1);
    };
    EXPECT_NEAR(last(0, pitch), pi / 2, 1e-4);
    EXPECT_EQ(last(1, positionY), 5);
    EXPECT_EQ(last(2, scaleZ), 9);
    EXPECT_EQ(file.scene.motion(Scene::itemAt(2), scaleZ).evaluate(0), 1);
    const auto& group = file.scene.group(file.scene.item(Scene::itemAt(3)).group).groups.front();
    const auto morph = [&](std::size_t target) {
        const ChannelId id = file.scene.group(group).channels[target];
        return valuesOf(file.scene.envelope(file.scene.channel(id).envelope));
    };
    EXPECT_EQ(morph(0), (std::vector<double>{0, -1}));
    EXPECT_EQ(morph(1), (std::vector<double>{1, -1}));
}

} // namespace
} // namespace cadencora::stage::gltf
