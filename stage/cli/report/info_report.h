// What `info` prints of a file.
#pragma once

#include "stage/formats/format.h"

#include <iosfwd>

namespace cadencora::stage {

void printInfo(const Loaded& loaded, std::ostream& out);
void printInfoJson(const Loaded& loaded, std::ostream& out);

} // namespace cadencora::stage
