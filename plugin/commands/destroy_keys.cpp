// "Destroy Keys": removes the keys of a frame range from the affected channels.

#include "plugin/commands/commands.h"
#include "plugin/commands/range_command.h"
#include "plugin/keys/whole_channels.h"

namespace cadencora {

void destroyEvent(host::Control*, void* userData) {
    RangeRun run;
    if (!beginRangeCommand(userData, &run)) return;
    if (!message->yesNo("Delete keys in frame range", "Do you want to clear the channel data",
                        "for the selected items?"))
        return;
    walkActiveChannels(run.services, run.state, [&](host::Envelope envelope) {
        clearChannel(run.services.channels, run.services.envelopes, envelope, run.start, run.end);
    });
}

} // namespace cadencora
