// The services in use: four globals that only activation writes, and how the others are fetched.
//
// May be called by every folder of the plug-in; calls only the host.
#pragma once

#include "plugin/host/channel_info.h"
#include "plugin/host/dir_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/file_io_funcs.h"
#include "plugin/host/interface_info.h"
#include "plugin/host/item_info.h"
#include "plugin/host/layout_generic.h"
#include "plugin/host/message_funcs.h"
#include "plugin/host/panel_funcs.h"
#include "plugin/host/scene_info.h"

namespace cadencora {

// They hold the services of the latest activation, for the whole process, and are never cleared.
extern host::GlobalFunc global;
extern const host::MessageFuncs* message;
extern host::PanelFuncs* panelService;
extern host::Evaluate evaluate;

// Each asks the host anew and answers null when the host has no such service, or before the first
// activation. The records are the host's; scene and interface are up to date at the call.
const host::ItemInfo* fetchItemInfo();
const host::SceneInfo* fetchSceneInfo();
const host::InterfaceInfo* fetchInterfaceInfo();
const host::ChannelInfo* fetchChannelInfo();
const host::EnvelopeFuncs* fetchEnvelopeFuncs();
const host::FileIOFuncs* fetchFileIOFuncs();
host::DirInfo fetchDirInfo();

} // namespace cadencora
