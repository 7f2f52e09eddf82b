// Ticks of an axis, at 1, 2 or 5 times a power of ten.
#pragma once

#include <string>
#include <vector>

namespace cadencora::stage {

struct Tick {
    double at = 0; // the value
    std::string label;
};

struct AxisTicks {
    std::vector<Tick> ticks;
    int exponent = 0; // labels are the values divided by 10 to this power
};

struct Extent {
    double low = 0, high = 0;
};

// An extent in which a curve's values can be told apart from each other: a constant gets room
// around it, and so does one that only rounding moves.
Extent roomFor(Extent values);

// The smallest step of 1, 2 or 5 times a power of ten that divides `span` into at most `most`
// parts; 1 where one of them is not positive.
double niceStep(double span, double most);

// At most about `most` ticks. An exponent other than 0, a multiple of 3, is for values from a
// million on, or all below a thousandth.
AxisTicks valueAxis(Extent extent, int most);

// Ticks whose labels, with `suffix`, fit side by side into `width` pixels. Whole numbers only where
// `whole` is set.
std::vector<Tick> timeTicks(Extent extent, double width, double fontSize, bool whole,
                            const std::string& suffix);

} // namespace cadencora::stage
