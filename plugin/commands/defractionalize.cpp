// "Defractionalize": moves the keys of a frame range that lie between frames onto whole frames.

#include "plugin/commands/commands.h"
#include "plugin/commands/range_command.h"
#include "plugin/keys/whole_channels.h"

namespace cadencora {

void defractionEvent(host::Control*, void* userData) {
    RangeRun run;
    if (!beginRangeCommand(userData, &run)) return;
    if (!message->yesNo("Defractionalize",
                        "All keyframes for the items within the frame range with be modifed!", ""))
        return;
    const double fps = run.services.scene->framesPerSecond;
    walkActiveChannels(run.services, run.state, [&](host::Envelope envelope) {
        reKeyChannelToNearest(run.services.channels, run.services.envelopes, envelope, run.start,
                              run.end, fps);
    });
}

} // namespace cadencora
