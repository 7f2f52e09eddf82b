// "LW Scene Info 6": a data record of the host's, up to date at each lookup.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* sceneInfoName = "LW Scene Info 6";

#pragma pack(push, 4)
struct SceneInfo {
    std::uint32_t reserved00[7];
    std::int32_t lastFrame; // byte 0x1c: last frame of the render range
    std::uint32_t reserved20;
    double framesPerSecond; // byte 0x24
};
#pragma pack(pop)

static_assert(offsetof(SceneInfo, lastFrame) == 0x1c);
static_assert(offsetof(SceneInfo, framesPerSecond) == 0x24);

} // namespace cadencora::host
