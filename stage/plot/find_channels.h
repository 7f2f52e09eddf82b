// Channels by their paths.
#pragma once

#include "stage/base/result.h"
#include "stage/scene/scene.h"

#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

// The first channel of a path, as Scene::channelPath writes it; `none` where it names none.
ChannelId channelAt(const Scene& scene, std::string_view path);

// The channels of the paths, each once; for an unknown one a Problem with the nearest names.
Result<std::vector<ChannelId>> channelsAt(const Scene& scene,
                                          const std::vector<std::string>& paths);

} // namespace cadencora::stage
