// What a plug-in offers, read from the live plug-in: its panels, their controls and, where its
// buttons may be pressed, the dialogs that each opens.
//
// The plug-in is started on a scratch scene, and each button is pressed until all its dialogs have
// been seen. Nothing outside the scratch scene changes and no file is written through the host. To
// be called in a process of its own, since a plug-in can do more than that.
#pragma once

#include "stage/module/module.h"
#include "stage/user/scripted_user.h"

#include <deque>
#include <list>

namespace cadencora::stage {

// A panel as it looked when it opened; `panel` refers to `controls`.
struct PanelCopy {
    explicit PanelCopy(const PanelModel& original);
    PanelCopy(const PanelCopy&) = delete;
    PanelCopy& operator=(const PanelCopy&) = delete;

    std::deque<ControlModel> controls;
    PanelModel panel;
};

struct ButtonOffer {
    std::string tab;
    std::string label;
    std::size_t index = 0;  // of the control on its panel
    bool connected = false; // false: the button has no command yet
    std::deque<PanelCopy> dialogs;
};

struct PanelOffer {
    explicit PanelOffer(const PanelModel& original) : copy(original) {}

    PanelCopy copy; // after its buttons were pressed
    std::deque<ButtonOffer> buttons;
};

struct PluginOffer {
    std::string server;
    std::vector<std::string> servers;
    bool isExplored = false;       // the buttons were pressed
    std::deque<PanelCopy> dialogs; // that opened at the start
    std::list<PanelOffer> panels;  // in the order of opening
};

// `press`: the dialogs are accepted, questions are answered "yes", and each button is pressed.
// Otherwise nothing of the plug-in is used: what it opens at its start is cancelled.
Result<PluginOffer> explore(const Module& module, bool press);

} // namespace cadencora::stage
