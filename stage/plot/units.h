// What the values of a channel are measured in, for people.
#pragma once

#include "stage/scene/scene.h"

#include <array>
#include <numbers>
#include <string_view>

namespace cadencora::stage {

struct Unit {
    std::string_view name;
    double factor; // of the channel's own values
};
constexpr std::array<Unit, 4> units{{{"Position (scene units)", 1},
                                     {"Rotation (degrees)", 180 / std::numbers::pi},
                                     {"Scale (factor)", 1},
                                     {"Value", 1}}};

// Which of the units a channel has.
std::size_t unitOf(const Scene& scene, ChannelId id);

} // namespace cadencora::stage
