// Finding items by name: one name at a time, or many through an index of the scene's names.
//
// Calls only the host's item service. Names are compared exactly; the first item in scene order
// wins.
#pragma once

#include "plugin/host/channel_info.h"
#include "plugin/host/item_info.h"

namespace cadencora {

// Null for a null service or name, and when no item has that name. Walks the scene.
host::Item findID(const host::ItemInfo* items, const char* name);

// A table for one file's worth of names, nearly 400 KB: it lives on the caller's stack and is good
// only until the scene changes.
struct NameIndex {
    const host::ItemInfo* services;
    const host::ChannelInfo* groups; // not null: items go by the names of their channel groups
    static constexpr std::uint32_t numSlots = 32768; // a power of two
    static constexpr int maxNames = 24576;           // beyond it, searching gets slow
    host::Item items[numSlots];                      // null: a free slot
    std::uint32_t hashes[numSlots];
    int numNames;
    bool complete; // false: the scene has more names than the table takes
};

void clearNameIndex(NameIndex* index, const host::ItemInfo* items,
                    const host::ChannelInfo* groups = nullptr);

// False where another item has that name already, and once the table is full.
bool addName(NameIndex* index, host::Item item);

// The item of that name in the table, or null.
host::Item findInIndex(const NameIndex* index, const char* name);

// Every item of the scene, in one walk.
void buildNameIndex(NameIndex* index, const host::ItemInfo* items);

// Exactly what findID answers, without walking the scene as long as the index is complete.
host::Item findIDInIndex(const NameIndex* index, const char* name);

} // namespace cadencora
