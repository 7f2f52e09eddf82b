// Pictures of animation curves, as SVG.
//
// This folder owns how curves look on paper. It calls stage/base and stage/scene, nothing else, and
// reads no files: scenes come in, text goes out. The same input gives the same bytes.
#pragma once

#include "stage/base/result.h"
#include "stage/scene/scene.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cadencora::stage {

constexpr std::int64_t farthestPlotFrame = 2'000'000'000; // either side of frame 0

struct PlotRequest {
    const Scene& scene;
    std::vector<std::string> channels; // as Scene::channelPath writes them, in the legend's order
    const Scene* before = nullptr;     // the same channels of it are drawn below, faintly
    // The frames shown. Left out: the scene's, and every key of the channels.
    std::optional<std::int64_t> from = {}, to = {};
};

// One chart per unit: positions in scene units, rotations in degrees, scales as factors, the rest
// as values. `before` is laid over by time, whatever its rate; a channel that it lacks has no
// ghost.
Result<std::string> plotSvg(const PlotRequest& request);

} // namespace cadencora::stage
