// Curves sampled together at the times of all their keys, for merging.
#pragma once

#include "stage/formats/gltf/animation/merge.h"

namespace cadencora::stage::gltf {

// A file's key times are single numbers; keys that differ by less are one knot.
constexpr float fileTime(double time) {
    return static_cast<float>(time);
}

bool sameFileKey(const KeyStore::Cursor& a, const KeyStore::Cursor& b); // except for rounded times

// What spans the curves have between their keys.
struct Spans {
    bool straight = false, held = false, smooth = false;
};

class Knots {
public:
    Knots(std::span<const Envelope* const> curves, Merged& merged);

    const std::vector<double>& times() const { return times_; }
    std::size_t size() const { return times_.size(); }
    std::size_t curves() const { return curves_.size(); }
    const Envelope& curve(std::size_t c) const { return *curves_[c]; }
    Spans spans() const;

    // Adds times in ascending order where there is no knot yet.
    void add(const std::vector<double>& times);

    // The frames between two times, both left out; nothing where they are too many.
    static std::optional<std::vector<double>> framesBetween(double first, double last,
                                                            const FrameRate& rate);

    // The values of a curve at the knots.
    std::vector<double> values(std::size_t curve) const;

    // The slopes with which a curve of the values leaves each knot and arrives at it.
    struct Slopes {
        std::vector<double> arriving, leaving;
    };
    Slopes slopes(std::size_t curve, const std::vector<double>& values) const;

    // The times for the file: where the file had a key at a knot, its own number.
    Times fileTimes(const Remembered* remembered) const;

private:
    std::span<const Envelope* const> curves_;
    std::vector<double> times_; // seconds, different as single numbers
};

} // namespace cadencora::stage::gltf
