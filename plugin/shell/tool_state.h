// The state record: all that the plug-in keeps between two commands.
//
// One per activation; made by activation, passed to every handler as its user data, and kept until
// the host process ends, because the main panel's handlers reach it for as long. Includes nothing
// but host/, so that every folder may read it.
#pragma once

#include "plugin/host/panel_funcs.h"
#include "plugin/host/types.h"

namespace cadencora {

constexpr int maxChannels = 64;
constexpr int channelNameSize = 256; // bytes, with the closing zero
constexpr int maxObjects = 20480;
constexpr int maxListedObjects = 512; // rows that the list box shows; commands use all entries

// Control handles belong to the newest dialog that made such a control. They are read after that
// dialog has closed, which is why dialogs are never destroyed.
struct ToolState {
    host::Control* channelList;
    std::int32_t numChannels; // 0 to maxChannels
    char channelNames[maxChannels][channelNameSize];
    host::Control* objectList;
    host::Item objects[maxObjects]; // null: a name from a file that matched no item
    std::int32_t numObjects;        // 0 to maxObjects
    host::Control* startSlider;
    host::Control* endSlider;
    host::Control* selectedOnlyToggle;
    host::Control* allChildrenToggle;
    host::Control* customListToggle;
    std::int32_t customListLoaded; // 1 from the first time that the custom list was turned on
};

} // namespace cadencora
