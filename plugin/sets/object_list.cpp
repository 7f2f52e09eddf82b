#include "plugin/sets/object_list.h"

#include "plugin/files/text_files.h"
#include "plugin/host/lookup.h"
#include "plugin/sets/channel_list.h"
#include "plugin/sets/controls.h"
#include "plugin/sets/item_search.h"
#include "plugin/sets/object_table.h"

namespace cadencora {

static void setToggle(host::Control* toggle, int on) {
    setInteger(toggle, host::controlValue, on);
}

static host::Control* addWiredToggle(host::Panel panel, const char* label, ToolState* state,
                                     host::EventHandler handler) {
    host::Control* toggle = addToggle(panel, label);
    wireControl(toggle, state, handler);
    return toggle;
}

static void addButtonRow(host::Panel panel, ToolState* state) {
    constexpr const char* pattern = "*.lw_items";
    constexpr int width = 56;
    host::Control* const buttons[] = {
        addPathControl(panel, host::loadButtonControl, "Load", width),
        addPathControl(panel, host::saveButtonControl, "Save", width),
        addButton(panel, "All", width),
    };
    setPathText(buttons[0], pattern);
    setPathText(buttons[1], pattern);
    wireControl(buttons[0], state, loadItemSetsEvent);
    wireControl(buttons[1], state, saveItemSetsEvent);
    wireControl(buttons[2], state, allEvent);
    placeRow(buttons, 3, 5, width);
}

void addObjectListBox(host::Panel panel, ToolState* state) {
    constexpr int rows = 15;
    state->objectList = addListBox(panel, "Affected Objects", rows, objectCount, objectName);
    wireControl(state->objectList, state, listBoxEvent);
    addButtonRow(panel, state);
    state->selectedOnlyToggle =
        addWiredToggle(panel, "Use selected objects only", state, updateEvent);
    state->allChildrenToggle = addWiredToggle(panel, "Include all subchildren", state, updateEvent);
    state->customListToggle = addWiredToggle(panel, "Use custom loaded", state, customEvent);
    if (state->customListLoaded) {
        setToggle(state->customListToggle, 1);
        return;
    }
    setToggle(state->selectedOnlyToggle, 1);
    setToggle(state->allChildrenToggle, 1);
    setToggle(state->customListToggle, 0);
    getSelected(state);
}

int objectCount(void* userData) {
    const auto* state = static_cast<const ToolState*>(userData);
    if (!state) return 0;
    return state->numObjects < maxListedObjects ? state->numObjects : maxListedObjects;
}

const char* objectName(void* userData, int row) {
    const auto* state = static_cast<const ToolState*>(userData);
    const host::ItemInfo* items = fetchItemInfo();
    if (!state || !items || row < 0 || row >= state->numObjects) return nullptr;
    const host::Item item = state->objects[row];
    return item ? items->itemName(item) : "(not found)";
}

void updateEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    getSelected(state);
    refreshList(state->objectList);
}

void allEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    setToggle(state->selectedOnlyToggle, 0);
    setToggle(state->allChildrenToggle, 0);
    setToggle(state->customListToggle, 0);
    getSelected(state);
    refreshList(state->objectList);
}

void customEvent(host::Control*, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    if (!readInteger(state->customListToggle, host::controlValue)) return;
    setToggle(state->selectedOnlyToggle, 0);
    setToggle(state->allChildrenToggle, 0);
    state->customListLoaded = 1;
}

void loadItemSetsEvent(host::Control* control, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    char path[pathSize];
    if (!readPath(control, path)) return;
    loadItemSets(path, state);
    refreshList(state->objectList);
    setToggle(state->customListToggle, 1);
    customEvent(state->customListToggle, state);
}

void saveItemSetsEvent(host::Control* control, void* userData) {
    auto* state = static_cast<ToolState*>(userData);
    char path[pathSize];
    if (!readPath(control, path)) return;
    saveItemSets(path, state);
    refreshList(state->objectList);
}

void loadItemSets(const char* path, ToolState* state) {
    const host::ItemInfo* items = fetchItemInfo();
    if (!items) return;
    std::FILE* file = openForReading(path);
    if (!file) return;
    NameIndex index; // a file may name thousands of items
    buildNameIndex(&index, items);
    state->numObjects = 0;
    char word[wordSize];
    while (state->numObjects < maxObjects && readWord(file, word))
        appendObject(state, findIDInIndex(&index, word));
    std::fclose(file);
}

void saveItemSets(const char* path, ToolState* state) {
    const host::ItemInfo* items = fetchItemInfo();
    if (!items) return;
    NewFile file;
    if (!openForWriting(&file, path)) return;
    for (int i = 0; i < state->numObjects; ++i) {
        const char* name = state->objects[i] ? items->itemName(state->objects[i]) : nullptr;
        if (name) std::fprintf(file.stream, "%s\n", name);
    }
    closeWritten(&file);
}

} // namespace cadencora
