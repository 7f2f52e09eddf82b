#include "stage/formats/gltf/animation/knots.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage::gltf {

namespace {

using Cursor = KeyStore::Cursor;

void unite(std::vector<double>& times, const std::vector<double>& further) {
    std::vector<double> all;
    all.reserve(times.size() + further.size());
    std::ranges::merge(times, further, std::back_inserter(all));
    const auto sameTime = [](double a, double b) { return fileTime(a) == fileTime(b); };
    all.erase(std::unique(all.begin(), all.end(), sameTime), all.end());
    times = std::move(all);
}

// Slopes at both ends of a cubic of which four values at even distances are known.
std::array<double, 2> slopesOfCubic(const std::array<double, 4>& v, double length) {
    return {(-11 * v[0] + 18 * v[1] - 9 * v[2] + 2 * v[3]) / (2 * length),
            (-2 * v[0] + 9 * v[1] - 18 * v[2] + 11 * v[3]) / (2 * length)};
}

} // namespace

bool sameFileKey(const Cursor& a, const Cursor& b) {
    const KeyData x = a.data(), y = b.data();
    return fileTime(x.time) == fileTime(y.time) && x.shape == y.shape &&
           identical(x.value, y.value) && std::ranges::equal(x.parameters, y.parameters, identical);
}

Knots::Knots(std::span<const Envelope* const> curves, Merged& merged) : curves_(curves) {
    bool cut = false;
    for (const Envelope* curve : curves) {
        std::vector<double> times;
        times.reserve(curve->keys.size());
        for (auto key = curve->keys.begin(); key; key.advance()) {
            if (fileTime(key.time()) < 0) {
                cut = true;
                ++merged.early;
            } else if (!times.empty() && fileTime(times.back()) == fileTime(key.time())) {
                ++merged.merged;
            } else {
                times.push_back(key.time());
            }
        }
        unite(times_, times);
    }
    if (cut) unite(times_, {0.0});
}

Spans Knots::spans() const {
    Spans found;
    for (const Envelope* curve : curves_) {
        auto key = curve->keys.begin();
        if (!key) continue;
        for (key.advance(); key; key.advance()) {
            if (fileTime(key.time()) <= 0) continue;
            const Shape shape = key.shape();
            found.straight |= shape == Shape::linear;
            found.held |= shape == Shape::hold;
            found.smooth |= shape == Shape::spline || shape == Shape::tangents;
        }
    }
    return found;
}

void Knots::add(const std::vector<double>& times) {
    unite(times_, times);
}

std::optional<std::vector<double>> Knots::framesBetween(double first, double last,
                                                        const FrameRate& rate) {
    constexpr double most = 5e6;
    const double from = std::floor(first * rate.perSecond()) + 1;
    const double to = std::ceil(last * rate.perSecond()) - 1;
    std::vector<double> times;
    if (!(to - from < most)) return std::nullopt;
    for (double frame = from; frame <= to; ++frame) {
        const double time = rate.timeOf(static_cast<std::int64_t>(frame));
        if (fileTime(time) > fileTime(first) && fileTime(time) < fileTime(last))
            times.push_back(time);
    }
    return times;
}

std::vector<double> Knots::values(std::size_t which) const {
    const Envelope& curve = *curves_[which];
    std::vector<double> found;
    found.reserve(size());
    Cursor next = curve.keys.begin();
    for (const double time : times_) {
        const float at = fileTime(time);
        while (next && fileTime(next.time()) < at)
            next.advance();
        if (!next || fileTime(next.time()) > at) {
            found.push_back(curve.evaluate(time));
            continue;
        }
        double value = 0;
        for (; next && fileTime(next.time()) == at; next.advance())
            value = next.value();
        found.push_back(value);
    }
    return found;
}

Knots::Slopes Knots::slopes(std::size_t which, const std::vector<double>& values) const {
    const Envelope& curve = *curves_[which];
    Slopes found{std::vector<double>(size()), std::vector<double>(size())};
    Cursor from, to = curve.keys.begin(); // the keys around a span
    for (std::size_t i = 0; i + 1 < size(); ++i) {
        const float start = fileTime(times_[i]), end = fileTime(times_[i + 1]);
        for (; to && fileTime(to.time()) < end; to.advance())
            from = to;
        if (!from || !to || fileTime(from.time()) > start || to.shape() == Shape::hold) continue;
        if (to.shape() == Shape::linear) {
            const double chord = (to.value() - from.value()) / (to.time() - from.time());
            found.leaving[i] = found.arriving[i + 1] = chord;
        } else if (to.shape() == Shape::tangents && fileTime(from.time()) == start &&
                   fileTime(to.time()) == end) {
            found.leaving[i] = from.parameter(outgoingSlope);
            found.arriving[i + 1] = to.parameter(incomingSlope);
        } else {
            const double length = times_[i + 1] - times_[i];
            const auto [leaving, arriving] =
                slopesOfCubic({values[i], curve.evaluate(times_[i] + length / 3),
                               curve.evaluate(times_[i] + length * 2 / 3), values[i + 1]},
                              length);
            found.leaving[i] = leaving;
            found.arriving[i + 1] = arriving;
        }
    }
    return found;
}

Times Knots::fileTimes(const Remembered* remembered) const {
    std::vector<float> plain, own;
    for (const double time : times_)
        plain.push_back(std::max(fileTime(time), 0.0f));
    if (!remembered) return std::make_shared<const std::vector<float>>(std::move(plain));
    own = plain;
    std::size_t k = 0;
    for (auto key = remembered->keys[0].begin(); key; key.advance(), ++k) {
        const auto at = std::ranges::lower_bound(plain, fileTime(key.time()));
        const float file = (*remembered->track.times)[k];
        if (at != plain.end() && *at == fileTime(key.time()) && file >= 0)
            own[static_cast<std::size_t>(at - plain.begin())] = file;
    }
    const bool rises = std::ranges::adjacent_find(own, std::greater_equal{}) == own.end();
    return std::make_shared<const std::vector<float>>(std::move(rises ? own : plain));
}

} // namespace cadencora::stage::gltf
