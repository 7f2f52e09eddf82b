// The service tables, one file each. All are the stage's own and live as long as the process.
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

namespace cadencora::stage {

host::MessageFuncs& messageFuncs();
host::PanelFuncs& panelFuncs();
host::ItemInfo& itemInfo();
host::SceneInfo& sceneInfo();
host::InterfaceInfo& interfaceInfo();
host::ChannelInfo& channelInfo();
host::EnvelopeFuncs& envelopeFuncs();
host::FileIOFuncs& fileIOFuncs();
host::DirInfo dirInfo();
host::LayoutGeneric& layoutGenericRecord();

} // namespace cadencora::stage
