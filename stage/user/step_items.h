// The items that a step selects.
#pragma once

#include "stage/user/scripted_user.h"

namespace cadencora::stage {

// Of the names and patterns of a step that selects, each item once. A Problem names the one that no
// item has.
Result<std::vector<ItemId>> itemsOf(const Scene& scene, const Step& step);

} // namespace cadencora::stage
