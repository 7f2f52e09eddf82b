// The path of a run of curve pieces: exact cubics where they have room, thinned lines elsewhere.
#pragma once

#include "stage/plot/curve_pieces.h"

#include <string>

namespace cadencora::stage {

// From seconds and values to pixels.
struct Mapping {
    double left = 0, firstTime = 0, perSecond = 1;
    double bottom = 0, low = 0, perValue = 1; // values grow upwards

    double x(double time) const { return left + (time - firstTime) * perSecond; }
    double y(double value) const { return bottom - (value - low) * perValue; }
};

// Path data, nowhere a tenth of a pixel off the curve. However many the pieces are, the text is
// bounded by the width of the picture.
std::string pathOf(const CurveRun& run, const Mapping& mapping);

} // namespace cadencora::stage
