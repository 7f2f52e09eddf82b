// Edited curves as samplers: on frames, and between them where glTF has such curves.

#include "stage/formats/gltf/animation/merge.h"
#include "stage/formats/gltf/document/quaternion.h"
#include "stage/scene/transform.h"
#include "tests/stage/formats/gltf/document.h"

#include <cmath>
#include <numbers>
#include <random>

namespace cadencora::stage::gltf {
namespace {

constexpr double pi = std::numbers::pi;

Envelope curveOf(const std::vector<KeyData>& keys) {
    Envelope envelope;
    for (const KeyData& key : keys)
        envelope.keys.append(key);
    return envelope;
}

struct Merge {
    const char* name;
    std::array<std::vector<KeyData>, 3> keys;
    const char* interpolation;
    std::size_t count; // of keys in the file
    bool isExact;      // between frames, too
};

TEST(GltfWrite, curves_of_a_node_become_one_sampler_that_says_the_same) {
    const auto k = [](double frame, double value, Shape shape, double in = 0, double out = 0) {
        return KeyData{frame / 24, value, shape, {0, 0, 0, in, out}};
    };
    const Shape l = Shape::linear, h = Shape::hold, s = Shape::spline, t = Shape::tangents;
    const std::vector<Merge> merges{
        {"straight at different times",
         {{{k(0, 1, l), k(10, 2, l)}, {k(5, 3, l), k(20, -4, l)}, {}}},
         "LINEAR",
         4,
         true},
        {"held at different times",
         {{{k(0, 1, h), k(10, 2, h)}, {k(5, 3, h), k(20, -4, h)}, {}}},
         "STEP",
         4,
         true},
        {"tangents at the same times",
         {{{k(0, 1, t, 0, 5), k(9, 2, t, -7, 3)},
           {k(0, 1, t, 1, 1), k(9, 0, t, 2, 2)},
           {k(0, 0, t), k(9, 1, t)}}},
         "CUBICSPLINE",
         2,
         true},
        {"smooth, straight and tangents at different times",
         {{{k(0, 0, s), k(10, 5, s), k(20, 1, s), k(30, 4, l)},
           {k(0, 1, l), k(15, 2, l)},
           {k(3, 0, t, 0, 9), k(33, 3, t, -9, 0)}}},
         "CUBICSPLINE",
         7,
         true},
        {"only one key", {{{k(4, 2, s)}, {}, {}}}, "LINEAR", 1, true},
        {"held beside straight: on frames",
         {{{k(0, 0, h), k(10, 1, h)}, {k(0, 0, l), k(10, 1, l)}, {}}},
         "LINEAR",
         11,
         false},
        {"between frames", {{{k(0.25, 0, l), k(7.5, 1, l)}, {k(1, 0, l)}, {}}}, "LINEAR", 3, true},
    };
    for (const Merge& one : merges) {
        SCOPED_TRACE(one.name);
        auto document = Document::twoClips();
        auto file = loaded("m.glb", document.glb());
        for (std::size_t c = 0; c < 3; ++c)
            assign(curve(file.scene, "A", static_cast<MotionChannel>(positionX + c)),
                   curveOf(one.keys[c]));
        std::vector<std::string> warnings;
        const std::string bytes = written(file.scene, "m.glb", &warnings);
        EXPECT_EQ(warnings.empty(), one.isExact);
        const auto after = documentOf(bytes);
        const Json& sampler = after.json["animations"][0]["samplers"][0];
        EXPECT_EQ(sampler["interpolation"], one.interpolation);
        EXPECT_EQ(after.json["accessors"][sampler["input"].get<std::size_t>()]["count"], one.count);
        const auto back = loaded("m.glb", bytes);
        for (const MotionChannel c : {positionX, positionY, positionZ})
            for (double frame = -5; frame < 40; frame += one.isExact ? 0.3 : 1) {
                const double was = curve(file.scene, "A", c).evaluate(frame / 24);
                EXPECT_NEAR(back.scene.motion(itemNamed(back.scene, "A"), c).evaluate(frame / 24),
                            was, 2e-6)
                    << frame;
            }
    }
}

// Rotations between keys as a player of the file sees them: the shorter arc from key to key.
TEST(GltfWrite, rotations_turn_on_frames_as_the_scene_does) {
    const struct {
        const char* name;
        std::vector<std::array<double, 4>> keys; // frame, heading, pitch, bank
        Shape shape;
        std::size_t count; // of keys in the file; 0: some more than the scene's
    } cases[]{
        {"one axis", {{0, 0, 0, 0}, {30, pi / 2, 0, 0}}, Shape::linear, 2},
        {"three axes", {{0, 0, 0, 0}, {30, 2, 1, -1}}, Shape::linear, 0},
        {"four turns", {{0, 0, 0, 0}, {60, 8 * pi, 0, 0}}, Shape::linear, 0},
        {"held", {{0, 0, 1, 0}, {10, 2, 1, -1}, {20, 0, 0, 0}}, Shape::hold, 3},
        {"smooth", {{0, 0, 0, 0}, {20, 1, 0.5, 0}, {40, 0, 1.2, 3}}, Shape::spline, 0},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        auto document = Document::twoClips();
        auto file = loaded("r.glb", document.glb());
        for (std::size_t c = 0; c < 3; ++c) {
            Envelope& to = curve(file.scene, "A", static_cast<MotionChannel>(heading + c));
            to.keys.clear();
            for (const auto& key : one.keys)
                to.keys.append(key[0] / 24, key[1 + c], one.shape);
        }
        std::vector<std::string> warnings;
        const std::string bytes = written(file.scene, "r.glb", &warnings);
        EXPECT_EQ(touching(warnings, "keys were added on frames"), one.count == 0 ? 1u : 0u);
        const auto back = loaded("r.glb", bytes);
        const ItemId a = itemNamed(back.scene, "A");
        const std::size_t keys = back.scene.motion(a, heading).keys.size();
        if (one.count > 0) {
            EXPECT_EQ(keys, one.count);
        }
        EXPECT_LE(keys, one.keys.back()[0] + 1);
        for (int frame = 0; frame <= one.keys.back()[0]; ++frame) {
            const Mat3 was =
                rotation(motionValues(file.scene, a, heading, frame / 24.0), headingPitchBank);
            const Mat3 is =
                rotation(motionValues(back.scene, a, heading, frame / 24.0), headingPitchBank);
            for (std::size_t r = 0; r < 3; ++r)
                for (std::size_t c = 0; c < 3; ++c)
                    ASSERT_NEAR(was[r][c], is[r][c], 3e-3) << frame;
        }
    }
}

TEST(GltfWrite, rotations_that_were_not_edited_keep_their_numbers) {
    for (const bool cubic : {false, true}) {
        Document document;
        document.node(R"({"name": "A"})");
        std::vector<float> at, output;
        for (int key = 0; key < 20; ++key) { // not of the length 1, signs at random
            at.push_back(static_cast<float>(key) * 4 / 24);
            const double sign = key % 3 == 1 ? -1.001 : 0.999;
            const Quaternion q = quaternionOf({0.3 * key, 0.2 * key, std::sin(key)});
            for (int part = 0; part < (cubic ? 3 : 1); ++part)
                for (const double number : q)
                    output.push_back(static_cast<float>(sign * number * (part == 1 || !cubic)));
        }
        const std::size_t times = document.times(at);
        document.animate(0, 0, "rotation", times, document.floats(output, "VEC4"),
                         cubic ? "CUBICSPLINE" : "LINEAR");
        auto file = loaded("q.glb", document.glb());
        curve(file.scene, "A", pitch).keys.insert(file.scene.rate.timeOf(40), -2, Shape::linear);
        std::vector<std::string> warnings;
        const auto after = documentOf(written(file.scene, "q.glb", &warnings));
        // Frame 40 is key 10. The keys up to the one before and from the one after it on are as
        // they were, except that a rotation has two signs.
        const auto numbers = viewBytes(after, 1), before = viewBytes(document, 1);
        const std::size_t size = 16 * (cubic ? 3 : 1);
        EXPECT_EQ(numbers.substr(0, 10 * size), before.substr(0, 10 * size));
        const auto tail = [&](std::string_view bytes, bool negated) {
            std::vector<float> found(9 * size / 4);
            std::memcpy(found.data(), bytes.substr(bytes.size() - 9 * size).data(), 9 * size);
            for (float& number : found)
                number = negated && number != 0 ? -number : number + 0.0f;
            return found;
        };
        EXPECT_TRUE(tail(numbers, false) == tail(before, false) ||
                    tail(numbers, false) == tail(before, true));
    }
}

// What is said of rotations that a file cannot hold exactly is the greatest difference: no time
// between the keys exceeds it.
TEST(GltfCurves, no_rotation_is_further_off_than_is_said) {
    std::mt19937 random{3};
    const auto number = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const FrameRate rate;
    for (int run = 0; run < 150; ++run) {
        std::array<Envelope, 3> curves;
        std::array<const Envelope*, 3> all{&curves[0], &curves[1], &curves[2]};
        for (Envelope& curve : curves)
            for (double frame = 0; frame < 40; frame += 1 + std::floor(number(0, 9)))
                curve.keys.append(rate.timeAt(frame), number(-2.5, 2.5),
                                  run % 2              ? Shape::spline
                                  : number(0, 1) < 0.4 ? Shape::hold
                                                       : Shape::linear);
        auto merged = mergeRotation(all, rate, Interpolation::linear, nullptr);
        ASSERT_TRUE(merged.ok());
        const Track& track = merged->track;
        const bool cubic = track.interpolation == Interpolation::cubic;
        if (track.interpolation == Interpolation::step) continue;
        double worst = 0;
        const auto quaternion = [](const auto& value) {
            return Quaternion{value[0], value[1], value[2], value[3]};
        };
        // As players do it.
        const auto between = [&](std::size_t k, double u, double length) {
            const Quaternion a = quaternion(track.value(k)), b = quaternion(track.value(k + 1));
            if (!cubic) return slerp(a, b, u);
            const Quaternion leaving = quaternion(track.leaving(k));
            const Quaternion arriving = quaternion(track.arriving(k + 1));
            const double u2 = u * u, u3 = u2 * u;
            Quaternion q{};
            for (std::size_t n = 0; n < 4; ++n)
                q[n] = (2 * u3 - 3 * u2 + 1) * a[n] + (u3 - 2 * u2 + u) * length * leaving[n] +
                       (3 * u2 - 2 * u3) * b[n] + (u3 - u2) * length * arriving[n];
            return normalized(q);
        };
        for (std::size_t k = 0; k + 1 < track.times->size(); ++k) {
            const double from = static_cast<double>((*track.times)[k]);
            const double to = static_cast<double>((*track.times)[k + 1]);
            for (int i = 1; i < 100; ++i) {
                const double time = from + i / 100.0 * (to - from);
                const Vec3 angles{curves[0].evaluate(time), curves[1].evaluate(time),
                                  curves[2].evaluate(time)};
                worst = std::max(
                    worst, angleBetween(between(k, i / 100.0, to - from), quaternionOf(angles)));
            }
        }
        EXPECT_LE(worst, merged->error + 1e-5) << run;
        EXPECT_GE(worst, 0.9 * merged->error) << "and it is met nearly";
    }
}

} // namespace
} // namespace cadencora::stage::gltf
