// The walk over the channels of a group, in the host's order. Sub-groups are not entered.
//
// Calls the host's channel service and the caller's visit.
#pragma once

#include "plugin/host/channel_info.h"

#include <type_traits>

namespace cadencora {

// `visit` gets each channel. It may return false to end the walk, which then returns false too; a
// visit without a result sees all channels.
template <class Visit>
bool walkGroup(const host::ChannelInfo* channels, host::Group group, Visit visit) {
    for (host::Channel channel = channels->nextChannel(group, nullptr); channel;
         channel = channels->nextChannel(group, channel)) {
        if constexpr (std::is_void_v<decltype(visit(channel))>) {
            visit(channel);
        } else {
            if (!visit(channel)) return false;
        }
    }
    return true;
}

} // namespace cadencora
