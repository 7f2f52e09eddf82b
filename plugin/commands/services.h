// The host services that the keyframe commands and their dialogs need, fetched anew for each press
// of a button.
#pragma once

#include "plugin/host/lookup.h"

namespace cadencora {

struct Services {
    const host::EnvelopeFuncs* envelopes;
    const host::ChannelInfo* channels;
    const host::ItemInfo* items;
    const host::SceneInfo* scene;
    const host::InterfaceInfo* interfaceInfo;
};

// False when the host lacks one of them: the command then ends, before any dialog and without a
// message.
bool fetchServices(Services* services);

} // namespace cadencora
