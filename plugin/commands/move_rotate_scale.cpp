// "MoveRotateScale": adds to, multiplies or overwrites the keys of the nine standard channels in a
// frame range, by one number per channel. The channel list is not used.

#include "plugin/commands/commands.h"
#include "plugin/commands/range_command.h"
#include "plugin/host/names.h"
#include "plugin/keys/modify_channel.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/panels.h"

namespace cadencora {

// The positions are the first ModifyModes.
static const char* const valueChoices[] = {"Add", "Multiply", "Overwrite", nullptr};

struct ValueFields {
    host::Control* method;
    host::Control* values[numDefaultChannels]; // in the order of the default channels
};

static ValueFields addFields(host::Panel panel) {
    ValueFields fields{};
    fields.method = addChoice(panel, host::choiceControl, "Method", valueChoices);
    for (int k = 0; k < numDefaultChannels; ++k) {
        fields.values[k] = addReal(panel, defaultChannels[k], 1.0);
        alignValueBox(fields.values[k]);
    }
    return fields;
}

// The place of a name among the default channels, or -1.
static int findDefaultChannel(const char* name) {
    for (int k = 0; name && k < numDefaultChannels; ++k)
        if (isSameName(name, defaultChannels[k])) return k;
    return -1;
}

// What the user typed for channel k, in the channel's own unit: rotations are typed in degrees,
// but a factor is a factor.
static double readAmount(const ValueFields& fields, int k, int method) {
    const double typed = readReal(fields.values[k]);
    const bool isRotation = k >= 3 && k <= 5;
    return isRotation && method != multiplyMode ? typed * 3.1415926535 / 180.0 : typed;
}

static void modifyItem(const Services& services, host::Item item, double start, double end,
                       const ValueFields& fields, int method) {
    int k = -1;
    const auto isStandard = [&](host::Channel channel) {
        k = findDefaultChannel(services.channels->channelName(channel));
        return k >= 0 && fields.values[k];
    };
    walkChannels(services, services.items->channelGroup(item), isStandard,
                 [&](host::Channel, host::Envelope envelope) {
                     modifyChannel(services.channels, services.envelopes, envelope, start, end,
                                   readAmount(fields, k, method), method);
                 });
}

void moveRotateScaleEvent(host::Control*, void* userData) {
    RangeRun run;
    if (!beginRangeCommand(userData, &run)) return;
    const host::Panel panel = createPanel("Move/Rotation/Scale keys");
    if (!panel) return;
    const ValueFields fields = addFields(panel);
    if (runPanel(panel)) {
        const int method = readInteger(fields.method, host::controlValue, -1);
        walkItems(run.state, [&](host::Item item) {
            modifyItem(run.services, item, run.start, run.end, fields, method);
        });
    }
    panelService->destroyPanel(panel);
}

} // namespace cadencora
