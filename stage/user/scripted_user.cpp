#include "stage/user/scripted_user.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Makes a button of a tab reachable, as a person does who looks through the tabs.
bool bringUp(const PanelModel& panel, const ControlModel& button) {
    for (ControlModel* tabs : panel.controls) {
        if (tabs->type != ControlType::tabs) continue;
        for (int tab = 0; !button.drawn && tab < static_cast<int>(tabs->choices.size()); ++tab)
            if (auto set = setInteger(*tabs, tab); !set) break;
    }
    return button.drawn;
}

} // namespace

Result<> ScriptedUser::perform(const Step& step) {
    step_ = step;
    made_.assign(step.settings.size(), false);
    offered_.clear();
    problem_.reset();
    questions_ = 0;
    dialogs_.clear();
    messages_.clear();

    if (!main_) return Problem{"the plug-in has opened no panel", inQuotes(step.press), {}};
    auto button = findControl(*main_, step.press);
    if (!button) return button.problem();
    if (!bringUp(*main_, *button.value()))
        return Problem{"the button cannot be reached", inQuotes(step.press), {}};
    if (!button.value()->handler)
        return Problem{"the button has no command yet", inQuotes(step.press), {}};
    if (auto pressed = stage::press(*button.value()); !pressed) return pressed;

    if (problem_) return *problem_;
    for (std::size_t i = 0; i < made_.size(); ++i)
        if (!made_[i] && !sawError())
            return Problem{"no dialog has a control labelled " + inQuotes(step_.settings[i].label),
                           inQuotes(step.press),
                           alternatives(step_.settings[i].label, offered_, 30)};
    return done();
}

bool ScriptedUser::sawError() const {
    return std::ranges::any_of(messages_,
                               [](const Message& m) { return m.kind == MessageKind::error; });
}

Result<> ScriptedUser::set(ControlModel& control, const std::string& value) {
    const bool file = control.type == ControlType::file ||
                      control.type == ControlType::loadButton ||
                      control.type == ControlType::saveButton;
    if (standIns_ && file) {
        auto path = standIns_->of(value);
        return path ? choosePath(control, path.value()) : path.problem();
    }
    return setByText(control, value, *scene_);
}

bool ScriptedUser::runModal(PanelModel& panel) {
    dialogs_.push_back(panel.title);
    for (auto& label : labels(panel))
        if (std::ranges::find(offered_, label) == offered_.end())
            offered_.push_back(std::move(label));
    for (std::size_t i = 0; i < step_.settings.size() && !problem_; ++i) {
        if (made_[i]) continue;
        const auto& setting = step_.settings[i];
        if (controlsNamed(panel, setting.label).empty()) continue; // it is for another dialog
        const auto control = findControl(panel, setting.label);
        if (!control) {
            problem_ = control.problem();
            continue;
        }
        made_[i] = true;
        if (auto done = set(*control.value(), setting.value); !done) {
            problem_ = done.problem();
            problem_->where = inQuotes(step_.press) + ", " + inQuotes(setting.label);
        }
        // A person does not accept a dialog that has just shown an error.
        if (sawError()) return false;
    }
    // Settings still to be made belong to a later dialog.
    const bool allMade = std::ranges::find(made_, false) == made_.end();
    return !problem_ && !(step_.cancel && allMade);
}

void ScriptedUser::show(const Message& message) {
    messages_.push_back(message);
    if (!standIns_) return;
    for (std::string& line : messages_.back().lines)
        line = standIns_->named(line);
}

bool ScriptedUser::ask(const Message& question) {
    show(question);
    if (problem_) return false;
    if (step_.answers.empty()) return true;
    const std::size_t turn = std::min(questions_++, step_.answers.size() - 1);
    return step_.answers[turn];
}

} // namespace cadencora::stage
