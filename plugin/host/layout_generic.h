// The record that the host passes to a "LayoutGeneric" server when the user starts it.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr int layoutGenericVersion = 2; // the only interface version we speak

// Issues one complete command line of text; the first argument is 0.
using Evaluate = int (*)(int zero, const char* command);

struct LayoutGeneric {
    Reserved word0;
    Reserved word1;
    Reserved word2;
    Reserved word3;
    Reserved word4;
    Evaluate evaluate; // word 5
};

static_assert(offsetof(LayoutGeneric, evaluate) == slot(5));

} // namespace cadencora::host
