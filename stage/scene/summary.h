// Scenes and edits in one line for people, the same wherever they are told.
#pragma once

#include "stage/scene/journal.h"

#include <string>
#include <string_view>

namespace cadencora::stage {

// "1 key", "2 keys".
std::string counted(std::size_t count, std::string_view noun);

// "31 items, 50304 keys, frames 0 to 396 at 120 per second".
std::string summary(const Scene& scene);

// "changed 2 channels of 1 item: 0 keys added, ..." or "nothing changed".
std::string changeText(const ChangeReport& changes);

// A frame for people: thousandths are as fine as they read.
std::string frameText(double frame);

} // namespace cadencora::stage
