// The user as a script: sets the controls that a step names, answers questions, accepts dialogs.
//
// A front end like any other: it drives the same model as windows do, through the same actions.
#pragma once

#include "stage/base/result.h"
#include "stage/panels/front_end.h"
#include "stage/panels/labels.h"
#include "stage/user/stand_ins.h"

#include <functional>
#include <optional>
#include <utility>

namespace cadencora::stage {

// One press of a button of a floating panel, and what the user does until it is over.
struct Step {
    struct Setting {
        std::string label; // "Start", "Affected Objects/Load"
        std::string value; // as setByText takes it

        bool operator==(const Setting&) const = default;
    };
    // The button's label; "LABEL=VALUE" sets another control of a floating panel.
    std::string press;
    bool isStart = false; // not a press: the settings are for the start of the plug-in
    // Names of items, and patterns of them; nothing: as it was. A pattern takes all items whose
    // names fit, in the scene's order.
    std::optional<std::vector<std::string>> select;
    bool selectOptional = false;   // a name or pattern that no item has is passed over
    std::optional<double> time;    // frame; nothing: as it was
    std::vector<Setting> settings; // in the order in which they are made
    std::vector<bool> answers;     // to the questions; the last one is repeated
    bool cancel = false;           // the dialog in which the last setting was made
    std::optional<std::pair<std::int64_t, std::int64_t>> preview; // frames; nothing: as it was
    // False: what it does to the scene is taken back at once, and errors do not end the run. So a
    // recipe repeats a step that was undone: the plug-in may remember what was set in it.
    bool keep = true;

    bool operator==(const Step&) const = default;
};

class ScriptedUser : public FrontEnd {
public:
    // When `dry`, the plug-in gets copies in place of the files that it might write.
    explicit ScriptedUser(bool dry = false) {
        if (dry) standIns_.emplace();
    }

    // Whose items the settings name; must be given before the first step, and outlive the steps.
    void lookAt(const Scene& scene) { scene_ = &scene; }

    // Makes the settings that name controls of the floating panels, and presses the step's button,
    // changing tabs to reach it. Answers what the step got wrong; what the plug-in said is in
    // messages().
    Result<> perform(const Step& step);

    // Answers the dialogs of something else that the plug-in does, as the step says.
    Result<> perform(const Step& step, const std::function<Result<>()>& action);

    // What to do with a plug-in that goes on asking although each answer is "no": called with the
    // reason, it must not return. By default the process is aborted.
    std::function<void(const Problem&)> giveUp;

    // Of the step: the titles of the dialogs that opened, and what the plug-in said.
    const std::vector<std::string>& dialogs() const { return dialogs_; }
    const std::vector<Message>& messages() const { return messages_; }
    bool sawError() const;

    // FrontEnd
    const TextMetrics& metrics() const override { return metrics_; }
    int displayWidth() const override { return 1920; }
    int displayHeight() const override { return 1080; }
    void showFloating(PanelModel& panel) override { floating_.push_back(&panel); }
    bool runModal(PanelModel& panel) override;
    void panelClosed(PanelModel& panel) override { std::erase(floating_, &panel); }
    void panelDestroyed(PanelModel& panel) override { std::erase(floating_, &panel); }
    void show(const Message& message) override;
    bool ask(const Message& question) override;

private:
    Result<> set(ControlModel& control, const std::string& value);
    Result<> pressStep();
    Result<> setOnPanels();
    bool isPastLimit();

    FixedMetrics metrics_;
    std::optional<StandIns> standIns_;
    const Scene* scene_ = nullptr;
    Panels floating_; // open, in the order of opening

    // The step under way.
    Step step_;
    std::vector<bool> made_;           // by setting
    std::vector<std::string> offered_; // labels of the dialogs shown
    std::optional<Problem> problem_;
    std::size_t questions_ = 0;
    std::size_t shown_ = 0; // dialogs and messages
    std::vector<std::string> dialogs_;
    std::vector<Message> messages_;
};

} // namespace cadencora::stage
