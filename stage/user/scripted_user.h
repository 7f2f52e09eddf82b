// The user as a script: sets the controls that a step names, answers questions, accepts dialogs.
//
// A front end like any other: it drives the same model as windows do, through the same actions.
#pragma once

#include "stage/base/result.h"
#include "stage/panels/front_end.h"
#include "stage/user/stand_ins.h"

#include <optional>

namespace cadencora::stage {

// One press of a button of the main panel, and what the user does until it is over.
struct Step {
    struct Setting {
        std::string label; // "Start", "Affected Objects/Load"
        std::string value; // as setByText takes it
    };
    std::string press;
    std::optional<std::vector<std::string>> select; // names of items; nothing: as it was
    std::optional<double> time;                     // frame; nothing: as it was
    std::vector<Setting> settings;                  // in the order in which they are made
    std::vector<bool> answers;                      // to the questions; the last one is repeated
    bool cancel = false;                            // the dialog in which the last setting was made
};

class ScriptedUser : public FrontEnd {
public:
    // When `dry`, the plug-in gets copies in place of the files that it might write.
    explicit ScriptedUser(bool dry = false) {
        if (dry) standIns_.emplace();
    }

    // Whose items the settings name; must be given before the first step, and outlive the steps.
    void lookAt(const Scene& scene) { scene_ = &scene; }

    // Presses the step's button on the floating panel opened last, changing tabs to reach it.
    // Answers what the step got wrong; what the plug-in said is in messages().
    Result<> perform(const Step& step);

    // Of the step: the titles of the dialogs that opened, and what the plug-in said.
    const std::vector<std::string>& dialogs() const { return dialogs_; }
    const std::vector<Message>& messages() const { return messages_; }
    bool sawError() const;

    // FrontEnd
    const TextMetrics& metrics() const override { return metrics_; }
    int displayWidth() const override { return 1920; }
    int displayHeight() const override { return 1080; }
    void showFloating(PanelModel& panel) override { main_ = &panel; }
    bool runModal(PanelModel& panel) override;
    void panelDestroyed(PanelModel&) override {}
    void show(const Message& message) override;
    bool ask(const Message& question) override;

private:
    Result<> set(ControlModel& control, const std::string& value);

    FixedMetrics metrics_;
    std::optional<StandIns> standIns_;
    const Scene* scene_ = nullptr;
    PanelModel* main_ = nullptr;

    // The step under way.
    Step step_;
    std::vector<bool> made_;           // by setting
    std::vector<std::string> offered_; // labels of the dialogs shown
    std::optional<Problem> problem_;
    std::size_t questions_ = 0;
    std::vector<std::string> dialogs_;
    std::vector<Message> messages_;
};

} // namespace cadencora::stage
