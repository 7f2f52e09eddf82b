#include "stage/formats/gltf/animation/merge.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/animation/knots.h"
#include "stage/formats/gltf/document/quaternion.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

namespace cadencora::stage::gltf {

namespace {

// Where a span is compared, as parts of it; held ones differ most at their ends.
constexpr double justBeforeEnd = 1 - 1e-9;
constexpr std::array<double, 8> samples{0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875, justBeforeEnd};

// The greatest value of a smooth function of [0, 1] that is greatest near `at`, within the distance
// of two samples.
template <class Function>
double greatestNear(double at, const Function& value) {
    constexpr double golden = 0.6180339887498949, reach = 0.13;
    double low = std::max(0.0, at - reach), high = std::min(justBeforeEnd, at + reach);
    for (int step = 0; step < 24; ++step) {
        const double a = high - golden * (high - low), b = low + golden * (high - low);
        (value(a) > value(b) ? high : low) = value(a) > value(b) ? b : a;
    }
    return std::max({value(low), value((low + high) / 2), value(high), value(at)});
}

// The greatest of many spans: of each the greatest sample is known, and those that come near to the
// greatest of all are looked at closely.
class Greatest {
public:
    void add(std::size_t span, double part, double value) {
        if (value > best_) best_ = value;
        near_.push_back({span, part, value});
    }

    // `value(span, part)` is the function that was sampled.
    template <class Function>
    double find(const Function& value) {
        std::erase_if(near_, [&](const Sample& one) { return one.value < best_ / 2; });
        constexpr std::size_t most = 64;
        const auto end = near_.begin() + static_cast<std::ptrdiff_t>(std::min(near_.size(), most));
        std::ranges::partial_sort(near_, end, std::greater{}, &Sample::value);
        double greatest = best_;
        for (auto one = near_.begin(); one != end; ++one)
            greatest = std::max(greatest, greatestNear(one->part, [&](double part) {
                                    return value(one->span, part);
                                }));
        return greatest;
    }

private:
    struct Sample {
        std::size_t span;
        double part, value;
    };
    std::vector<Sample> near_;
    double best_ = 0;
};

Problem tooManyFrames() {
    return {"the curves need too many frames", "", "5 million is the limit"};
}

Interpolation kindOf(const Spans& spans, Interpolation usual, std::size_t knots) {
    if (spans.held) {
        const bool onlyHeld = !spans.straight && !spans.smooth;
        return onlyHeld ? Interpolation::step : Interpolation::linear;
    }
    if (spans.smooth && knots > 1) return Interpolation::cubic;
    if (spans.straight || usual != Interpolation::step) return Interpolation::linear;
    return usual;
}

bool isMixed(const Spans& spans) {
    return spans.held && (spans.straight || spans.smooth);
}

// Frames between the first knot and the last one.
Result<> addFrames(Knots& knots, const FrameRate& rate, Merged& merged) {
    const auto frames = Knots::framesBetween(knots.times().front(), knots.times().back(), rate);
    if (!frames) return tooManyFrames();
    knots.add(*frames);
    merged.onFrames = true;
    return done();
}

Problem notFinite(double time) {
    return {"a value is not finite", "", "at " + std::to_string(time) + " seconds"};
}

Problem beyondFile(double time) {
    return {"a key is later than the file can say", "", "at " + shortest(time) + " seconds"};
}

bool isWritable(double value) {
    return std::isfinite(static_cast<float>(value));
}

// A rotation at every knot, ready for the file.
class RotationMerge {
public:
    RotationMerge(Knots& knots, Interpolation kind, const Remembered* remembered)
        : knots_(knots), kind_(kind),
          remembered_(remembered && remembered->track.interpolation == kind ? remembered
                                                                            : nullptr) {
        readOff();
    }

    // Adds frames to spans that would rotate otherwise than the curves do.
    Result<> refine(const FrameRate& rate, Merged& merged) {
        std::vector<double> further;
        for (std::size_t i = 0; i + 1 < knots_.size(); ++i) {
            if (isExact(i)) continue;
            if (!turnsFar(i) && errorOf(i) <= unnoticedTurn) continue;
            const auto frames =
                Knots::framesBetween(knots_.times()[i], knots_.times()[i + 1], rate);
            if (!frames) return tooManyFrames();
            further.insert(further.end(), frames->begin(), frames->end());
        }
        if (!further.empty()) {
            merged.onFrames = true;
            knots_.add(further);
            readOff();
        }
        merged.error = error();
        return done();
    }

    double error() const {
        Greatest greatest;
        for (std::size_t i = 0; i + 1 < knots_.size(); ++i)
            if (!isExact(i))
                for (const double part : samples)
                    greatest.add(i, part, errorAt(i, part));
        return greatest.find([&](std::size_t span, double part) { return errorAt(span, part); });
    }

    std::optional<double> notFiniteAt() const {
        for (std::size_t i = 0; i < knots_.size(); ++i)
            for (std::size_t n = 0; n < 4; ++n)
                if (!isWritable(numbers_[i].value[n]) || !isWritable(numbers_[i].arriving[n]) ||
                    !isWritable(numbers_[i].leaving[n]))
                    return knots_.times()[i];
        return std::nullopt;
    }

    std::vector<float> values() const {
        std::vector<float> found;
        found.reserve(knots_.size() * 4 * (kind_ == Interpolation::cubic ? 3 : 1));
        const auto add = [&](const Quaternion& q) {
            for (const double number : q)
                found.push_back(static_cast<float>(number));
        };
        for (const Numbers& at : numbers_) {
            if (kind_ == Interpolation::cubic) add(at.arriving);
            add(at.value);
            if (kind_ == Interpolation::cubic) add(at.leaving);
        }
        return found;
    }

private:
    struct Numbers {
        Quaternion arriving{}, value{}, leaving{};
        std::size_t original = none; // the file's key that this still is
    };

    void readOff();
    void findOriginals();
    void alignSigns();
    double errorOf(std::size_t span) const;
    double errorAt(std::size_t span, double part) const;

    bool isExact(std::size_t span) const { // the file's own span, whatever it does
        const std::size_t from = numbers_[span].original;
        return kind_ == Interpolation::step ||
               (from != none && numbers_[span + 1].original == from + 1);
    }
    bool turnsFar(std::size_t span) const { // where comparing at parts of it may mislead
        constexpr double far = 0.9 * std::numbers::pi;
        return std::ranges::any_of(
            angles_, [&](const auto& a) { return std::abs(a[span + 1] - a[span]) > far; });
    }
    Quaternion between(std::size_t span, double part) const;

    Knots& knots_;
    Interpolation kind_;
    const Remembered* remembered_; // only where its kind is that of the keys
    std::array<std::vector<double>, 3> angles_;
    std::vector<Numbers> numbers_;
};

void RotationMerge::readOff() {
    const bool cubic = kind_ == Interpolation::cubic;
    std::array<Knots::Slopes, 3> slopes;
    for (std::size_t c = 0; c < 3; ++c) {
        angles_[c] = knots_.values(c);
        if (cubic) slopes[c] = knots_.slopes(c, angles_[c]);
    }
    numbers_.assign(knots_.size(), {});
    findOriginals();
    for (std::size_t i = 0; i < knots_.size(); ++i) {
        Numbers& at = numbers_[i];
        if (at.original != none) {
            at.value = quaternionAt(remembered_->track.value(at.original));
            if (cubic) {
                at.arriving = quaternionAt(remembered_->track.arriving(at.original));
                at.leaving = quaternionAt(remembered_->track.leaving(at.original));
            }
            continue;
        }
        const Vec3 angles{angles_[0][i], angles_[1][i], angles_[2][i]};
        at.value = quaternionOf(angles);
        if (!cubic) continue;
        const auto rate = [&](auto side) {
            return quaternionRate(
                at.value, angles,
                {(slopes[0].*side)[i], (slopes[1].*side)[i], (slopes[2].*side)[i]});
        };
        at.arriving = rate(&Knots::Slopes::arriving);
        at.leaving = rate(&Knots::Slopes::leaving);
    }
    alignSigns();
}

void RotationMerge::findOriginals() {
    if (!remembered_) return;
    std::array<KeyStore::Cursor, 3> now, was;
    for (std::size_t c = 0; c < 3; ++c) {
        now[c] = knots_.curve(c).keys.begin();
        was[c] = remembered_->keys[c].begin();
    }
    std::size_t key = 0;
    for (std::size_t i = 0; i < knots_.size(); ++i) {
        const float at = fileTime(knots_.times()[i]);
        const auto advanceTo = [&](KeyStore::Cursor& cursor) {
            while (cursor && fileTime(cursor.time()) < at)
                cursor.advance();
            return cursor && fileTime(cursor.time()) == at;
        };
        for (; was[0] && fileTime(was[0].time()) < at; ++key)
            was[0].advance();
        bool same = true;
        for (std::size_t c = 0; c < 3; ++c) {
            const bool both = advanceTo(now[c]) && advanceTo(was[c]);
            same = same && both && sameFileKey(now[c], was[c]);
        }
        if (same) numbers_[i].original = key;
    }
}

// A rotation has two quaternions. New ones are those near the key before; the file's own keep
// their signs along the file's own spans.
void RotationMerge::alignSigns() {
    double sign = 1; // of the key before
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
        Numbers& at = numbers_[i];
        const bool isOwnSpan = i > 0 && numbers_[i - 1].original != none &&
                               at.original == numbers_[i - 1].original + 1;
        if (!isOwnSpan) sign = i > 0 && dot(numbers_[i - 1].value, at.value) < 0 ? -1 : 1;
        for (Quaternion* q : {&at.arriving, &at.value, &at.leaving})
            for (double& number : *q)
                number *= sign;
    }
}

Quaternion RotationMerge::between(std::size_t span, double u) const {
    const Numbers &from = numbers_[span], &to = numbers_[span + 1];
    if (kind_ == Interpolation::linear) return slerp(from.value, to.value, u);
    const double length = knots_.times()[span + 1] - knots_.times()[span];
    const double u2 = u * u, u3 = u2 * u;
    Quaternion q{};
    for (std::size_t n = 0; n < 4; ++n)
        q[n] = (2 * u3 - 3 * u2 + 1) * from.value[n] +
               (u3 - 2 * u2 + u) * length * from.leaving[n] + (3 * u2 - 2 * u3) * to.value[n] +
               (u3 - u2) * length * to.arriving[n];
    return lengthOf(q) > 1e-9 ? normalized(q) : Quaternion{0, 0, 0, 1};
}

double RotationMerge::errorAt(std::size_t span, double part) const {
    const double start = knots_.times()[span], length = knots_.times()[span + 1] - start;
    const double time = start + part * length;
    const Vec3 angles{knots_.curve(0).evaluate(time), knots_.curve(1).evaluate(time),
                      knots_.curve(2).evaluate(time)};
    return angleBetween(between(span, part), quaternionOf(angles));
}

double RotationMerge::errorOf(std::size_t span) const {
    double worst = 0;
    for (const double part : samples)
        worst = std::max(worst, errorAt(span, part));
    return worst;
}

} // namespace

bool sameFileKeys(const KeyStore& keys, const KeyStore& remembered) {
    if (keys.size() != remembered.size()) return false;
    auto a = keys.begin(), b = remembered.begin();
    while (a) {
        if (sharedKey(a, b)) {
            skipSameKeys(a, b);
            continue;
        }
        if (!sameFileKey(a, b)) return false;
        a.advance();
        b.advance();
    }
    return true;
}

Result<Merged> mergeCurves(std::span<const Envelope* const> curves, const FrameRate& rate,
                           Interpolation usual, const Remembered* remembered) {
    Merged merged;
    Knots knots(curves, merged);
    if (!knots.times().empty() && !isWritable(knots.times().back()))
        return beyondFile(knots.times().back());
    const Spans spans = knots.spans();
    if (isMixed(spans))
        if (auto added = addFrames(knots, rate, merged); !added) return added.problem();
    Track& track = merged.track;
    track.interpolation = kindOf(spans, usual, knots.size());
    track.components = curves.size();
    track.times = knots.fileTimes(remembered);
    const bool cubic = track.interpolation == Interpolation::cubic;
    const std::size_t parts = cubic ? 3 : 1;
    track.values.resize(knots.size() * parts * curves.size());
    for (std::size_t c = 0; c < curves.size(); ++c) {
        const std::vector<double> values = knots.values(c);
        const Knots::Slopes slopes = cubic ? knots.slopes(c, values) : Knots::Slopes{};
        for (std::size_t i = 0; i < knots.size(); ++i) {
            const auto put = [&](std::size_t part, double value) {
                track.values[(i * parts + part) * curves.size() + c] = static_cast<float>(value);
                return isWritable(value);
            };
            const bool all =
                cubic ? put(0, slopes.arriving[i]) && put(1, values[i]) && put(2, slopes.leaving[i])
                      : put(0, values[i]);
            if (!all) return notFinite(knots.times()[i]);
        }
        if (!merged.onFrames) continue;
        const auto errorAt = [&](std::size_t i, double part) {
            const double start = knots.times()[i], length = knots.times()[i + 1] - start;
            const double there = values[i] + part * (values[i + 1] - values[i]);
            return std::abs(there - curves[c]->evaluate(start + part * length));
        };
        Greatest greatest;
        for (std::size_t i = 0; i + 1 < knots.size(); ++i)
            for (const double part : samples)
                greatest.add(i, part, errorAt(i, part));
        merged.error = std::max(merged.error, greatest.find(errorAt));
    }
    return merged;
}

Result<Merged> mergeRotation(std::span<const Envelope* const> curves, const FrameRate& rate,
                             Interpolation usual, const Remembered* remembered) {
    Merged merged;
    Knots knots(curves, merged);
    if (!knots.times().empty() && !isWritable(knots.times().back()))
        return beyondFile(knots.times().back());
    const Spans spans = knots.spans();
    if (isMixed(spans))
        if (auto added = addFrames(knots, rate, merged); !added) return added.problem();
    const Interpolation kind = kindOf(spans, usual, knots.size());
    RotationMerge rotation(knots, kind, remembered);
    if (auto at = rotation.notFiniteAt()) return notFinite(*at);
    if (isMixed(spans)) {
        merged.error = rotation.error();
    } else if (auto refined = rotation.refine(rate, merged); !refined) {
        return refined.problem();
    }
    merged.track = {kind, 4, knots.fileTimes(remembered), rotation.values()};
    return merged;
}

} // namespace cadencora::stage::gltf
