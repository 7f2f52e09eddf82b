// What a single-frame file holds of a channel group.
//
// Calls the host's channel service and the records of the file.
#pragma once

#include "plugin/host/channel_info.h"

#include <cstdio>

namespace cadencora {

// Writes a record for each channel directly in the group: its value at a time in seconds. 1, or 0
// and nothing written when the channel service is null. Channels are left out whose record would
// not be read as what it is.
int saveChannelKeysToFile(const host::ChannelInfo* channels, host::Group group, double time,
                          const char* itemName, std::FILE* file);

} // namespace cadencora
