#include "stage/user/step_place.h"

#include "stage/base/text.h"

#include <tuple>
#include <unordered_set>

namespace cadencora::stage {

namespace {

// Of the names and patterns of a step that selects, each item once.
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

} // namespace

Result<> goToStep(Scene& scene, const Step& step) {
    if (step.select) {
        auto items = itemsOf(scene, step);
        if (!items) return items.problem();
        scene.selection = std::move(*items);
    }
    if (step.time) scene.currentTime = scene.rate.timeAt(*step.time);
    if (step.preview) std::tie(scene.previewFirst, scene.previewLast) = *step.preview;
    return done();
}

} // namespace cadencora::stage
