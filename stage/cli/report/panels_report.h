// What `panels` prints of a plug-in.
#pragma once

#include "stage/cli/explore/explore.h"

#include <iosfwd>

namespace cadencora::stage {

void printPanels(const PluginOffer& offer, std::ostream& out);
void printPanelsJson(const PluginOffer& offer, std::ostream& out);

} // namespace cadencora::stage
