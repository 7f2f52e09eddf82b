// What `info` prints of a file.
#pragma once

#include "stage/formats/format.h"

#include <iosfwd>

namespace cadencora::stage {

// One of the clips of a file.
struct ClipFacts {
    std::string name;
    std::int64_t lastFrame = 0;
    std::string rate; // frames per second
    std::size_t keys = 0;
};

void printInfo(const Loaded& loaded, const std::vector<ClipFacts>& clips, std::ostream& out);
void printInfoJson(const Loaded& loaded, const std::vector<ClipFacts>& clips, std::ostream& out);

} // namespace cadencora::stage
