// The handlers of the buttons under "Standard" and "Other". User data is the state record; the
// pressed control is not used.
//
// Each may call the dialogs and lists, the key operations and the host. They say nothing on
// success, and change nothing when a dialog is cancelled or a question is answered with No.
#pragma once

#include "plugin/host/panel_funcs.h"

namespace cadencora {

void copyEvent(host::Control* control, void* userData);            // "Cycle (Bake) Keys"
void destroyEvent(host::Control* control, void* userData);         // "Destroy Keys"
void defractionEvent(host::Control* control, void* userData);      // "Defractionalize"
void createRandomEvent(host::Control* control, void* userData);    // "Create Random Keys"
void jitterEvent(host::Control* control, void* userData);          // "Randomize/Jitter Keys"
void moveRotateScaleEvent(host::Control* control, void* userData); // "MoveRotateScale"

void dissolveEvent(host::Control* control, void* userData);       // "Dissolve"
void undissolveEvent(host::Control* control, void* userData);     // "UnDissolve"
void keyAllMorphsEvent(host::Control* control, void* userData);   // "Key All Morphs"
void unkeyAllMorphsEvent(host::Control* control, void* userData); // "UnKey All Morphs"
void resetAllMorphsEvent(host::Control* control, void* userData); // "Reset All Morphs"

} // namespace cadencora
