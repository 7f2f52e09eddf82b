// A curve cut into cubic pieces at its keys, which draw it exactly.
#pragma once

#include "stage/scene/keys/envelope.h"
#include "stage/scene/keys/frame_rate.h"

#include <array>
#include <vector>

namespace cadencora::stage {

// A stretch of time over which the curve is one cubic: its value at the start, two control values
// at the thirds, its value at the end.
struct CurvePiece {
    double from = 0, to = 0; // seconds
    std::array<double, 4> values{};
};

// Pieces that follow each other without a gap in time; values may jump between them.
struct CurveRun {
    bool keyed = true; // false: before the first or after the last key
    std::vector<CurvePiece> pieces;
};

struct CurveMark {
    double time = 0, value = 0;
    Shape shape = Shape::spline;
    bool onFrame = true;
};

struct DrawnCurve {
    std::vector<CurveRun> runs;
    std::vector<CurveMark> marks; // the keys shown
    std::size_t keys = 0;         // of the whole curve
    double low = 0, high = 0;     // of what is shown

    // False where values are so large that sums of a few need not be finite.
    bool drawable() const { return low >= -largestDrawn && high <= largestDrawn; }
    static constexpr double largestDrawn = 1e150;
};

// What is shown between two times in seconds, `first` before `last`. Every value is multiplied by
// `unit`.
DrawnCurve drawnCurve(const Envelope& envelope, double first, double last, double unit,
                      FrameRate rate);

} // namespace cadencora::stage
