#include "plugin/sets/dialogs.h"

#include "plugin/host/lookup.h"
#include "plugin/keys/frame_time.h"
#include "plugin/sets/channel_list.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/object_list.h"
#include "plugin/sets/object_table.h"
#include "plugin/sets/panels.h"

namespace cadencora {

// What a dialog shows above its object list.
enum DialogParts : unsigned { frameRange = 1, channelNames = 2 };

static bool checkRange(double start, double end) {
    if (!(start <= end)) {
        message->error("End frame must be greater (or equal) than start frame",
                       "Not completing operation");
        return false;
    }
    return true;
}

// Collects the table as the user left the toggles, unless the loaded list is kept.
static bool settleObjects(ToolState* state) {
    if (!readInteger(state->customListToggle, host::controlValue)) getSelected(state);
    if (state->numObjects == 0) {
        message->error("No items affected(none in list)", "Please add items to the list");
        return false;
    }
    return true;
}

static int runDialog(const char* title, unsigned parts, ToolState* state, double* start,
                     double* end) {
    const host::Panel panel = createPanel(title);
    if (!panel) return 0;
    if (parts & frameRange) addFrameSliders(panel, state);
    if (parts & channelNames) addChannelListBox(panel, state);
    addObjectListBox(panel, state);
    if (!runPanel(panel)) return 0;
    if (parts & frameRange)
        if (!getRangeTime(panel, state, start, end) || !checkRange(*start, *end)) return 0;
    return settleObjects(state) ? 1 : 0;
}

int createDefaultPanel(ToolState* state, double* start, double* end) {
    return createDefaultPanelWithTitle("Select range and objects", state, start, end);
}

int createDefaultPanelWithTitle(const char* title, ToolState* state, double* start, double* end) {
    return runDialog(title, frameRange | channelNames, state, start, end);
}

int createDefaultRangeObjectsPanel(const char* title, ToolState* state, double* start,
                                   double* end) {
    return runDialog(title, frameRange, state, start, end);
}

int createDefaultFramePanel(const char* title, ToolState* state) {
    return runDialog(title, channelNames, state, nullptr, nullptr);
}

int createDefaultObjectPanel(const char* title, ToolState* state) {
    return runDialog(title, 0, state, nullptr, nullptr);
}

int createDefaultMorphPanel(const char* title, ToolState* state) {
    return createDefaultObjectPanel(title, state);
}

void addFrameSliders(host::Panel panel, ToolState* state) {
    constexpr int width = 100;
    state->startSlider = nullptr;
    state->endSlider = nullptr;
    const host::InterfaceInfo* interfaceInfo = fetchInterfaceInfo();
    const host::SceneInfo* scene = fetchSceneInfo();
    if (!interfaceInfo || !scene) return;
    const int first = interfaceInfo->previewFirstFrame;
    const int previewLast = interfaceInfo->previewLastFrame;
    const int last = scene->lastFrame > previewLast ? scene->lastFrame : previewLast;
    state->startSlider = addSlider(panel, "Start", width, first, last, first);
    state->endSlider = addSlider(panel, "  End", width, first, last, last);
}

int getRangeTime(host::Panel, const ToolState* state, double* start, double* end) {
    const host::SceneInfo* scene = fetchSceneInfo();
    if (!scene || !state->startSlider || !state->endSlider) return 0;
    const double fps = scene->framesPerSecond;
    if (!(fps > 0)) return 0; // frames have no times
    *start = toTime(readInteger(state->startSlider, host::controlValue), fps);
    *end = toTime(readInteger(state->endSlider, host::controlValue), fps);
    return 1;
}

} // namespace cadencora
