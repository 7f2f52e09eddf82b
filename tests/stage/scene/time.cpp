// Frame rates, frames and rotations.

#include "stage/scene/keys/frame_rate.h"
#include "stage/scene/math/rotation.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace cadencora::stage {
namespace {

std::string rateText(const std::optional<FrameRate>& rate) {
    return rate ? rate->text() : "none";
}

TEST(FrameRate, reads_the_rates_that_people_type) {
    const std::pair<const char*, const char*> cases[] = {
        {"30", "30"},
        {"23.976", "24000/1001"},
        {"29.97", "30000/1001"},
        {"59.94", "60000/1001"},
        {"24000/1001", "24000/1001"},
        {"12.5", "25/2"},
        {"60/2", "30"},
        {"0", "none"},
        {"-24", "none"},
        {"24/0", "none"},
        {"fast", "none"},
        {"", "none"},
        {"30 ", "none"},
        {"1e9", "none"},
        {"nan", "none"},
    };
    for (const auto& [text, rate] : cases)
        EXPECT_EQ(rateText(FrameRate::parse(text)), rate) << text;
}

TEST(FrameRate, recognises_a_frame_time_to_the_precision_of_its_text) {
    const std::pair<const char*, const char*> cases[] = {
        {".0083333", "120"},
        {"0.0083333", "120"},
        {"0.00833333", "120"},
        {"0.033333", "30"},
        {"0.0333333", "30"},
        {"0.033", "30"},
        {"0.0333667", "30000/1001"},
        {"0.0417083", "24000/1001"},
        {"0.0417083750417", "2997/125"},
        {"0.041667", "24"},
        {"0.04", "25"},
        {"0.01", "100"},
        {"2", "1/2"},
        {"0.0166667", "60"},
        {"0.016683", "60000/1001"},
        {"8.333333e-03", "120"},
        {"0", "none"},
        {"-0.01", "none"},
        {"x", "none"},
    };
    for (const auto& [text, rate] : cases)
        EXPECT_EQ(rateText(FrameRate::fromFrameTime(text)), rate) << text;
}

TEST(FrameRate, gives_equal_frames_of_two_rates_equal_times) {
    const auto fine = *FrameRate::of(120), coarse = *FrameRate::of(30);
    for (std::int64_t frame = 0; frame < 5000; ++frame) {
        ASSERT_EQ(fine.timeOf(4 * frame), coarse.timeOf(frame));
        ASSERT_EQ(coarse.frameOf(coarse.timeOf(frame)), static_cast<double>(frame));
    }
    EXPECT_EQ(coarse.frameOf(1.05), 31.5);
}

// Every order of three different axes.
std::vector<RotationOrder> allOrders() {
    std::vector<RotationOrder> orders;
    for (int a = 0; a < 3; ++a)
        for (int b = 0; b < 3; ++b)
            if (a != b)
                orders.push_back(
                    {static_cast<Axis>(a), static_cast<Axis>(b), static_cast<Axis>(3 - a - b)});
    return orders;
}

double difference(const Mat3& a, const Mat3& b) {
    double most = 0;
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            most = std::max(most, std::abs(a[r][c] - b[r][c]));
    return most;
}

TEST(Rotation, angles_near_themselves_come_back_in_every_order_also_at_gimbal_lock) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> any(-12, 12);
    for (const RotationOrder& order : allOrders()) {
        for (int i = 0; i < 500; ++i) {
            Vec3 angles{any(random), any(random), any(random)};
            if (i % 5 == 0) angles[1] = std::acos(-1.0) * (0.5 + i / 5 % 4);
            const Mat3 matrix = rotation(angles, order);
            const Vec3 back = anglesNear(matrix, order, angles);
            ASSERT_LT(difference(rotation(back, order), matrix), 1e-12);
            for (std::size_t n = 0; n < 3; ++n)
                ASSERT_NEAR(back[n], angles[n], 2e-7);
        }
    }
}

TEST(Rotation, neighbouring_frames_never_jump_by_a_turn) {
    const RotationOrder order{Axis::z, Axis::y, Axis::x};
    Vec3 last{};
    for (int frame = 0; frame <= 400; ++frame) {
        const double turn = frame * 0.05; // three turns of heading in all
        const Mat3 matrix = rotation({turn, 0.3 * std::sin(turn), -turn}, headingPitchBank);
        const Vec3 angles = anglesNear(matrix, order, last);
        if (frame > 0) {
            for (std::size_t n = 0; n < 3; ++n)
                ASSERT_LT(std::abs(angles[n] - last[n]), 1) << frame;
        }
        last = angles;
    }
}

TEST(Rotation, heading_pitch_and_bank_turn_as_animators_expect) {
    const double quarter = std::acos(0.0);
    const auto turned = [&](Vec3 angles, Vec3 v) {
        return product(rotation(angles, headingPitchBank), v);
    };
    const auto expectNear = [](const Vec3& a, const Vec3& b) {
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(a[i], b[i], 1e-15);
    };
    expectNear(turned({quarter, 0, 0}, {0, 0, 1}), {1, 0, 0});       // heading: Z goes to X
    expectNear(turned({0, quarter, 0}, {0, 1, 0}), {0, 0, 1});       // pitch: Y goes to Z
    expectNear(turned({0, 0, quarter}, {1, 0, 0}), {0, 1, 0});       // bank: X goes to Y
    expectNear(turned({quarter, quarter, 0}, {0, 1, 0}), {1, 0, 0}); // heading is outermost
}

} // namespace
} // namespace cadencora::stage
