// "Randomize/Jitter Keys": shifts values and times of the keys of a frame range by random amounts.

#include "plugin/commands/commands.h"
#include "plugin/commands/random_command.h"
#include "plugin/keys/modify_channel.h"
#include "plugin/sets/controls.h"

#include <cmath>

namespace cadencora {

// The positions count from jitterValue.
static const char* const jitterChoices[] = {"Value", "Time", "Both", nullptr};

static host::Control* addMaxValue(host::Panel panel) {
    return addReal(panel, "Max Value", 0.05);
}

void jitterEvent(host::Control*, void* userData) {
    constexpr RandomOptions options = {"Randomize keyframes", jitterChoices, addMaxValue};
    RandomRun run;
    if (!beginRandomCommand(options, static_cast<ToolState*>(userData), &run)) return;
    const double amount = readReal(run.amount);
    const bool done =
        std::isfinite(amount) && walkSelectedChannels(run, [&](host::Envelope envelope) {
            modifyChannel(run.services.channels, run.services.envelopes, envelope, run.start,
                          run.end, amount, jitterValue + run.method);
        });
    endRandomCommand(run, done);
}

} // namespace cadencora
