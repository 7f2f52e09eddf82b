#include "stage/plot/units.h"

#include <algorithm>

namespace cadencora::stage {

std::size_t unitOf(const Scene& scene, ChannelId id) {
    const GroupId group = scene.channel(id).group;
    const auto& motion = scene.item(scene.group(group).item).motion;
    const auto found = std::ranges::find(motion, id);
    return found == motion.end() ? 3 : static_cast<std::size_t>(found - motion.begin()) / 3;
}

} // namespace cadencora::stage
