// The handlers of the buttons under "Standard" and "Other". User data is the state record; the
// pressed control is not used.
//
// Each may call the dialogs and lists, the key operations and the host. They say nothing on
// success, and change nothing when a dialog is cancelled or a question is answered with No.
#pragma once

#include "plugin/host/panel_funcs.h"

namespace cadencora {

void destroyEvent(host::Control* control, void* userData);    // "Destroy Keys"
void defractionEvent(host::Control* control, void* userData); // "Defractionalize"

} // namespace cadencora
