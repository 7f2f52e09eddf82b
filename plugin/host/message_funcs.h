// "Info Messages 2": message boxes. Every text belongs to the caller and is read during the call.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* messageFuncsName = "Info Messages 2";

struct MessageFuncs {
    void (*info)(const char* line1, const char* line2); // slot 0: information box
    Reserved slot1;
    void (*error)(const char* line1, const char* line2); // slot 2: error box; line2 may be ""
    Reserved slot3;
    int (*yesNo)(const char* title, const char* line1, const char* line2); // slot 4: 0 means No
};

static_assert(offsetof(MessageFuncs, error) == slot(2));
static_assert(offsetof(MessageFuncs, yesNo) == slot(4));

} // namespace cadencora::host
