#include "stage/plot/curve_pieces.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cadencora::stage {

namespace {

// Repetitions with more keys than this in sight are a solid band: they are sampled instead.
constexpr double mostRepeatedPieces = 50'000;
constexpr int bandSamples = 20'000;

class Cutter {
public:
    Cutter(const Envelope& envelope, double first, double last, double unit)
        : envelope_(envelope), first_(first), last_(last), unit_(unit) {}

    double shown(double value) const { return value * unit_; }
    double at(double time) const { return shown(envelope_.evaluate(time)); }

    // The piece between two times with no key between them. It is found only from times inside it:
    // at the ends themselves the curve may already have jumped.
    void cut(CurveRun& run, double from, double to) const {
        from = std::max(from, first_);
        to = std::min(to, last_);
        if (!(from < to)) return;
        const double length = to - from;
        std::array<double, 4> v;
        if (length <= 1e-11 * std::max(std::abs(from), std::abs(to))) {
            v.fill(at(from + length / 2)); // too short for four times of its own
        } else {
            for (std::size_t i = 0; i < v.size(); ++i)
                v[i] = at(from + length * (0.125 + 0.25 * static_cast<double>(i)));
        }
        // The cubic through the values at 1/8, 3/8, 5/8 and 7/8, as a start, an end and the slopes.
        const double start = (35 * v[0] - 35 * v[1] + 21 * v[2] - 5 * v[3]) / 16;
        const double end = (35 * v[3] - 35 * v[2] + 21 * v[1] - 5 * v[0]) / 16;
        const double leaving = (-71 * v[0] + 141 * v[1] - 93 * v[2] + 23 * v[3]) / 6;
        const double arriving = (71 * v[3] - 141 * v[2] + 93 * v[1] - 23 * v[0]) / 6;
        run.pieces.push_back({from, to, {start, start + leaving / 3, end - arriving / 3, end}});
    }

    // One key after the other; `shift` is added to their times, and `mirrored` runs them backwards
    // from `shift`.
    void cutKeys(CurveRun& run, double shift, bool mirrored) const {
        const KeyStore& keys = envelope_.keys;
        if (mirrored) {
            KeyStore::Cursor to = keys.atOrAfter(shift - first_);
            if (!to) to = keys.last();
            for (KeyStore::Cursor from = to; from; to = from) {
                from.stepBack();
                if (!from || shift - to.time() > last_) break;
                cut(run, shift - to.time(), shift - from.time());
            }
            return;
        }
        KeyStore::Cursor from = keys.atOrAfter(first_ - shift);
        if (!from) return;
        if (KeyStore::Cursor earlier = from; earlier.stepBack(), earlier) from = earlier;
        for (KeyStore::Cursor to = from; to && from.time() + shift <= last_; from = to) {
            to.advance();
            if (to) cut(run, from.time() + shift, to.time() + shift);
        }
    }

    // The stretch [from, to] outside the keys.
    void cutOutside(CurveRun& run, double from, double to, Behaviour behaviour) const {
        from = std::max(from, first_);
        to = std::min(to, last_);
        if (!(from < to)) return;
        const KeyStore& keys = envelope_.keys;
        const double start = keys.empty() ? 0 : keys.begin().time();
        const double length = keys.empty() ? 0 : keys.last().time() - start;
        if (length <= 0 || behaviour == Behaviour::constant || behaviour == Behaviour::linear) {
            cut(run, from, to);
            return;
        }
        const double firstTurn = std::floor((from - start) / length);
        const double turns = std::ceil((to - start) / length) - firstTurn;
        if (turns * static_cast<double>(keys.size()) > mostRepeatedPieces) {
            sampleBand(run, from, to);
            return;
        }
        Cutter within = *this;
        within.first_ = from;
        within.last_ = to;
        for (double turn = firstTurn; turn < firstTurn + turns; ++turn) {
            const bool mirrored =
                behaviour == Behaviour::mirror && std::fmod(std::abs(turn), 2.0) == 1.0;
            // A stretch that runs backwards ends where it would begin.
            within.cutKeys(run, mirrored ? 2 * start + (turn + 1) * length : turn * length,
                           mirrored);
        }
    }

private:
    // Samples at uneven distances, which no repetition keeps pace with.
    void sampleBand(CurveRun& run, double from, double to) const {
        const double step = (to - from) / bandSamples;
        double value = at(from);
        for (int i = 0; i < bandSamples; ++i) {
            const double begin = from + step * i;
            const double next = at(begin + step * std::fmod(0.6180339887498949 * (i + 1), 1.0));
            run.pieces.push_back({begin,
                                  begin + step,
                                  {value, (2 * value + next) / 3, (value + 2 * next) / 3, next}});
            value = next;
        }
    }

    const Envelope& envelope_;
    double first_, last_, unit_;
};

// The lowest and highest value of a piece: at its ends, or where its slope is zero.
void cover(DrawnCurve& curve, const CurvePiece& piece) {
    const auto& v = piece.values;
    const auto take = [&](double value) {
        if (std::isnan(value)) value = std::numeric_limits<double>::infinity();
        curve.low = std::min(curve.low, value);
        curve.high = std::max(curve.high, value);
    };
    take(v[0]);
    take(v[3]);
    const double size = std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2]), std::abs(v[3])});
    if (size == 0) return;
    const double p0 = v[0] / size, p1 = v[1] / size, p2 = v[2] / size, p3 = v[3] / size;
    const double a = p3 - 3 * p2 + 3 * p1 - p0, b = p2 - 2 * p1 + p0, c = p1 - p0;
    const double root = std::sqrt(std::max(b * b - a * c, 0.0));
    // The numerically sound pair of roots of a u² + 2 b u + c.
    const double q = -(b + std::copysign(root, b));
    for (const double u : {q / a, c / q})
        if (u > 0 && u < 1) { // false for what a division by zero gives
            const double w = 1 - u;
            take(size *
                 (w * w * w * p0 + 3 * w * w * u * p1 + 3 * w * u * u * p2 + u * u * u * p3));
        }
}

} // namespace

DrawnCurve drawnCurve(const Envelope& envelope, double first, double last, double unit,
                      FrameRate rate) {
    const KeyStore& keys = envelope.keys;
    const Cutter cutter(envelope, first, last, unit);
    DrawnCurve curve;
    curve.keys = keys.size();
    CurveRun before{false, {}}, keyed{true, {}}, after{false, {}};
    if (keys.empty()) {
        cutter.cutOutside(before, first, last, Behaviour::constant);
    } else {
        const double start = keys.begin().time(), end = keys.last().time();
        cutter.cutOutside(before, first, start, envelope.before);
        cutter.cutKeys(keyed, 0, false);
        cutter.cutOutside(after, end, last, envelope.after);
        // A curve may jump onto its last key, or away from its outermost keys: a piece of no
        // length stands for the key.
        const auto keyAt = [&](const KeyStore::Cursor& key) {
            std::array<double, 4> value;
            value.fill(cutter.shown(key.value()));
            return CurvePiece{key.time(), key.time(), value};
        };
        if (end >= first && end <= last) {
            if (!keyed.pieces.empty()) keyed.pieces.push_back(keyAt(keys.last()));
            if (!after.pieces.empty())
                after.pieces.insert(after.pieces.begin(), keyAt(keys.last()));
        }
        if (start >= first && start <= last && !before.pieces.empty())
            before.pieces.push_back(keyAt(keys.begin()));
    }
    for (KeyStore::Cursor key = keys.atOrAfter(first); key && key.time() <= last; key.advance()) {
        const double frame = rate.frameOf(key.time());
        curve.marks.push_back({key.time(), cutter.shown(key.value()), key.shape(),
                               std::abs(frame - std::round(frame)) < 1e-6});
    }
    curve.low = std::numeric_limits<double>::infinity();
    curve.high = -curve.low;
    for (CurveRun* run : {&before, &keyed, &after}) {
        if (run->pieces.empty()) continue;
        for (const CurvePiece& piece : run->pieces)
            cover(curve, piece);
        curve.runs.push_back(std::move(*run));
    }
    for (const CurveMark& mark : curve.marks) {
        curve.low = std::min(curve.low, mark.value);
        curve.high = std::max(curve.high, mark.value);
    }
    return curve;
}

} // namespace cadencora::stage
