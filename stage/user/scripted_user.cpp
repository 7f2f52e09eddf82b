#include "stage/user/scripted_user.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Dialogs and messages of one step. No plug-in that works needs as many; one that asks until it
// hears "yes" is told no, and then given up.
constexpr std::size_t mostShown = 10'000;

// Makes a control of a tab reachable, as a person does who looks through the tabs. The handler of a
// tab may add controls to the panel.
bool bringUp(const PanelModel& panel, const ControlModel& control) {
    const std::vector<ControlModel*> controls = panel.controls;
    for (ControlModel* tabs : controls) {
        if (tabs->type != ControlType::tabs) continue;
        for (int tab = 0; !control.drawn && tab < static_cast<int>(tabs->choices.size()); ++tab)
            if (auto set = setInteger(*tabs, tab); !set) break;
    }
    return control.drawn;
}

} // namespace

Result<> ScriptedUser::perform(const Step& step) {
    return perform(step, [this] { return pressStep(); });
}

Result<> ScriptedUser::perform(const Step& step, const std::function<Result<>()>& action) {
    step_ = step;
    made_.assign(step.settings.size(), false);
    offered_.clear();
    problem_.reset();
    questions_ = 0;
    shown_ = 0;
    dialogs_.clear();
    messages_.clear();

    if (auto acted = action(); !acted) return acted;
    if (problem_) return *problem_;
    for (std::size_t i = 0; i < made_.size(); ++i)
        if (!made_[i] && !sawError())
            return Problem{"no dialog has a control labelled " + inQuotes(step_.settings[i].label),
                           inQuotes(step_.press), alternatives(step_.settings[i].label, offered_)};
    return done();
}

Result<> ScriptedUser::pressStep() {
    if (floating_.empty())
        return Problem{"the plug-in has opened no panel", inQuotes(step_.press), {}};
    if (auto set = setOnPanels(); !set) return set;
    const auto found = findPressed(floating_, step_.press);
    if (!found) return found.problem();
    ControlModel& pressed = *found.value().control;
    if (!bringUp(*pressed.panel, pressed))
        return Problem{"the button cannot be reached", inQuotes(step_.press), {}};
    if (pressed.type != ControlType::button) {
        if (step_.press.find('=') == std::string::npos)
            return Problem{"this is not a button", inQuotes(step_.press),
                           "a " + std::string(typeName(pressed.type)) +
                               " takes a value: " + inQuotes(step_.press + "=VALUE")};
        return set(pressed, found.value().value);
    }
    if (!pressed.handler)
        return Problem{"the button has no command yet", inQuotes(step_.press), {}};
    return stage::press(pressed);
}

// Settings of controls that are on the panels already are made before the press.
Result<> ScriptedUser::setOnPanels() {
    for (std::size_t i = 0; i < step_.settings.size(); ++i) {
        const auto& setting = step_.settings[i];
        auto named = controlsNamed(floating_, setting.label);
        std::erase_if(named, [](auto* control) { return control->type == ControlType::button; });
        if (named.empty()) continue;
        if (named.size() > 1) return findControl(floating_, setting.label).problem();
        made_[i] = true;
        (void)bringUp(*named.front()->panel, *named.front()); // or the setting is refused
        if (auto done = set(*named.front(), setting.value); !done) {
            Problem problem = done.problem();
            problem.where = inQuotes(step_.press) + ", " + inQuotes(setting.label);
            return problem;
        }
    }
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
    if (isPastLimit()) return false;
    dialogs_.push_back(panel.title);
    for (std::size_t i = 0; i < step_.settings.size() && !problem_; ++i) {
        if (made_[i]) continue;
        const auto& setting = step_.settings[i];
        if (controlsNamed({&panel}, setting.label).empty()) continue; // it is for another dialog
        const auto control = findControl({&panel}, setting.label);
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
    if (!allMade)
        for (auto& label : labels({&panel}))
            if (std::ranges::find(offered_, label) == offered_.end())
                offered_.push_back(std::move(label));
    return !problem_ && !(step_.cancel && allMade);
}

// The whole step fails then; what the plug-in is told from there on is "no".
bool ScriptedUser::isPastLimit() {
    if (++shown_ <= mostShown) return false;
    if (!problem_)
        problem_ = Problem{"the plug-in opened more than " + std::to_string(mostShown) +
                               " dialogs and messages in one step",
                           inQuotes(step_.press),
                           {}};
    if (shown_ > 2 * mostShown) {
        if (giveUp) giveUp(*problem_);
        std::abort();
    }
    return true;
}

void ScriptedUser::show(const Message& message) {
    if (isPastLimit()) return;
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
