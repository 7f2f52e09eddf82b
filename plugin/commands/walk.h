// The walks of a command over the channels of the affected items.
//
// Call the host's item and channel services, the channel list and the command's own visit. Only
// channels directly in an item's group are met; channels without a curve are passed over.
#pragma once

#include "plugin/host/channel_walk.h"
#include "plugin/host/services.h"
#include "plugin/sets/channel_list.h"
#include "plugin/sets/object_table.h"
#include "plugin/shell/tool_state.h"

namespace cadencora {

// `visit` gets each channel of one group that passes, in the host's order, and its envelope.
template <class Passes, class Visit>
void walkChannels(const Services& services, host::Group group, Passes passes, Visit visit) {
    if (!group) return;
    walkGroup(services.channels, group, [&](host::Channel channel) {
        if (!passes(channel)) return;
        if (const host::Envelope envelope = services.channels->channelEnvelope(channel))
            visit(channel, envelope);
    });
}

// `visit` gets the envelope of each channel of all affected items whose name is in the channel
// list: the shape of most commands.
template <class Visit>
void walkActiveChannels(const Services& services, const ToolState* state, Visit visit) {
    const auto passes = [&](host::Channel channel) {
        return isActiveChannel(services.channels->channelName(channel), state);
    };
    walkItems(state, [&](host::Item item) {
        walkChannels(services, services.items->channelGroup(item), passes,
                     [&](host::Channel, host::Envelope envelope) { visit(envelope); });
    });
}

} // namespace cadencora
