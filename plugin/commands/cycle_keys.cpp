// "Cycle (Bake) Keys": repeats the keys of a frame range after it, with a gap of whole frames.

#include "plugin/commands/commands.h"
#include "plugin/commands/range_command.h"
#include "plugin/keys/frame_time.h"
#include "plugin/keys/whole_channels.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/panels.h"

namespace cadencora {

struct CycleOptions {
    double gap;  // seconds between one repetition and the next
    int repeats; // 1 to 50
};

// Asks for the options. The panel may be destroyed once they are read; false: cancelled.
static bool runOptions(host::Panel panel, const Services& services, CycleOptions* options) {
    constexpr int width = 120;
    constexpr int maxRepeats = 50;
    const int lastFrame = services.interfaceInfo->previewLastFrame;
    host::Control* gap = addSlider(panel, "Cycle Gap", width, 0, lastFrame, 0);
    host::Control* repeats = addSlider(panel, "Repeats", width, 1, maxRepeats, 1);
    alignValueBox(gap);
    alignValueBox(repeats);
    if (!runPanel(panel)) return false;
    options->gap = toTime(readInteger(gap, host::controlValue), services.scene->framesPerSecond);
    options->repeats = readInteger(repeats, host::controlValue);
    return true;
}

static void cycleChannel(const Services& services, host::Envelope envelope, double start,
                         double end, const CycleOptions& options) {
    const double length = end - start;
    for (int k = 0; k < options.repeats; ++k)
        copyShiftChannel(services.channels, services.envelopes, envelope, start, end,
                         k * length + (k + 1) * options.gap);
}

void copyEvent(host::Control*, void* userData) {
    RangeRun run;
    if (!beginRangeCommand(userData, &run)) return;
    const host::Panel panel = createPanel("Copy and Cycle frames");
    if (!panel) return;
    CycleOptions options{};
    if (runOptions(panel, run.services, &options))
        walkActiveChannels(run.services, run.state, [&](host::Envelope envelope) {
            cycleChannel(run.services, envelope, run.start, run.end, options);
        });
    panelService->destroyPanel(panel);
}

} // namespace cadencora
