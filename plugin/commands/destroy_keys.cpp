// "Destroy Keys": removes the keys of a frame range from the affected channels.

#include "plugin/commands/commands.h"
#include "plugin/commands/walk.h"
#include "plugin/keys/whole_channels.h"
#include "plugin/sets/dialogs.h"

namespace cadencora {

void destroyEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    Services services;
    if (!fetchServices(&services)) return;
    double start = 0;
    double end = 0;
    if (!createDefaultPanel(state, &start, &end)) return;
    if (!message->yesNo("Delete keys in frame range", "Do you want to clear the channel data",
                        "for the selected items?"))
        return;
    walkActiveChannels(services, state, [&](host::Envelope envelope) {
        clearChannel(services.channels, services.envelopes, envelope, start, end);
    });
}

} // namespace cadencora
