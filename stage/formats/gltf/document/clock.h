// The frames that the key times of a file are on.
#pragma once

#include "stage/scene/keys/frame_rate.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cadencora::stage::gltf {

using Times = std::shared_ptr<const std::vector<float>>; // seconds, ascending

// The frames that a clip's keys are on.
struct Clock {
    FrameRate rate;
    bool onFrames = false; // every key is on a frame of `grid`, except for rounding
    FrameRate grid;
    std::string note; // where the rate came from

    // The time of a key in seconds: the exact time of its frame where it is on one.
    double at(float time) const;
};

// Of the usual rates the first whose frames hold all the times. `wanted`, where given, is the rate.
Clock chooseClock(std::span<const Times> times, std::optional<FrameRate> wanted);

} // namespace cadencora::stage::gltf
