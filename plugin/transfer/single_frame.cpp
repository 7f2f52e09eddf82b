// "Save Single Frame data" and "Load Single Frame data": the pose of the affected items in a text
// file, put back as keys at whatever time is current then.

#include "plugin/transfer/single_frame.h"

#include "plugin/host/channel_walk.h"
#include "plugin/host/names.h"
#include "plugin/host/services.h"
#include "plugin/keys/whole_channels.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/dialogs.h"
#include "plugin/sets/item_search.h"
#include "plugin/sets/object_table.h"
#include "plugin/sets/panels.h"
#include "plugin/transfer/frame_records.h"
#include "plugin/transfer/left_out.h"
#include "plugin/transfer/transfer.h"

#include <cstring>

namespace cadencora {

// What a file path is asked for with.
struct FileQuestion {
    const char* title;
    const char* label;
};

// Saving needs no envelopes: poses are values.
static bool fetchSavingServices(Services* services) {
    fetchServices(services);
    return services->items && services->interfaceInfo && services->scene && services->channels;
}

// False if the user cancels, or if no panel can be made.
static bool askFile(const FileQuestion& question, char (&path)[pathSize]) {
    const host::Panel panel = createPanel(question.title);
    if (!panel) return false;
    host::Control* control = addPathControl(panel, host::fileControl, question.label, 60);
    setPathText(control, "*.lw_frame");
    if (!runPanel(panel)) return false;
    readPath(control, path);
    return true;
}

// "words at frame N", the frame cut to a whole number.
static void reportFrame(const char* words, const Services& services, double time,
                        const char* line2) {
    char line1[256];
    std::snprintf(line1, sizeof line1, "%s at frame %d", words,
                  static_cast<int>(time * services.scene->framesPerSecond));
    message->info(line1, line2);
}

// Saving

template <class Visit>
static void walkNamed(const host::ChannelInfo* channels, host::Group group, Visit visit) {
    walkGroup(channels, group, [&](host::Channel channel) {
        if (const char* name = channels->channelName(channel)) visit(channel, name);
    });
}

int saveChannelKeysToFile(const host::ChannelInfo* channels, host::Group group, double time,
                          const char* itemName, std::FILE* file) {
    if (!channels) return 0;
    walkNamed(channels, group, [=](host::Channel channel, const char* name) {
        char line[recordLineSize];
        if (readsBack(itemName, name) &&
            formatRecord(itemName, name, channels->channelEvaluate(channel, time), line))
            std::fputs(line, file);
    });
    return 1;
}

// What saving remembers from item to item.
struct FrameSaving {
    const Services& services;
    std::FILE* file;
    double time; // seconds
    NameIndex index;
    host::Item lastItem;
    LeftOut leftOut;
};

// Whether loading will find the item again: no other item that is saved has its name, and the name
// does not differ only by case from the one before it in the file, which would then get its values.
static bool isFoundAgain(FrameSaving* saving, host::Item item, const char* name) {
    if (!addName(&saving->index, item) && findInIndex(&saving->index, name) != item) return false;
    if (!saving->lastItem || saving->lastItem == item) return true;
    return !isSameName(name, saving->services.items->itemName(saving->lastItem));
}

static void saveItem(FrameSaving* saving, host::Item item) {
    const host::ChannelInfo* channels = saving->services.channels;
    const char* name = saving->services.items->itemName(item);
    const host::Group group = saving->services.items->channelGroup(item);
    if (!name || !group) return;
    if (!readsBack(name, "Channel") || !isFoundAgain(saving, item, name)) {
        addLeftOut(&saving->leftOut, name, nullptr);
        return;
    }
    saveChannelKeysToFile(channels, group, saving->time, name, saving->file);
    saving->lastItem = item;
    walkNamed(channels, group, [=](host::Channel, const char* channelName) {
        if (!readsBack(name, channelName)) addLeftOut(&saving->leftOut, name, channelName);
    });
}

// Whether the file is not there, or the user wants it replaced.
static bool mayWrite(const char* path) {
    std::FILE* file = tryReading(path);
    if (!file) return true;
    std::fclose(file);
    return message->yesNo("Cadencora warning", "Overwrite existing file?", path) != 0;
}

void saveFrameEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    Services services;
    if (!fetchSavingServices(&services)) return;
    if (!createDefaultFramePanel("Select objects + channels to save", state)) return;
    char path[pathSize];
    if (!askFile({"Save Frame data to file", "File full path"}, path) || !mayWrite(path)) return;
    NewFile file;
    if (!openForWriting(&file, path)) return;

    FrameSaving saving{services, file.stream, services.interfaceInfo->currentTime, {}, nullptr, {}};
    clearNameIndex(&saving.index, services.items);
    walkItems(state, [&](host::Item item) { saveItem(&saving, item); });
    if (!closeWritten(&file)) return;
    reportLeftOut(saving.leftOut, "Left out, as their names cannot be read back");
    reportFrame("Saved all channel data", services, saving.time,
                "Use [Load Frame] to use saved state");
}

// Loading

// What loading remembers from line to line: the item that the last line's item field led to.
struct FrameLoading {
    const Services& services;
    const ToolState* state;
    NameIndex index;
    char field[wordSize];
    host::Item item; // null: no such item, or not an affected one
    bool morphs;
    int entry; // of the item table, where the next item is likely to be
};

static host::Item findAffected(FrameLoading* loading, const char* name) {
    const host::Item item = findIDInIndex(&loading->index, name);
    if (!item || !affectOnlySelected(loading->state)) return item;
    const int entry = findObject(loading->state, item, loading->entry);
    if (entry < 0) return nullptr;
    loading->entry = entry;
    return item;
}

static void takeField(FrameLoading* loading, const char* field) {
    if (isSameName(field, loading->field)) return;
    std::strcpy(loading->field, field);
    loading->morphs = isMorphRecord(field);
    if (!loading->morphs) loading->item = findAffected(loading, field);
}

static void loadRecord(FrameLoading* loading, const FrameRecord& record) {
    takeField(loading, record.item);
    if (!loading->item || loading->morphs) return;
    const Services& services = loading->services;
    setChannelKeys(services.envelopes, services.channels, services.items,
                   services.items->channelGroup(loading->item), record.channel,
                   services.interfaceInfo->currentTime, record.value);
}

void loadFrameEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    Services services;
    if (!fetchServices(&services)) return;
    if (!createDefaultFramePanel("Select objects + channel to modify", state)) return;
    char path[pathSize];
    if (!askFile({"Load Frame", "Load file full path"}, path)) return;
    std::FILE* file = openForReading(path, "File not found");
    if (!file) return;

    FrameLoading loading{services, state, {}, {}, nullptr, false, 0};
    buildNameIndex(&loading.index, services.items);
    char line[recordLineSize];
    FrameRecord record;
    while (readRecordLine(file, line))
        if (parseRecord(line, &record)) loadRecord(&loading, record);
    std::fclose(file);
    reportFrame("Loaded all channel data", services, services.interfaceInfo->currentTime,
                "Only items in the [Affected Objects] list will be changed");
}

} // namespace cadencora
