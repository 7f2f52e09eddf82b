#include "plugin/keys/frame_time.h"

#include <climits>
#include <cmath>

namespace cadencora {

double toTime(int frame, double fps) {
    return frame / fps;
}

double roundTime(double time, double fps) {
    const double x = time * fps;
    if (!(std::fabs(x) < 4e9)) return time;
    const double whole = static_cast<double>(static_cast<long long>(x)); // towards zero
    const double upper = whole < x ? whole + 1 : whole; // std::ceil would be a call for each key
    const double lower = upper - 1;
    const double frame = std::fabs(lower - x) <= std::fabs(upper - x) ? lower : upper;
    if (!(frame >= INT_MIN && frame <= INT_MAX)) return time;
    return toTime(static_cast<int>(frame), fps);
}

} // namespace cadencora
