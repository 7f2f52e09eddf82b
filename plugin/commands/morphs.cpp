// "Key All Morphs", "UnKey All Morphs" and "Reset All Morphs": the morph channels of the affected
// objects at the host's current time.

#include "plugin/commands/commands.h"
#include "plugin/commands/walk.h"
#include "plugin/keys/morph_channels.h"
#include "plugin/sets/dialogs.h"

#include <cstdio>

namespace cadencora {

using MorphOperation = int (*)(const host::EnvelopeFuncs*, const host::ChannelInfo*,
                               const host::ItemInfo*, host::Item, double time);

// `word` begins the dialog's title.
static void runMorphs(const char* word, MorphOperation operation, ToolState* state) {
    Services services;
    if (!fetchServices(&services)) return;
    const host::InterfaceInfo* interfaceInfo = services.interfaceInfo;
    char title[256];
    std::snprintf(title, sizeof title, "%s ALL morph channels at: %d", word,
                  static_cast<int>(interfaceInfo->currentTime * services.scene->framesPerSecond));
    if (!createDefaultMorphPanel(title, state)) return;
    // The time itself, which may lie between two frames.
    const double time = interfaceInfo->currentTime;
    walkItems(state, [&](host::Item item) {
        if (services.items->type(item) == host::objectItem)
            operation(services.envelopes, services.channels, services.items, item, time);
    });
}

void keyAllMorphsEvent(host::Control*, void* userData) {
    runMorphs("Key", keyAllMorphChannels, static_cast<ToolState*>(userData));
}

void unkeyAllMorphsEvent(host::Control*, void* userData) {
    runMorphs("Key", unkeyAllMorphChannels, static_cast<ToolState*>(userData));
}

void resetAllMorphsEvent(host::Control*, void* userData) {
    runMorphs("Reset", resetAllMorphChannels, static_cast<ToolState*>(userData));
}

} // namespace cadencora
