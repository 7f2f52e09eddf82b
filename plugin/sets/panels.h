// Panels: making one, putting it in the middle of the display, running it as a modal dialog.
//
// Calls only the host's panel and message services.
#pragma once

#include "plugin/host/panel_funcs.h"

namespace cadencora {

// Null if the host refuses, which the user has then been told.
host::Panel createPanel(const char* title);

void centerPanel(const host::PanelFuncs* panels, host::Panel panel);

// Centres the panel, now that it has its controls and thus its size, and opens it with OK and
// Cancel. Returns when it closes: true for OK. The panel lives on.
bool runPanel(host::Panel panel);

} // namespace cadencora
