// "Channel Info 2": channel groups and channels. All handles and names are the host's.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* channelInfoName = "Channel Info 2";

struct ChannelInfo {
    Group (*nextGroup)(Group parent, Group group);        // slot 0: null gives the first sub-group
    Channel (*nextChannel)(Group group, Channel channel); // slot 1: null gives the first channel
    const char* (*groupName)(Group group);                // slot 2
    const char* (*channelName)(Channel channel);          // slot 3: "Position.X", ...
    Reserved slot4, slot5, slot6;
    double (*channelEvaluate)(Channel channel, double time); // slot 7: time in seconds
    Envelope (*channelEnvelope)(Channel channel);            // slot 8
};

static_assert(offsetof(ChannelInfo, channelName) == slot(3));
static_assert(offsetof(ChannelInfo, channelEvaluate) == slot(7));
static_assert(offsetof(ChannelInfo, channelEnvelope) == slot(8));

} // namespace cadencora::host
