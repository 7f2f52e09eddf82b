#include "plugin/keys/channel_kinds.h"
#include "plugin/host/names.h"

namespace cadencora {

const char* const controllableChannels[numDefaultChannels + 1] = {
    "Position.X", "Position.Y", "Position.Z", "Rotation.H", "Rotation.P",
    "Rotation.B", "Scale.X",    "Scale.Y",    "Scale.Z",    nullptr};

static int isOneOfThree(const host::ChannelInfo* channels, host::Channel channel,
                        const char* const* names) {
    const char* name = channels->channelName(channel);
    if (!name) return 0;
    for (int i = 0; i < 3; ++i)
        if (isSameName(name, names[i])) return 1;
    return 0;
}

int isRotationChannel(const host::ChannelInfo* channels, host::Channel channel) {
    return isOneOfThree(channels, channel, controllableChannels + 3);
}

int isPositionChannel(const host::ChannelInfo* channels, host::Channel channel) {
    return isOneOfThree(channels, channel, controllableChannels);
}

} // namespace cadencora
