// The handlers of the buttons under "Transfer". User data is the state record; the pressed control
// is not used.
//
// Each may call the dialogs and lists, the key operations, the world values and the host. They
// change nothing when a dialog is cancelled.
#pragma once

#include "plugin/host/panel_funcs.h"

namespace cadencora {

void frameCopyEvent(host::Control* control, void* userData);  // "Node-to-Node Frame Copy"
void motionCopyEvent(host::Control* control, void* userData); // "Node-to-Node Motion Copy"
void loadFrameEvent(host::Control* control, void* userData);  // "Load Single Frame data"
void saveFrameEvent(host::Control* control, void* userData);  // "Save Single Frame data"
void loadMotionEvent(host::Control* control, void* userData); // "Load Clip data"
void saveMotionEvent(host::Control* control, void* userData); // "Save Clip data"

} // namespace cadencora
