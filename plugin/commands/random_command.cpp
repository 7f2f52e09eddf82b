#include "plugin/commands/random_command.h"

#include "plugin/sets/controls.h"
#include "plugin/sets/dialogs.h"
#include "plugin/sets/panels.h"

#include <cstdlib>
#include <ctime>

namespace cadencora {

static const char* const jitterChoices2[] = {"All", "Bone Rotation", "Object Position", nullptr};

// Where the host did not make the control there is no method, and nothing is selected.
static int readChoice(host::Control* choice) {
    return readInteger(choice, host::controlValue, -1);
}

bool beginRandomCommand(const RandomOptions& options, ToolState* state, RandomRun* run) {
    if (!fetchServices(&run->services)) return false;
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    if (!createDefaultPanel(state, &run->start, &run->end)) return false;
    run->state = state;
    run->panel = createPanel(options.title);
    if (!run->panel) return false;
    host::Control* method = addChoice(run->panel, host::choiceControl, "Method", options.methods);
    host::Control* selection =
        addChoice(run->panel, host::choiceControl, "Selection", jitterChoices2);
    run->amount = options.addAmount(run->panel);
    if (!runPanel(run->panel)) {
        panelService->destroyPanel(run->panel);
        return false;
    }
    run->method = readChoice(method);
    run->selection = readChoice(selection);
    return true;
}

void endRandomCommand(const RandomRun& run, bool done) {
    if (!done)
        message->error("Nothing randomized!", "Please check the selected objects and channels");
    panelService->destroyPanel(run.panel);
}

bool isSelectedItem(const RandomRun& run, host::Item item) {
    switch (run.selection) {
    case allChannels:
        return true;
    case boneRotation:
        return run.services.items->type(item) == host::boneItem;
    case objectPosition:
        return run.services.items->type(item) == host::objectItem;
    default:
        return false;
    }
}

bool isSelectedChannel(const RandomRun& run, host::Channel channel) {
    const host::ChannelInfo* channels = run.services.channels;
    return run.selection == allChannels ? isActiveChannel(channels->channelName(channel), run.state)
                                        : isOfSelectedKind(channels, channel, run.selection);
}

} // namespace cadencora
