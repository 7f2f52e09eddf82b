// What a plug-in offers, read from the live plug-in: its buttons and the dialogs that each opens.
//
// The plug-in is started on a scratch scene, and each button is pressed until all its dialogs have
// been seen. Nothing outside the scratch scene changes and no file is written.
#pragma once

#include "stage/module/module.h"
#include "stage/user/scripted_user.h"

#include <deque>

namespace cadencora::stage {

// A dialog as it looked when it opened; `panel` refers to `controls`.
struct DialogCopy {
    explicit DialogCopy(const PanelModel& original);
    DialogCopy(const DialogCopy&) = delete;
    DialogCopy& operator=(const DialogCopy&) = delete;

    std::deque<ControlModel> controls;
    PanelModel panel;
};

struct ButtonOffer {
    std::string tab;
    std::string label;
    bool connected = false; // false: the button has no command yet
    std::deque<DialogCopy> dialogs;
};

struct PluginOffer {
    std::string title; // of the main panel
    std::deque<ButtonOffer> buttons;
};

Result<PluginOffer> explore(const Module& module);

// Whether the plug-in has the step's button and the step's labels, before anything is pressed.
Result<> checkStep(const PluginOffer& offer, const Step& step);

} // namespace cadencora::stage
