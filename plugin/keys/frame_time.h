// Time and frames. Times are seconds, frames whole numbers, fps frames per second of the scene.
//
// Pure functions; call nobody. The frame rate is never kept: callers read it when they need it.
#pragma once

namespace cadencora {

double toTime(int frame, double fps);

// The time of the nearest whole frame; half-way between two frames, that of the lower one. A time
// whose frame number does not fit an int comes back unchanged.
double roundTime(double time, double fps);

} // namespace cadencora
