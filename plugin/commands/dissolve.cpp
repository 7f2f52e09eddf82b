// "Dissolve" and "UnDissolve": hide or show objects over a frame range by keying their "Dissolve"
// channel, which the host is asked to add where it is missing.

#include "plugin/commands/commands.h"
#include "plugin/commands/walk.h"
#include "plugin/host/command_lines.h"
#include "plugin/keys/whole_channels.h"
#include "plugin/sets/dialogs.h"

#include <cmath>
#include <cstdio>

namespace cadencora {

struct DissolveCommand {
    const char* title;
    const char* question; // second line of the question
    double startValue;    // 1.0 is hidden
    double endValue;
    bool editObjects; // the host is first switched to editing objects
};

static void addDissolveChannel(const DissolveCommand& command, host::Item item) {
    if (command.editObjects) issueCommand("EditObjects");
    selectItem(item);
    issueCommand("AddEnvelope Dissolve");
}

static int keyDissolve(const Services& services, host::Item item, double time, double value) {
    const int shape = host::heldShape; // no fading: the object is there or it is not
    return setChannelKeysWithTag(services.envelopes, services.channels, services.items, item,
                                 "Dissolve", time, value, host::keyShape, &shape);
}

static void dissolveItem(const DissolveCommand& command, const Services& services, host::Item item,
                         double start, double end) {
    if (!keyDissolve(services, item, start, command.startValue)) {
        addDissolveChannel(command, item);
        keyDissolve(services, item, start, command.startValue);
    }
    if (end != start) keyDissolve(services, item, end, command.endValue);
}

static bool confirm(const DissolveCommand& command, double start, double end, double fps) {
    char range[256];
    std::snprintf(range, sizeof range, "START: %d --- END: %d",
                  static_cast<int>(std::lround(start * fps)),
                  static_cast<int>(std::lround(end * fps)));
    return message->yesNo("Dissolve range", range, command.question) != 0;
}

static void runDissolve(const DissolveCommand& command, ToolState* state) {
    Services services;
    if (!fetchServices(&services)) return;
    double start = 0;
    double end = 0;
    if (!createDefaultRangeObjectsPanel(command.title, state, &start, &end)) return;
    if (!confirm(command, start, end, services.scene->framesPerSecond)) return;
    walkItems(state, [&](host::Item item) {
        if (services.items->type(item) == host::objectItem)
            dissolveItem(command, services, item, start, end);
    });
}

void dissolveEvent(host::Control*, void* userData) {
    constexpr DissolveCommand hide = {"Dissolve(hide) objects in range", "", 1.0, 0.0, true};
    runDissolve(hide, static_cast<ToolState*>(userData));
}

void undissolveEvent(host::Control*, void* userData) {
    constexpr DissolveCommand show = {"Undissolve(show) objects in range",
                                      "Geometry objects in Affected List", 0.0, 1.0, false};
    runDissolve(show, static_cast<ToolState*>(userData));
}

} // namespace cadencora
