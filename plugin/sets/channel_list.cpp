#include "plugin/sets/channel_list.h"

#include "plugin/files/text_files.h"
#include "plugin/host/names.h"
#include "plugin/sets/controls.h"

#include <cstdio>
#include <cstring>

namespace cadencora {

static_assert(wordSize == channelNameSize);

static void appendChannel(ToolState* state, const char* name) {
    if (state->numChannels < maxChannels)
        std::snprintf(state->channelNames[state->numChannels++], channelNameSize, "%s", name);
}

static void fillDefaultNames(ToolState* state) {
    state->numChannels = 0;
    for (int i = 0; i < numDefaultChannels; ++i)
        appendChannel(state, defaultChannels[i]);
}

void createDefaultChannels(ToolState* state) {
    if (!state) return;
    fillDefaultNames(state);
    state->selectedOnlyToggle = nullptr;
    state->allChildrenToggle = nullptr;
    state->customListToggle = nullptr;
    state->customListLoaded = 0;
}

bool isActiveChannel(const char* name, const ToolState* state) {
    if (!name || !state) return false;
    for (int i = 0; i < state->numChannels; ++i)
        if (isSameName(name, state->channelNames[i])) return true;
    return false;
}

void addChannelListBox(host::Panel panel, ToolState* state) {
    constexpr const char* pattern = "*.lw_channels";
    constexpr int rows = 11;
    constexpr int width = 42;
    state->channelList = addListBox(panel, "Affected Channels", rows, channelCount, channelName);
    wireControl(state->channelList, state, listBoxEvent);
    host::Control* const buttons[] = {
        addPathControl(panel, host::loadButtonControl, "Load", width),
        addPathControl(panel, host::saveButtonControl, "Save", width),
        addButton(panel, "Remove", width),
        addButton(panel, "Default", width),
    };
    setPathText(buttons[0], pattern);
    setPathText(buttons[1], pattern);
    wireControl(buttons[0], state, loadChanSetsEvent);
    wireControl(buttons[1], state, saveChanSetsEvent);
    wireControl(buttons[2], state, deleteEvent);
    wireControl(buttons[3], state, resetEvent);
    placeRow(buttons, 4, 5, width);
}

int channelCount(void* userData) {
    const auto* state = static_cast<const ToolState*>(userData);
    return state ? state->numChannels : 0;
}

const char* channelName(void* userData, int row) {
    const auto* state = static_cast<const ToolState*>(userData);
    return state && row >= 0 && row < state->numChannels ? state->channelNames[row] : nullptr;
}

void listBoxEvent(host::Control*, void*) {
    // A chosen row is only a mark, which "Remove" reads.
}

void loadChanSetsEvent(host::Control* control, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    char path[pathSize];
    if (!readPath(control, path)) return;
    loadChannelSets(path, state);
    refreshList(state->channelList);
}

void saveChanSetsEvent(host::Control* control, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    char path[pathSize];
    if (!readPath(control, path)) return;
    saveChannelSets(path, state);
    refreshList(state->channelList);
}

void deleteEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    const int row = readInteger(state->channelList, host::controlValue, -1);
    if (row >= 0 && row < state->numChannels) deleteChannel(state->channelNames[row], state);
    refreshList(state->channelList);
}

void resetEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    fillDefaultNames(state);
    refreshList(state->channelList);
}

void loadChannelSets(const char* path, ToolState* state) {
    std::FILE* file = openForReading(path);
    if (!file) return;
    state->numChannels = 0;
    char word[wordSize];
    while (state->numChannels < maxChannels && readWord(file, word))
        appendChannel(state, word);
    std::fclose(file);
}

void saveChannelSets(const char* path, ToolState* state) {
    NewFile file;
    if (!openForWriting(&file, path)) return;
    for (int i = 0; i < state->numChannels; ++i)
        std::fprintf(file.stream, "%s\n", state->channelNames[i]);
    closeWritten(&file);
}

void deleteChannel(const char* name, ToolState* state) {
    int last = state->numChannels - 1;
    while (last >= 0 && !isSameName(name, state->channelNames[last]))
        --last;
    if (last < 0) return;
    const int following = state->numChannels - 1 - last;
    std::memmove(state->channelNames[last], state->channelNames[last + 1],
                 static_cast<std::size_t>(following) * channelNameSize);
    --state->numChannels;
}

} // namespace cadencora
