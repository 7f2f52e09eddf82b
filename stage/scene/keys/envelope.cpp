#include "stage/scene/keys/envelope.h"

#include <cmath>
#include <optional>

namespace cadencora::stage {

namespace {

using Cursor = KeyStore::Cursor;

// The curve's slopes, in units per second, at both ends of the span between two neighbours.
struct Slopes {
    double leaving = 0;  // at the span's first key
    double arriving = 0; // at its second key
};

double chord(const Cursor& from, const Cursor& to) {
    return (to.value() - from.value()) / (to.time() - from.time());
}

// The tension-continuity-bias slope at a key between two others: what the neighbours on both sides
// gain, weighed, over the time between them, so that unequal distances in time do not distort it.
// `sharpen` is the key's continuity, or its negative on the arriving side.
double splineSlope(const Cursor& before, const Cursor& key, const Cursor& after, double sharpen) {
    const double b = key.parameter(bias);
    const double gained = (1 + sharpen) * (1 + b) * (key.value() - before.value()) +
                          (1 - sharpen) * (1 - b) * (after.value() - key.value());
    return (1 - key.parameter(tension)) * gained / (after.time() - before.time());
}

Slopes splineSlopes(const Cursor& from, const Cursor& to) {
    Cursor before = from, after = to;
    before.stepBack();
    after.advance();
    const double own = chord(from, to);
    return {before ? splineSlope(before, from, to, from.parameter(continuity))
                   : (1 - from.parameter(tension)) * own,
            after ? splineSlope(from, to, after, -to.parameter(continuity))
                  : (1 - to.parameter(tension)) * own};
}

Slopes slopesOf(const Cursor& from, const Cursor& to) {
    switch (to.shape()) {
    case Shape::spline:
        return splineSlopes(from, to);
    case Shape::tangents:
        return {from.parameter(outgoingSlope), to.parameter(incomingSlope)};
    case Shape::linear:
        return {chord(from, to), chord(from, to)};
    case Shape::hold:
        break;
    }
    return {};
}

// The value of a span with slopes at the part `u` of its length. The cursors come by value, so that
// callers keep theirs in registers.
double onCurve(Cursor from, Cursor to, double u) {
    const double v0 = from.value(), v1 = to.value();
    const double length = to.time() - from.time();
    const Slopes slopes = slopesOf(from, to);
    const double u2 = u * u, u3 = u2 * u;
    return v0 + (3 * u2 - 2 * u3) * (v1 - v0) + (u3 - 2 * u2 + u) * length * slopes.leaving +
           (u3 - u2) * length * slopes.arriving;
}

// The value inside the span, from.time() <= time < to.time().
double insideSpan(const Cursor& from, const Cursor& to, double time) {
    const double v0 = from.value();
    if (to.shape() == Shape::hold || time == from.time()) return v0;
    const double u = (time - from.time()) / (to.time() - from.time());
    if (to.shape() == Shape::linear) return v0 + u * (to.value() - v0);
    return onCurve(from, to, u);
}

// The slope inside a span with explicit tangents.
double slopeInside(const Cursor& from, const Cursor& to, double time) {
    const Slopes slopes = slopesOf(from, to);
    const double length = to.time() - from.time();
    const double u = (time - from.time()) / length;
    return 6 * (u - u * u) * chord(from, to) + (3 * u * u - 4 * u + 1) * slopes.leaving +
           (3 * u * u - 2 * u) * slopes.arriving;
}

// The value between the first and the last key, both included; nothing outside.
std::optional<double> insideKeys(const KeyStore& keys, double time) {
    const Cursor to = keys.atOrAfter(time);
    if (!to) return std::nullopt;
    if (to.time() == time) return to.value();
    Cursor from = to;
    from.stepBack();
    if (!from) return std::nullopt;
    return insideSpan(from, to, time);
}

// The slope with which the curve leaves its keyed stretch, at its first or last key.
double outerSlope(const KeyStore& keys, bool atEnd) {
    if (keys.size() < 2) return 0;
    Cursor from = atEnd ? keys.last() : keys.begin();
    Cursor to = from;
    if (atEnd) {
        from.stepBack();
    } else {
        to.advance();
    }
    const Slopes slopes = slopesOf(from, to);
    return atEnd ? slopes.arriving : slopes.leaving;
}

// The value where the time is not between the keys, of which there is one at least. Stands apart so
// that the common case stays short.
[[gnu::noinline]] double outsideKeys(const Envelope& envelope, double time) {
    const KeyStore& keys = envelope.keys;
    const Cursor first = keys.begin(), last = keys.last();
    const double start = first.time(), end = last.time();
    const bool atEnd = time > end;
    const Cursor& edge = atEnd ? last : first;
    const double length = end - start;
    const Behaviour behaviour = atEnd ? envelope.after : envelope.before;
    if (behaviour == Behaviour::constant || length <= 0) return edge.value();
    if (behaviour == Behaviour::linear)
        return edge.value() + outerSlope(keys, atEnd) * (time - edge.time());

    const double turns = std::floor((time - start) / length);
    double within = time - start - turns * length; // in [0, length]
    if (behaviour == Behaviour::mirror && std::fmod(std::abs(turns), 2.0) == 1.0)
        within = length - within;
    const double inside = std::fmin(std::fmax(start + within, start), end);
    const double value = *insideKeys(keys, inside);
    if (behaviour != Behaviour::offsetRepeat) return value;
    return value + turns * (last.value() - first.value());
}

} // namespace

double Envelope::evaluate(double time) const {
    if (keys.empty()) return rest;
    const std::optional<double> inside = insideKeys(keys, time);
    return inside ? *inside : outsideKeys(*this, time);
}

KeyStore::Cursor Envelope::placeKey(KeyStore::Place place, double time, double value) {
    const Cursor next = keys.after(place);
    if (next && next.time() == time) {
        keys.setValue(next, value);
        return next;
    }
    const Cursor neighbour = next ? next : keys.last();
    const Shape shape = neighbour ? neighbour.shape() : Shape::spline;
    double slope = 0;
    if (shape == Shape::tangents && next) {
        Cursor from = next;
        from.stepBack();
        if (from) slope = slopeInside(from, next, time);
    }
    const Cursor key = keys.insertAt(place, time, value, shape);
    if (slope != 0) {
        keys.setParameter(key, incomingSlope, slope);
        keys.setParameter(key, outgoingSlope, slope);
    }
    return key;
}

KeyStore::Cursor Envelope::placeInPlace(KeyStore::Place place, double time, double value) {
    if (!keys.insertsInPlace(place)) return {};
    const Cursor next = keys.after(place);
    if (next && (next.time() == time || next.shape() == Shape::tangents)) return {};
    return keys.insertAt(place, time, value, next ? next.shape() : keys.last().shape());
}

void assign(Envelope& to, const Envelope& from) {
    to.keys = from.keys;
    to.rest = from.rest;
    to.before = from.before;
    to.after = from.after;
}

} // namespace cadencora::stage
