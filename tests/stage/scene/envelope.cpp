// The values of curves.

#include "stage/scene/keys/envelope.h"

#include <cmath>
#include <gtest/gtest.h>

namespace cadencora::stage {
namespace {

Envelope curve(std::initializer_list<KeyData> keys) {
    Envelope envelope;
    for (const KeyData& key : keys)
        envelope.keys.append(key);
    return envelope;
}

TEST(Envelope, has_the_rest_value_without_keys_and_the_keys_value_at_each_key) {
    Envelope envelope;
    envelope.rest = 2.5;
    EXPECT_EQ(envelope.evaluate(7), 2.5);
    for (const Shape shape : {Shape::spline, Shape::linear, Shape::tangents, Shape::hold}) {
        envelope = curve({{0, 1, shape, {}}, {1, 4, shape, {}}, {3, -2, shape, {}}});
        EXPECT_EQ(envelope.evaluate(0), 1);
        EXPECT_EQ(envelope.evaluate(1), 4);
        EXPECT_EQ(envelope.evaluate(3), -2);
        EXPECT_EQ(envelope.evaluate(-5), 1);
        EXPECT_EQ(envelope.evaluate(9), -2);
    }
}

TEST(Envelope, the_shape_of_the_arriving_key_makes_the_span) {
    const auto between = [](Shape shape) {
        return curve({{0, 0, Shape::linear, {}}, {2, 4, shape, {}}}).evaluate(0.5);
    };
    EXPECT_EQ(between(Shape::linear), 1);
    EXPECT_EQ(between(Shape::hold), 0);
    EXPECT_EQ(between(Shape::spline), 1) << "a curve of two keys is straight";
    EXPECT_EQ(between(Shape::tangents), 4 * (3 * 0.0625 - 2 * 0.015625)) << "flat at both ends";
}

TEST(Envelope, explicit_tangents_reproduce_the_cubic_that_they_describe) {
    const auto cubic = [](double t) { return t * t * t - 2 * t * t + 0.5 * t + 3; };
    const auto slope = [](double t) { return 3 * t * t - 4 * t + 0.5; };
    Envelope envelope;
    for (const double t : {-1.0, 0.5, 2.0, 2.75}) {
        KeyData key{t, cubic(t), Shape::tangents, {}};
        key.parameters[incomingSlope] = key.parameters[outgoingSlope] = slope(t);
        envelope.keys.append(key);
    }
    for (double t = -1; t <= 2.75; t += 0.05)
        EXPECT_NEAR(envelope.evaluate(t), cubic(t), 1e-12);

    // A key placed on the curve leaves the curve as it is.
    envelope.placeKey(1.3, envelope.evaluate(1.3));
    for (double t = -1; t <= 2.75; t += 0.05)
        EXPECT_NEAR(envelope.evaluate(t), cubic(t), 1e-12);
}

TEST(Envelope, a_spline_is_straight_where_its_keys_are_however_unevenly_they_lie) {
    Envelope line;
    for (const double t : {0.0, 0.1, 1.0, 4.0, 4.5})
        line.keys.append(t, 2 * t - 1, Shape::spline);
    for (double t = 0; t <= 4.5; t += 0.01)
        ASSERT_NEAR(line.evaluate(t), 2 * t - 1, 1e-12);

    // Full tension flattens the curve at the key; bias and continuity bend it.
    const auto through = [](double t, double c, double b, double at) {
        KeyData middle{1, 1, Shape::spline, {t, c, b}};
        return curve({{0, 0, Shape::spline, {}}, middle, {2, 0.5, Shape::spline, {}}}).evaluate(at);
    };
    EXPECT_NEAR((through(1, 0, 0, 1.0001) - 1) / 0.0001, 0, 1e-3);
    EXPECT_NEAR((through(0, 0, 1, 1.0001) - 1) / 0.0001, 1, 1e-2) << "leaves as it came";
    EXPECT_NEAR((through(0, 0, -1, 1.0001) - 1) / 0.0001, -0.5, 1e-2) << "leaves as it goes on";
    EXPECT_NEAR((1 - through(0, -1, 0, 0.9999)) / 0.0001, 1, 1e-2) << "a corner, arriving";
    EXPECT_NEAR((through(0, -1, 0, 1.0001) - 1) / 0.0001, -0.5, 1e-2) << "a corner, leaving";
}

TEST(Envelope, tension_flattens_the_outermost_keys_and_straight_lines_go_on_from_their_own_end) {
    const auto edge = [](double first, double last, double at) {
        return curve({{0, 0, Shape::spline, {first}}, {1, 1, Shape::spline, {last}}}).evaluate(at);
    };
    EXPECT_NEAR(edge(0, 0, 1e-4), 1e-4, 1e-7);
    EXPECT_NEAR(edge(1, 0, 1e-4), 0, 1e-7) << "flat at the first key";
    EXPECT_NEAR(edge(0.5, 0, 1e-4), 0.5e-4, 1e-7);
    EXPECT_NEAR(1 - edge(0, 1, 1 - 1e-4), 0, 1e-7) << "flat at the last key";
    EXPECT_NEAR(1 - edge(1, 0, 1 - 1e-4), 1e-4, 1e-7);

    Envelope bent = curve({{0, 0, Shape::linear, {}},
                           {1, 1, Shape::linear, {}},
                           {2, 1, Shape::linear, {}},
                           {3, 4, Shape::linear, {}}});
    bent.before = bent.after = Behaviour::linear;
    EXPECT_EQ(bent.evaluate(-2), -2);
    EXPECT_EQ(bent.evaluate(5), 10);
}

TEST(Envelope, goes_on_outside_its_keys_as_its_behaviours_say) {
    Envelope ramp = curve({{1, 10, Shape::linear, {}}, {3, 14, Shape::linear, {}}});
    struct Case {
        Behaviour behaviour;
        double before, justAfter, farAfter; // at -0.5, 3.5 and 6
    };
    const Case cases[] = {
        {Behaviour::constant, 10, 14, 14}, {Behaviour::repeat, 11, 11, 12},
        {Behaviour::mirror, 13, 13, 12},   {Behaviour::offsetRepeat, 7, 15, 20},
        {Behaviour::linear, 7, 15, 20},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.behaviour));
        ramp.before = ramp.after = c.behaviour;
        EXPECT_NEAR(ramp.evaluate(-0.5), c.before, 1e-12);
        EXPECT_NEAR(ramp.evaluate(3.5), c.justAfter, 1e-12);
        EXPECT_NEAR(ramp.evaluate(6), c.farAfter, 1e-12);
        EXPECT_EQ(ramp.evaluate(2), 12);
    }
    Envelope single = curve({{1, 5, Shape::spline, {}}});
    for (int b = 0; b <= 4; ++b) {
        single.before = single.after = static_cast<Behaviour>(b);
        EXPECT_EQ(single.evaluate(-3), 5);
        EXPECT_EQ(single.evaluate(3), 5);
    }
}

TEST(Envelope, a_placed_key_takes_the_shape_of_its_span_and_never_doubles) {
    Envelope envelope = curve({{0, 0, Shape::linear, {}}, {1, 1, Shape::hold, {}}});
    const auto shapeAt = [&](double t) { return envelope.keys.at(envelope.keys.find(t)).shape(); };
    envelope.placeKey(0.5, 0);
    EXPECT_EQ(shapeAt(0.5), Shape::hold);
    envelope.placeKey(2, 7);
    EXPECT_EQ(shapeAt(2), Shape::hold) << "after the last key, as the last key";
    envelope.placeKey(2, 8);
    EXPECT_EQ(envelope.keys.size(), 4u);
    EXPECT_EQ(envelope.evaluate(2), 8);
}

} // namespace
} // namespace cadencora::stage
