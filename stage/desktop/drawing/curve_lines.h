// Curves as points to draw: which ones to show, their lines, their keys, their range.
//
// Calls only stage/scene and stage/plot. Whatever the number of keys, the number of points follows
// the columns.
#pragma once

#include "stage/scene/journal.h"

#include <optional>
#include <string>
#include <vector>

namespace cadencora::stage {

// A stretch of time over columns of pixels.
struct TimeWindow {
    double first = 0, last = 1; // seconds
    int columns = 1;

    double timeOf(double column) const { return first + (last - first) * column / columns; }
    double columnOf(double time) const { return (time - first) / (last - first) * columns; }
};

struct CurvePoint {
    double time = 0; // seconds
    double value = 0;
    bool operator==(const CurvePoint&) const = default;
};

// One curve on show.
struct ShownCurve {
    EnvelopeId envelope = EnvelopeId::none;
    std::string name;                 // "Hips/Rotation.H"
    std::size_t unit = 0;             // of units.h
    std::size_t place = 0;            // among the curves of its unit, by which it has its colour
    double factor = 1;                // from the curve's values to the ones shown
    const Envelope* before = nullptr; // as it was before the last edit, if that touched it;
                                      // the journal's, until the next edit
};

// The curves of the items' channels that have keys or had some before the last edit.
std::vector<ShownCurve> shownCurves(const Scene& scene, const std::vector<ItemId>& items,
                                    const Journal& journal);

// The curve over the window, from its left edge to its right one. Dense keys show as the stretch
// of values that they cover.
std::vector<CurvePoint> curveLine(const Envelope& curve, const TimeWindow& window);

struct KeyPoint {
    double time = 0; // seconds
    double value = 0;
    Shape shape = Shape::spline;
};

// The keys in the window, at most one for every `spacing` columns.
std::vector<KeyPoint> keyPoints(const Envelope& curve, const TimeWindow& window, int spacing);

// How many keys a curve has from one time to another, both included; seconds.
std::size_t keysBetween(const Envelope& curve, double first, double last);

// The columns in which the items' channels have keys, in order.
std::vector<int> keyColumns(const Scene& scene, const std::vector<ItemId>& items,
                            const TimeWindow& window);

struct Range {
    double low = 0, high = 0;
};

// The values, times their factors, that the curves take over the window and took before the last
// edit; nothing: no curves. Their units should be the same.
std::optional<Range> valueRange(const Scene& scene, const std::vector<ShownCurve>& curves,
                                const TimeWindow& window);

} // namespace cadencora::stage
