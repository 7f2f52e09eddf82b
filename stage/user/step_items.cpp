#include "stage/user/step_items.h"

#include "stage/base/text.h"

#include <unordered_set>

namespace cadencora::stage {

Result<std::vector<ItemId>> itemsOf(const Scene& scene, const Step& step) {
    std::vector<ItemId> items;
    std::unordered_set<ItemId> known;
    const auto add = [&](ItemId item) {
        if (known.insert(item).second) items.push_back(item);
    };
    for (const std::string& name : *step.select) {
        if (const ItemId item = scene.findItem(name); item != ItemId::none) {
            add(item);
            continue;
        }
        bool isMet = false;
        for (std::size_t i = 0; isPattern(name) && i < scene.itemCount(); ++i)
            if (const ItemId item = Scene::itemAt(i); fitsPattern(scene.item(item).name, name)) {
                add(item);
                isMet = true;
            }
        if (!isMet && !step.selectOptional)
            return Problem{(isPattern(name) ? "no item's name fits " : "no item is named ") +
                               inQuotes(name),
                           inQuotes(step.press), scene.namesLike(name)};
    }
    return items;
}

} // namespace cadencora::stage
