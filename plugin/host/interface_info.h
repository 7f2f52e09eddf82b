// "LW Interface Info 7": a data record of the host's, up to date at each lookup.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* interfaceInfoName = "LW Interface Info 7";

#pragma pack(push, 4)
struct InterfaceInfo {
    double currentTime;        // byte 0: the time slider, seconds
    const Item* selectedItems; // byte 8: ends with null, in the order of selection; the host's
#if UINTPTR_MAX == 0xffffffffu
    std::uint32_t reserved0c;
#endif
    std::int32_t previewFirstFrame; // byte 0x10
    std::int32_t previewLastFrame;  // byte 0x14
};
#pragma pack(pop)

static_assert(offsetof(InterfaceInfo, selectedItems) == 8);
static_assert(offsetof(InterfaceInfo, previewFirstFrame) == 0x10);
static_assert(offsetof(InterfaceInfo, previewLastFrame) == 0x14);

} // namespace cadencora::host
