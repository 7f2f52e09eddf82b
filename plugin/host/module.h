// What a host reads from a plug-in file: the module descriptor and its list of servers.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr std::uint32_t moduleSync = 0x04121994; // word 0 of every descriptor
constexpr std::uint32_t moduleVersion = 3;
constexpr std::uint32_t moduleLocale = 0x400;

// Starts one server. `version` is the interface version, `local` the record of the server's class.
using Activation = int (*)(int version, GlobalFunc lookup, void* local, void* serverData);

// One server of the module. The list ends with a record of nulls.
struct ServerRecord {
    const char* className;  // "LayoutGeneric"
    const char* serverName; // shown to the user
    Activation activate;
    const void* tags; // null: no tags
};

// The exported symbol `__mod_descrip`.
struct ModuleDescriptor {
    std::uint32_t sync;
    std::uint32_t version;
    std::uint32_t locale;
    void* (*startup)();      // called once after loading; null means "do not use me"
    void (*shutdown)(void*); // called before unloading, with what startup returned
    const ServerRecord* servers;
};

static_assert(offsetof(ModuleDescriptor, locale) == 8);
static_assert(offsetof(ModuleDescriptor, startup) == (sizeof(void*) == 4 ? 12 : 16));
static_assert(sizeof(ModuleDescriptor) == (sizeof(void*) == 4 ? 24 : 40));
static_assert(sizeof(ServerRecord) == 4 * sizeof(void*));

} // namespace cadencora::host
