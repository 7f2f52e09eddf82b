// Compiled for both word sizes: the headers' own assertions on every offset are the test.

#include "plugin/host/channel_info.h"
#include "plugin/host/dir_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/file_io_funcs.h"
#include "plugin/host/interface_info.h"
#include "plugin/host/item_info.h"
#include "plugin/host/layout_generic.h"
#include "plugin/host/message_funcs.h"
#include "plugin/host/module.h"
#include "plugin/host/panel_funcs.h"
#include "plugin/host/scene_info.h"
