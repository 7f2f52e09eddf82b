// A module with one fault, named by the macro FAULT.

#include "tests/modules/descriptor.h"

using namespace cadencora::host;

enum class Fault { sync, version, server, startup, starting, activation };
constexpr Fault fault = Fault::FAULT;

static const ServerRecord servers[] = {
    {fault == Fault::server ? "ChannelHandler" : "LayoutGeneric", "Faulty",
     fault == Fault::activation ? &refuseActivation : &activateNothing, nullptr},
    {}};

static ModuleDescriptor faulty() {
    ModuleDescriptor descriptor = describe(servers);
    if (fault == Fault::sync) descriptor.sync = 0x04121995;
    if (fault == Fault::version) descriptor.version = 2;
    if (fault == Fault::startup) descriptor.startup = nullptr;
    if (fault == Fault::starting) descriptor.startup = &refuseToStart;
    return descriptor;
}

EXPORTED ModuleDescriptor __mod_descrip;
ModuleDescriptor __mod_descrip = faulty();
