// Frames per second, kept as an exact fraction, and the times of frames.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cadencora::stage {

class FrameRate {
public:
    // 30 frames per second.
    FrameRate() = default;

    // The fraction in lowest terms; nothing unless it lies in [0.001, 100000] frames per second.
    static std::optional<FrameRate> of(std::int64_t frames, std::int64_t seconds = 1);

    // Reads "30", "23.976", "24000/1001". A decimal that names a broadcast rate (a multiple of
    // 1000/1001 such as 23.976 or 29.97) becomes that exact rate.
    static std::optional<FrameRate> parse(std::string_view text);

    // The rate whose frame lasts as long as the decimal text says, in seconds. The text's last
    // digit decides how near is near: "0.0083333" is 120, "0.0417083" is 24000/1001.
    static std::optional<FrameRate> fromFrameTime(std::string_view text);

    double perSecond() const { return perSecond_; }

    // The time of a frame in seconds, by the one division that everything else uses too, so that
    // equal frames have equal times.
    double timeOf(std::int64_t frame) const { return static_cast<double>(frame) / perSecond(); }

    // The time of a frame number that may have a fraction; the same bits for whole frames.
    double timeAt(double frame) const { return frame / perSecond(); }

    // A part of a frame within which a time counts as the frame's own: sums of times, and times
    // that were computed for another rate, miss it by a rounding.
    static constexpr double slack = 1e-6;

    // The frame's own time where `time` is within `slack` of one, else `time`. The one function
    // that rounds times to frames.
    double settled(double time) const {
        const double rate = perSecond();
        const double frame = time * rate;
        // The nearest whole number, in two additions: this is asked for every key that a plug-in
        // makes. Beyond 2^51 every number is whole already.
        constexpr double shift = 6755399441055744.0; // 1.5 * 2^52
        const double whole = std::abs(frame) < 2.2e15 ? (frame + shift) - shift : frame;
        return std::abs(frame - whole) <= slack ? whole / rate : time;
    }

    // The frame number of a time: the whole number where the time is that frame's own time, else
    // the fraction.
    double frameOf(double time) const;

    std::int64_t frames() const { return frames_; }
    std::int64_t seconds() const { return seconds_; }
    std::string text() const; // "30" or "24000/1001"

    bool operator==(const FrameRate&) const = default;

private:
    FrameRate(std::int64_t frames, std::int64_t seconds)
        : frames_(frames), seconds_(seconds),
          perSecond_(static_cast<double>(frames) / static_cast<double>(seconds)) {}

    std::int64_t frames_ = 30, seconds_ = 1;
    double perSecond_ = 30; // their quotient: it is asked for with every key
};

} // namespace cadencora::stage
