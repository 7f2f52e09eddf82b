// How the commands over a frame range begin: services, then the dialog for range, channels and
// items.
//
// Calls the services and the dialogs; the commands of "Standard" without chance use it.
#pragma once

#include "plugin/commands/walk.h"

namespace cadencora {

// What a command works on once its first dialog is accepted.
struct RangeRun {
    Services services;
    ToolState* state;
    double start; // seconds
    double end;
};

// Fetches the services and runs the dialog. False: the command ends, and nothing was changed.
bool beginRangeCommand(void* userData, RangeRun* run);

} // namespace cadencora
