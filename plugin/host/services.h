// The host services that a command needs, fetched anew for each press of a button.
#pragma once

#include "plugin/host/lookup.h"

namespace cadencora {

struct Services {
    const host::EnvelopeFuncs* envelopes;
    const host::ChannelInfo* channels;
    const host::ItemInfo* items;
    const host::SceneInfo* scene;
    const host::InterfaceInfo* interfaceInfo;
    // Fetched by fetchFileServices only, else null.
    const host::FileIOFuncs* files;
    host::DirInfo directories;
};

// Fetches the five services of scenes and keys. False when the host lacks one of them: the command
// then ends, before any dialog and without a message.
bool fetchServices(Services* services);

// Fetches the services of files as well.
void fetchFileServices(Services* services);

} // namespace cadencora
