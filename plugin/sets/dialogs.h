// The command dialogs: building, showing and checking them.
//
// Work on the state record; call the lists, the panels and the host's scene, interface and message
// services. Every builder opens its dialog modally and never destroys it, because the record's
// control handles are read after it has closed.
#pragma once

#include "plugin/shell/tool_state.h"

namespace cadencora {

// All builders answer 1 to go on, or 0 to stop; the user has then been told why, or has cancelled.
// On 1 the item table is collected and not empty, and start <= end, both in seconds. On 0 the
// times mean nothing.

// Frame range, channels and objects; the first is titled "Select range and objects".
int createDefaultPanel(ToolState* state, double* start, double* end);
int createDefaultPanelWithTitle(const char* title, ToolState* state, double* start, double* end);

// Frame range and objects.
int createDefaultRangeObjectsPanel(const char* title, ToolState* state, double* start, double* end);

// Channels and objects.
int createDefaultFramePanel(const char* title, ToolState* state);

// Only objects.
int createDefaultObjectPanel(const char* title, ToolState* state);
int createDefaultMorphPanel(const char* title, ToolState* state);

// Adds the sliders "Start" and "  End", from the first preview frame to the scene's or the
// preview's last frame, whichever is later. Without the host services there are no sliders.
void addFrameSliders(host::Panel panel, ToolState* state);

// Reads the two sliders as seconds. 0 when there is nothing to read: no sliders, no frame rate.
int getRangeTime(host::Panel panel, const ToolState* state, double* start, double* end);

} // namespace cadencora
