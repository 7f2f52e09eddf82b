// "File IO 2": file states through which the host saves and loads envelopes.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* fileIOFuncsName = "File IO 2";

constexpr int motionFileMode = 1; // the mode argument of openSave and openLoad

struct FileIOFuncs {
    SaveState (*openSave)(const char* path, int mode); // slot 0: null on failure
    void (*closeSave)(SaveState state);                // slot 1
    LoadState (*openLoad)(const char* path, int mode); // slot 2: null on failure
    void (*closeLoad)(LoadState state);                // slot 3
};

static_assert(offsetof(FileIOFuncs, closeLoad) == slot(3));

} // namespace cadencora::host
