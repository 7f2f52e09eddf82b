// Activation: what the host calls when it loads the plug-in and each time the user starts it.
//
// Calls everything below it. Writes the globals of the lookup, which nobody else does.
#pragma once

#include "plugin/host/module.h"

namespace cadencora {

// The module's one server, and a record of nulls.
extern const host::ServerRecord ServerDesc[2];

// Answers a token that only says "use me".
void* Startup();
void Shutdown(void* token);

// Starts the tool: makes a state record and a main panel of its own, opens it and returns at once.
// `local` is the host's LayoutGeneric record; `serverData` is not used. Answers 0; 1 for another
// interface version than 2; 2 when the message or panel service, memory or the panel is missing.
int Cadencora(int version, host::GlobalFunc lookup, void* local, void* serverData);

} // namespace cadencora
