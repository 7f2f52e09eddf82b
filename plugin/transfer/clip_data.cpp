// "Save Clip data" and "Load Clip data": the motion of the affected items over a frame range, kept
// in a directory of motion files. The two differ in their texts and in what is done per item.

#include "plugin/host/services.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/dialogs.h"
#include "plugin/sets/item_search.h"
#include "plugin/sets/object_table.h"
#include "plugin/sets/panels.h"
#include "plugin/transfer/channel_motion.h"
#include "plugin/transfer/left_out.h"
#include "plugin/transfer/transfer.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace cadencora {

struct ClipCommand {
    const char* dialogTitle;
    const char* directoryTitle;
    const char* directoryLabel;
    const char* done; // begins the closing message
    int (*transfer)(const host::ChannelInfo*, const host::EnvelopeFuncs*, const host::FileIOFuncs*,
                    const host::SceneInfo*, host::Group, const char* directory, int startFrame,
                    int endFrame);
};

static bool fetchClipServices(Services* services) {
    if (!fetchServices(services)) return false;
    fetchFileServices(services);
    return services->files && services->directories;
}

// False if the user cancels or names no directory, or if no panel can be made.
static bool askDirectory(const ClipCommand& command, host::DirInfo directories,
                         char (&directory)[pathSize]) {
    const host::Panel panel = createPanel(command.directoryTitle);
    if (!panel) return false;
    const char* motions = directories(host::motionsDirectory);
    host::Control* control = addPathControl(panel, host::dirControl, command.directoryLabel, 50);
    setPathText(control, motions ? motions : "[Some Directory with Motion Files]");
    if (!runPanel(panel)) return false;
    return readPath(control, directory);
}

// "words path"; where the two do not fit, the middle of the path becomes "...".
static void fillClosingLine(char (&line)[256], const char* words, const char* path) {
    const int wanted = std::snprintf(line, sizeof line, "%s %s", words, path);
    const int excess = wanted - static_cast<int>(sizeof line - 1);
    if (excess <= 0) return;
    constexpr int dots = 3;
    const int length = static_cast<int>(std::strlen(path));
    const int head = (length - excess - dots) / 2;
    const int tail = length - excess - dots - head;
    std::snprintf(line, sizeof line, "%s %.*s...%s", words, head, path, path + length - tail);
}

// Files are named after the items' channel groups, so items whose groups have one name share them.
static void reportTwins(const Services& services, const ToolState* state) {
    NameIndex index;
    clearNameIndex(&index, services.items, services.channels);
    LeftOut twins{};
    walkItems(state, [&](host::Item item) {
        const host::Group group = services.items->channelGroup(item);
        const char* groupName = group ? services.channels->groupName(group) : nullptr;
        if (!groupName || addName(&index, item) || findInIndex(&index, groupName) == item) return;
        if (const char* name = services.items->itemName(item)) addLeftOut(&twins, name, nullptr);
    });
    reportLeftOut(twins, "Items whose name another one has, and thus the same files");
}

static void runClip(const ClipCommand& command, ToolState* state) {
    Services services;
    if (!fetchClipServices(&services)) return;
    double start = 0;
    double end = 0;
    if (!createDefaultRangeObjectsPanel(command.dialogTitle, state, &start, &end)) return;
    char directory[pathSize];
    if (!askDirectory(command, services.directories, directory)) return;

    const double fps = services.scene->framesPerSecond;
    const int startFrame = static_cast<int>(std::lround(start * fps));
    const int endFrame = static_cast<int>(std::lround(end * fps));
    LeftOut tooLong{};
    walkItems(state, [&](host::Item item) {
        const host::Group group = services.items->channelGroup(item);
        command.transfer(services.channels, services.envelopes, services.files, services.scene,
                         group, directory, startFrame, endFrame);
        if (countLongPaths(services.channels, group, directory) > 0)
            addLeftOut(&tooLong, services.items->itemName(item), nullptr);
    });
    reportLeftOut(tooLong, "Items with files passed over, as their paths are too long");
    reportTwins(services, state);

    char where[256], frames[256];
    fillClosingLine(where, command.done, directory);
    std::snprintf(frames, sizeof frames, "Frames: %d - %d", startFrame, endFrame);
    message->info(where, frames);
}

void saveMotionEvent(host::Control*, void* userData) {
    constexpr ClipCommand save = {"Select objects + channels to save",
                                  "Save Motions to EMPTY directory", "New Motion directory",
                                  "Motion saved to", saveChannel};
    runClip(save, static_cast<ToolState*>(userData));
}

void loadMotionEvent(host::Control*, void* userData) {
    constexpr ClipCommand load = {"Select objects + channels to modify",
                                  "Load Motions from directory", "Motion directory",
                                  "Motion loaded from", loadChannel};
    runClip(load, static_cast<ToolState*>(userData));
}

} // namespace cadencora
