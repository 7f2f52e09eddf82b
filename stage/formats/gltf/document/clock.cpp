#include "stage/formats/gltf/document/clock.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace cadencora::stage::gltf {

namespace {

double framesTolerance(float time, const FrameRate& rate) {
    // Some roundings of a single-precision number, or of the sum or product that it came from.
    const double frame = 1 / rate.perSecond();
    return std::min(3e-7 * std::max(std::abs(static_cast<double>(time)), frame), 0.01 * frame);
}

bool holds(const FrameRate& rate, const std::vector<float>& times) {
    double before = -1e300;
    for (const float time : times) {
        const double frame = std::round(static_cast<double>(time) * rate.perSecond());
        if (frame <= before || std::abs(frame) > 2e9) return false;
        before = frame;
        const double own = rate.timeOf(static_cast<std::int64_t>(frame));
        if (std::abs(own - static_cast<double>(time)) > framesTolerance(time, rate)) return false;
    }
    return true;
}

std::string perSecond(const FrameRate& rate) {
    return rate.text() + " frames per second";
}

} // namespace

double Clock::at(float time) const {
    if (!onFrames) return static_cast<double>(time);
    return grid.timeOf(std::llround(static_cast<double>(time) * grid.perSecond()));
}

Clock chooseClock(std::span<const Times> times, std::optional<FrameRate> wanted) {
    constexpr std::array<std::array<std::int64_t, 2>, 14> usual{{{24, 1},
                                                                 {25, 1},
                                                                 {30, 1},
                                                                 {60, 1},
                                                                 {120, 1},
                                                                 {24000, 1001},
                                                                 {30000, 1001},
                                                                 {60000, 1001},
                                                                 {48, 1},
                                                                 {50, 1},
                                                                 {90, 1},
                                                                 {100, 1},
                                                                 {144, 1},
                                                                 {240, 1}}};
    const auto fits = [&](const FrameRate& rate) {
        return std::ranges::all_of(times, [&](const Times& one) { return holds(rate, *one); });
    };
    Clock clock;
    const bool tells = std::ranges::any_of(times, [](const Times& one) {
        return std::ranges::any_of(*one, [](float time) { return time != std::round(time); });
    });
    if (wanted) {
        clock.rate = clock.grid = *wanted;
        clock.onFrames = fits(*wanted);
        clock.note = perSecond(*wanted) + ", as asked for";
    } else if (!tells) {
        clock.onFrames = fits(clock.rate);
        clock.grid = clock.rate;
        clock.note = perSecond(clock.rate) + ": the file does not say";
    }
    if (clock.onFrames || (!wanted && !tells)) return clock;
    for (const auto& [frames, seconds] : usual) {
        const FrameRate rate = *FrameRate::of(frames, seconds);
        if (!fits(rate)) continue;
        clock.onFrames = true;
        clock.grid = rate;
        if (wanted) {
            clock.note += "; the keys of the file are on the frames of " + rate.text();
        } else {
            clock.rate = rate;
            clock.note = perSecond(rate) + ": all keys of the file are on these frames";
        }
        return clock;
    }
    if (!wanted)
        clock.note =
            perSecond(clock.rate) + ": the keys of the file are on the frames of no usual rate";
    return clock;
}

} // namespace cadencora::stage::gltf
