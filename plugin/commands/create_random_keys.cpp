// "Create Random Keys": adds keys at random times of a frame range, on the curves as they are.

#include "plugin/commands/commands.h"
#include "plugin/commands/random_command.h"
#include "plugin/sets/controls.h"

namespace cadencora {

// The positions are the RandomMethods.
static const char* const randomChoices[] = {"Random", "Even Spread", "Grouped Random",
                                            "Grouped Even", nullptr};

static host::Control* addMaxKeys(host::Panel panel) {
    return addInteger(panel, "Max Keys", 5);
}

static bool createInChannels(const RandomRun& run, int count) {
    return walkSelectedChannels(run, [&](host::Envelope envelope) {
        createRandomKeysChannel(run.services.channels, run.services.envelopes, envelope, run.start,
                                run.end, count, run.method);
    });
}

// Channels of a group share their times, so a whole group is keyed at once; "All" then means every
// channel of it, in the channel list or not.
static bool createInGroups(const RandomRun& run, int count) {
    bool done = false;
    walkItems(run.state, [&](host::Item item) {
        const host::Group group = run.services.items->channelGroup(item);
        if (!group || !isSelectedItem(run, item)) return;
        createRandomKeysChannelGroup(run.services.channels, run.services.envelopes, group,
                                     run.start, run.end, count, run.method, run.selection);
        done = true;
    });
    return done;
}

void createRandomEvent(host::Control*, void* userData) {
    constexpr RandomOptions options = {"Create random keyframes", randomChoices, addMaxKeys};
    RandomRun run;
    if (!beginRandomCommand(options, static_cast<ToolState*>(userData), &run)) return;
    const int count = readInteger(run.amount, host::controlValue);
    const bool grouped = run.method == groupedRandom || run.method == groupedEven;
    endRandomCommand(run, grouped ? createInGroups(run, count) : createInChannels(run, count));
}

} // namespace cadencora
