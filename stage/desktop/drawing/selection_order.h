// The order of a selection that grows click by click.
//
// Calls only stage/scene.
#pragma once

#include "stage/scene/scene.h"

#include <unordered_set>
#include <vector>

namespace cadencora::stage {

// What stays selected keeps its place; what is new follows in the order given.
inline std::vector<ItemId> inOrderOfSelection(const std::vector<ItemId>& before,
                                              const std::vector<ItemId>& now) {
    const std::unordered_set<ItemId> old(before.begin(), before.end());
    const std::unordered_set<ItemId> kept(now.begin(), now.end());
    std::vector<ItemId> order;
    for (const ItemId item : before)
        if (kept.contains(item)) order.push_back(item);
    for (const ItemId item : now)
        if (!old.contains(item)) order.push_back(item);
    return order;
}

// After a click on an item, or on none. `toggles`: the item is added or, where it is in already,
// taken out; otherwise it is all that is selected then.
inline std::vector<ItemId> selectionAfterClick(std::vector<ItemId> before, ItemId clicked,
                                               bool toggles) {
    if (!toggles) before.clear();
    if (clicked != ItemId::none && std::erase(before, clicked) == 0) before.push_back(clicked);
    return before;
}

} // namespace cadencora::stage
