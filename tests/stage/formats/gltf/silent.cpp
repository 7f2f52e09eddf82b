// Motion that would come out wrong without a word.

#include "stage/formats/gltf/animation/knots.h"
#include "stage/scene/mesh/mesh.h"
#include "tests/stage/formats/gltf/document.h"

#include <cmath>
#include <numbers>

namespace cadencora::stage::gltf {
namespace {

constexpr double pi = std::numbers::pi;

// Node A moves by one sampler of this kind at 0, 0.5 and 1 seconds.
Document moving(const char* interpolation) {
    auto document = Document::twoClips();
    document.json["animations"][0]["samplers"][0]["interpolation"] = interpolation;
    return document;
}

TEST(GltfSilent, straight_motion_on_a_node_that_was_held_comes_back_straight) {
    auto file = loaded("a.glb", moving("STEP").glb());
    for (const MotionChannel c : {positionX, positionY, positionZ}) {
        Envelope& own = curve(file.scene, "A", c);
        Envelope straight;
        for (auto key = own.keys.begin(); key; key.advance())
            straight.keys.append(key.time(), key.value(), Shape::linear);
        assign(own, straight);
    }
    const auto back = loaded("b.glb", written(file.scene, "b.glb"));
    const Envelope& x = back.scene.motion(itemNamed(back.scene, "A"), positionX);
    EXPECT_EQ(x.keys.last().shape(), Shape::linear);
    EXPECT_DOUBLE_EQ(x.evaluate(0.25), 0.5);
}

TEST(GltfSilent, smooth_keys_that_point_straight_up_have_small_slopes) {
    Document document;
    document.node(R"({"name": "N"})");
    const float h = std::sqrt(0.5f);
    // In, value, out; the second value is a pitch of 90 degrees.
    document.animate(0, 0, "rotation", document.times({0, 1}),
                     document.floats({0,    0,    0, 0, 0, 0, 0, 1, 0.5f, 0, 0, 0, //
                                      0.5f, 0.1f, 0, 0, h, 0, 0, h, 0,    0, 0, 0},
                                     "VEC4"),
                     "CUBICSPLINE");
    const auto file = loaded("up.gltf", document.embedded());
    for (const MotionChannel c : {heading, pitch, bank}) {
        const auto key = file.scene.motion(itemNamed(file.scene, "N"), c).keys.last();
        for (const Parameter slope : {incomingSlope, outgoingSlope}) {
            EXPECT_TRUE(std::isfinite(key.parameter(slope))) << c;
            EXPECT_LT(std::abs(key.parameter(slope)), 100) << c;
        }
    }
}

TEST(GltfSilent, keys_before_the_start_leave_its_value) {
    for (const Shape shape : {Shape::linear, Shape::hold}) {
        auto file = loaded("a.glb", moving("LINEAR").glb());
        for (const MotionChannel c : {positionX, positionY, positionZ}) {
            Envelope early;
            early.keys.append(-1, 0, shape);
            early.keys.append(1, 10, shape);
            assign(curve(file.scene, "A", c), early);
        }
        std::vector<std::string> warnings;
        const auto back = loaded("b.glb", written(file.scene, "b.glb", &warnings));
        EXPECT_EQ(touching(warnings, "before frame 0"), 1u);
        const Envelope& x = back.scene.motion(itemNamed(back.scene, "A"), positionX);
        const double start = shape == Shape::linear ? 5 : 0;
        EXPECT_EQ(x.keys.begin().time(), 0);
        EXPECT_DOUBLE_EQ(x.evaluate(0), start);
        EXPECT_DOUBLE_EQ(x.evaluate(0.5), shape == Shape::linear ? 7.5 : 0);
        EXPECT_DOUBLE_EQ(x.evaluate(1), 10);
    }
}

TEST(GltfSilent, times_have_their_bounds_and_keys_that_are_too_near_are_named) {
    auto file = loaded("a.glb", moving("LINEAR").glb());
    keyAt(file.scene, "A", positionY, 36, 1);
    curve(file.scene, "A", positionY).keys.insert(1.25, 2, Shape::linear);
    curve(file.scene, "A", positionY).keys.insert(std::nextafter(1.25, 2), 3, Shape::linear);
    std::vector<std::string> warnings;
    const auto after = documentOf(written(file.scene, "b.glb", &warnings));
    EXPECT_EQ(touching(warnings, "too close"), 1u);
    EXPECT_EQ(touching(warnings, "A"), 1u);
    const Json& sampler = after.json["animations"][0]["samplers"][0];
    const Json& input = after.json["accessors"][sampler["input"].get<std::size_t>()];
    const auto bytes = viewBytes(after, input["bufferView"].get<std::size_t>());
    std::vector<float> times(input["count"].get<std::size_t>());
    std::memcpy(times.data(), bytes.data() + input.value("byteOffset", std::size_t{0}),
                times.size() * sizeof(float));
    EXPECT_EQ(input["min"], Json::array({times.front()}));
    EXPECT_EQ(input["max"], Json::array({times.back()}));
    EXPECT_EQ(times.back(), 1.5f);
}

TEST(GltfSilent, a_skin_over_several_roots_moves_with_each_of_them) {
    Document document;
    document.node(R"({"name": "Left", "translation": [-1, 0, 0]})");
    document.node(R"({"name": "Right", "translation": [1, 0, 0]})");
    const std::size_t mesh = document.mesh({-1, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, 2});
    document.primitive(mesh)["attributes"]["JOINTS_0"] = document.numbers(
        std::vector<std::uint8_t>{0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}, "VEC4", 5121, 4);
    document.primitive(mesh)["attributes"]["WEIGHTS_0"] =
        document.floats({1, 0, 0, 0, 1, 0, 0, 0, 0.5f, 0.5f, 0, 0}, "VEC4");
    const std::size_t inverse = document.floats({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1,  0, 0, 1,
                                                 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1},
                                                "MAT4");
    document.json["accessors"][inverse]["count"] = 2;
    document.json["skins"] = {{{"joints", {0, 1}}, {"inverseBindMatrices", inverse}}};
    document.node(R"({"name": "Body", "mesh": 0, "skin": 0})");
    ReadOptions options;
    options.meshes = true;
    auto file = loaded("skin.gltf", document.embedded(), options);
    for (const char* joint : {"Left", "Right"})
        EXPECT_EQ(file.scene.item(itemNamed(file.scene, joint)).type, ItemType::bone);
    const ItemId body = itemNamed(file.scene, "Body");
    ASSERT_TRUE(file.scene.item(body).mesh);
    keyAt(file.scene, "Right", positionY, 0, 2);
    std::vector<Affine> world;
    for (std::size_t i = 0; i < file.scene.itemCount(); ++i)
        world.push_back(worldTransform(file.scene, Scene::itemAt(i), 0));
    const auto points = meshPoints(file.scene, body, 0, world);
    const Vec3 expected[] = {{-1, 0, 0}, {1, 2, 0}, {0, 2, 0}};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(points[i][c], expected[i][c], 1e-6) << i << " " << c;
}

TEST(GltfSilent, a_rate_is_found_within_the_roundings_of_its_times_and_no_further) {
    for (const bool isOff : {false, true}) {
        Document document;
        document.node(R"({"name": "N"})");
        std::vector<float> times;
        for (int frame = 0; frame < 90; ++frame)
            times.push_back(static_cast<float>(frame) / 30 + (isOff && frame == 60 ? 1e-5f : 0));
        document.animate(0, 0, "translation", document.times(times),
                         document.floats(std::vector<float>(270), "VEC3"));
        const auto file = loaded("rate.gltf", document.embedded());
        const auto key = file.scene.motion(itemNamed(file.scene, "N"), positionX).keys.atOrAfter(2);
        EXPECT_EQ(key.time() == 2, !isOff) << "a key beside its frame stays beside it";
        EXPECT_EQ(touching(file.notes, "no usual rate"), isOff ? 1u : 0u);
    }
}

TEST(GltfSilent, a_name_that_looks_like_what_stands_for_a_buffer_is_a_name) {
    Scene scene;
    for (const char* name : {"data:#", "data:#0#", "data:##0#"})
        scene.addItem(ItemType::object, name);
    scene.mutableMotion(Scene::itemAt(0), positionX).keys.append(0, 1, Shape::linear);
    const auto back = loaded("a.gltf", written(scene, "a.gltf"));
    ASSERT_EQ(back.scene.itemCount(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(back.scene.item(Scene::itemAt(i)).name, scene.item(Scene::itemAt(i)).name);
    EXPECT_EQ(back.scene.motion(Scene::itemAt(0), positionX).evaluate(0), 1);
}

TEST(GltfSilent, limits_hold_at_their_last_and_first_number) {
    const auto nested = [](std::size_t depth) {
        Document document;
        for (std::size_t i = 0; i < depth; ++i)
            document.json["nodes"].push_back(i + 1 < depth ? Json{{"children", {i + 1}}}
                                                           : Json::object());
        return document.embedded();
    };
    ReadOptions options;
    options.limits.depth = 20;
    EXPECT_TRUE(readText("deep.gltf", nested(20), options).ok());
    expectRefused(readText("deep.gltf", nested(21), options), "the limit is 20");
    options = {};
    const auto document = Document::twoClips();
    for (const auto& [keys, isRead] : {std::pair<std::size_t, bool>{24, true}, {23, false}}) {
        options.limits.keys = keys;
        const auto result = readText("keys.glb", document.glb(), options);
        EXPECT_EQ(result.ok(), isRead) << keys;
    }
    auto claims = Document::twoClips();
    claims.json["accessors"][0]["count"] = 4'000'000'000u;
    EXPECT_FALSE(readText("count.glb", claims.glb(), {}).ok());
    const FrameRate second = FrameRate::of(1).value();
    const auto most = Knots::framesBetween(0, 5'000'001, second);
    ASSERT_TRUE(most);
    EXPECT_EQ(most->size(), 5'000'000u);
    EXPECT_FALSE(Knots::framesBetween(0, 5'000'002, second));
    for (const char* rate : {"100000", "0.001", "29.9", "29.97"})
        EXPECT_TRUE(FrameRate::parse(rate)) << rate;
    for (const char* rate : {"5000000", "100001", "0.0009", "0", "-24"})
        EXPECT_FALSE(FrameRate::parse(rate)) << rate;
    EXPECT_EQ(FrameRate::parse("29.9"), FrameRate::of(299, 10));
    EXPECT_EQ(FrameRate::parse("29.97"), FrameRate::of(30000, 1001));
}

} // namespace
} // namespace cadencora::stage::gltf
