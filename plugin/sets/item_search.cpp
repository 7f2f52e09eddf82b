#include "plugin/sets/item_search.h"

#include "plugin/sets/scene_walk.h"

#include <cstring>

namespace cadencora {

// Hosts may list other items than bones under an object; those are found in their own walk.
static bool isSearched(const host::ItemInfo* items, host::Item item, Place place) {
    return place == Place::ofKind || items->type(item) == host::boneItem;
}

host::Item findID(const host::ItemInfo* items, const char* name) {
    if (!items || !name) return nullptr;
    host::Item found = nullptr;
    walkScene(items, [&](host::Item item, Place place) {
        const char* itemName = items->itemName(item);
        if (itemName && std::strcmp(itemName, name) == 0 && isSearched(items, item, place))
            found = item;
        return !found;
    });
    return found;
}

static std::uint32_t hashName(const char* name) { // FNV-1a
    std::uint32_t hash = 2166136261u;
    for (; *name; ++name)
        hash = (hash ^ static_cast<unsigned char>(*name)) * 16777619u;
    return hash;
}

static const char* nameOf(const NameIndex* index, host::Item item) {
    if (!index->groups) return index->services->itemName(item);
    const host::Group group = index->services->channelGroup(item);
    return group ? index->groups->groupName(group) : nullptr;
}

// The slot that holds the name, or the free one where it belongs.
static std::uint32_t findSlot(const NameIndex* index, const char* name, std::uint32_t hash) {
    constexpr std::uint32_t mask = NameIndex::numSlots - 1;
    std::uint32_t slot = hash & mask;
    for (; index->items[slot]; slot = (slot + 1) & mask) {
        if (index->hashes[slot] != hash) continue;
        const char* itemName = nameOf(index, index->items[slot]);
        if (itemName && std::strcmp(itemName, name) == 0) break;
    }
    return slot;
}

void clearNameIndex(NameIndex* index, const host::ItemInfo* items,
                    const host::ChannelInfo* groups) {
    std::memset(index, 0, sizeof *index);
    index->services = items;
    index->groups = groups;
    index->complete = true;
}

bool addName(NameIndex* index, host::Item item) {
    const char* name = nameOf(index, item);
    if (!name) return false;
    const std::uint32_t hash = hashName(name);
    const std::uint32_t slot = findSlot(index, name, hash);
    if (index->items[slot]) return false;
    if (index->numNames == NameIndex::maxNames) {
        index->complete = false;
        return false;
    }
    index->items[slot] = item;
    index->hashes[slot] = hash;
    ++index->numNames;
    return true;
}

host::Item findInIndex(const NameIndex* index, const char* name) {
    return index->items[findSlot(index, name, hashName(name))];
}

void buildNameIndex(NameIndex* index, const host::ItemInfo* items) {
    clearNameIndex(index, items);
    walkScene(items, [=](host::Item item, Place place) {
        if (isSearched(items, item, place)) addName(index, item);
        return index->complete;
    });
}

host::Item findIDInIndex(const NameIndex* index, const char* name) {
    const host::Item found = findInIndex(index, name);
    return found || index->complete ? found : findID(index->services, name);
}

} // namespace cadencora
