// The standard motion channels and what kind of channel a name is.
//
// Calls only the host's channel service. Names are compared without regard to case.
#pragma once

#include "plugin/host/channel_info.h"

namespace cadencora {

// "Position.X" to "Scale.Z", nine names and a null: 0 to 2 position, 3 to 5 rotation, 6 to 8 scale.
constexpr int numDefaultChannels = 9;
extern const char* const controllableChannels[numDefaultChannels + 1];

// 1 or 0.
int isRotationChannel(const host::ChannelInfo* channels, host::Channel channel);
int isPositionChannel(const host::ChannelInfo* channels, host::Channel channel);

} // namespace cadencora
