// "Defractionalize": moves the keys of a frame range that lie between frames onto whole frames.

#include "plugin/commands/commands.h"
#include "plugin/commands/walk.h"
#include "plugin/keys/whole_channels.h"
#include "plugin/sets/dialogs.h"

namespace cadencora {

void defractionEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    Services services;
    if (!fetchServices(&services)) return;
    double start = 0;
    double end = 0;
    if (!createDefaultPanel(state, &start, &end)) return;
    if (!message->yesNo("Defractionalize",
                        "All keyframes for the items within the frame range with be modifed!", ""))
        return;
    const double fps = services.scene->framesPerSecond;
    walkActiveChannels(services, state, [&](host::Envelope envelope) {
        reKeyChannelToNearest(services.channels, services.envelopes, envelope, start, end, fps);
    });
}

} // namespace cadencora
