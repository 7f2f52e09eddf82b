// What the two random commands share: seeding, dialogs, and which items and channels are meant.
//
// Calls the dialogs, the controls and the host; create_random_keys and jitter_keys use it.
#pragma once

#include "plugin/commands/walk.h"
#include "plugin/keys/random_keys.h"

namespace cadencora {

// One run of a random command, from its accepted dialogs to its end. The panel stays open to
// reading until then.
struct RandomRun {
    Services services;
    const ToolState* state;
    double start; // seconds
    double end;
    host::Panel panel;
    host::Control* amount; // the command's own field
    int method;            // index into the command's choices
    int selection;         // a ChannelSelection
};

// What tells the options panels of the two commands apart.
struct RandomOptions {
    const char* title;
    const char* const* methods; // ends with null
    host::Control* (*addAmount)(host::Panel panel);
};

// Seeds the generator and runs both dialogs. False: the command ends, and nothing is left to free.
bool beginRandomCommand(const RandomOptions& options, ToolState* state, RandomRun* run);

// Tells the user when nothing was `done`, and frees the panel.
void endRandomCommand(const RandomRun& run, bool done);

// Whether the selection means this item: any item, only bones, or only objects.
bool isSelectedItem(const RandomRun& run, host::Item item);

// Whether the selection means this channel of such an item.
bool isSelectedChannel(const RandomRun& run, host::Channel channel);

// `visit` gets the envelope of every selected channel. True if there was one.
template <class Visit>
bool walkSelectedChannels(const RandomRun& run, Visit visit) {
    bool done = false;
    walkItems(run.state, [&](host::Item item) {
        if (isSelectedItem(run, item))
            walkChannels(
                run.services, run.services.items->channelGroup(item),
                [&](host::Channel channel) { return isSelectedChannel(run, channel); },
                [&](host::Channel, host::Envelope envelope) {
                    visit(envelope);
                    done = true;
                });
    });
    return done;
}

} // namespace cadencora
