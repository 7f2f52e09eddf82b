// Who answers the plug-in: the person at the windows, or a script for as long as a recipe runs.
#pragma once

#include "stage/panels/front_end.h"
#include "stage/user/scripted_user.h"

namespace cadencora::stage {

class SwitchableUser : public FrontEnd {
public:
    explicit SwitchableUser(FrontEnd& person) : person_(person) {}

    // While it lives, the script answers; the windows show the panels all the same.
    class Turn {
    public:
        Turn(SwitchableUser& user, ScriptedUser& script) : user_(user) { user.script_ = &script; }
        ~Turn() { user_.script_ = nullptr; }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        SwitchableUser& user_;
    };

    const TextMetrics& metrics() const override { return person_.metrics(); }
    int displayWidth() const override { return person_.displayWidth(); }
    int displayHeight() const override { return person_.displayHeight(); }
    void showFloating(PanelModel& panel) override {
        person_.showFloating(panel);
        if (script_) script_->showFloating(panel);
    }
    void panelClosed(PanelModel& panel) override {
        person_.panelClosed(panel);
        if (script_) script_->panelClosed(panel);
    }
    void panelDestroyed(PanelModel& panel) override {
        person_.panelDestroyed(panel);
        if (script_) script_->panelDestroyed(panel);
    }
    bool runModal(PanelModel& panel) override { return answering().runModal(panel); }
    void show(const Message& message) override { answering().show(message); }
    bool ask(const Message& question) override { return answering().ask(question); }
    void working() override { person_.working(); }

private:
    FrontEnd& answering() { return script_ ? static_cast<FrontEnd&>(*script_) : person_; }

    FrontEnd& person_;
    ScriptedUser* script_ = nullptr; // null: the person answers
};

} // namespace cadencora::stage
