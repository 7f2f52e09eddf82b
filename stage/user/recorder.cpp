#include "stage/user/recorder.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace cadencora::stage {

namespace {

bool isTyped(ControlType type) {
    return type == ControlType::slider || type == ControlType::integer ||
           type == ControlType::number;
}

} // namespace

void Recorder::begin(const ControlModel& control, const Panels& floating, const Scene& scene) {
    RecordedStep recorded;
    recorded.step.press = uniqueLabel(floating, control);
    if (recorded.step.press.empty()) recorded.shortfall = "the control has no label";
    pressed_ = &control;
    if (!before_ || before_->selection != scene.selection) {
        auto& names = recorded.step.select.emplace();
        std::unordered_map<std::string_view, ItemId> first; // of a name, whom a script finds
        for (std::size_t i = 0; i < scene.itemCount(); ++i)
            first.emplace(scene.item(Scene::itemAt(i)).name, Scene::itemAt(i));
        for (const ItemId item : scene.selection) {
            names.push_back(scene.item(item).name);
            if (first[names.back()] != item)
                recorded.shortfall = "several items are named " + inQuotes(names.back());
        }
    }
    if (!before_ || before_->time != scene.currentTime)
        recorded.step.time = scene.rate.frameOf(scene.currentTime);
    steps_.push_back(std::move(recorded));
    changed_.push_back(false);
    dialogs_.clear();
    last_ = nullptr;
    madeHere_ = 0;
    open_ = true;
}

void Recorder::dialogOpened(const PanelModel& panel) {
    if (!open_) return;
    if (steps_.back().step.cancel) fallShort("a dialog opened after a cancelled one");
    dialogs_.push_back(&panel);
    madeHere_ = 0;
}

// Whether a script would make a setting of this label in a dialog before the newest.
bool Recorder::isTaken(std::string_view label) const {
    return std::any_of(dialogs_.begin(), dialogs_.end() - 1,
                       [&](const PanelModel* dialog) { return findControl({dialog}, label).ok(); });
}

void Recorder::set(const ControlModel& control, const Scene& scene) {
    if (!open_ || dialogs_.empty()) return;
    auto& settings = steps_.back().step.settings;
    // Qualified wherever it can be: an earlier dialog may have several controls of the short label.
    std::string label = qualifiedLabel(control);
    if (isTaken(label)) label = std::string(trimmed(control.panel->title)) + "/" + label;
    const auto found = findControl({control.panel}, label);
    if (!found || found.value() != &control)
        return fallShort(inQuotes(label) + " does not name one control of the dialog");
    if (isTaken(label)) fallShort("two dialogs have a control " + inQuotes(label));
    std::string value = control.type == ControlType::button ? "press" : valueText(control, scene);
    if (last_ == &control && isTyped(control.type)) {
        settings.back().value = std::move(value);
        return;
    }
    settings.push_back({label, std::move(value)});
    last_ = &control;
    ++madeHere_;
}

// A script cancels the dialog of the last setting: where the user cancelled a later one untouched,
// one of its values is set again to what it is.
void Recorder::anchorCancel(const PanelModel& panel, const Scene& scene) {
    for (const ControlModel* control : panel.controls) {
        const bool plain = isTyped(control->type) || control->type == ControlType::toggle ||
                           control->type == ControlType::choice;
        const std::string label = qualifiedLabel(*control);
        if (!plain || !control->drawn || label.empty() || isTaken(label)) continue;
        return set(*control, scene);
    }
    fallShort("the dialog that was cancelled has no value to be known by");
}

void Recorder::dialogClosed(const PanelModel& panel, bool accepted, const Scene& scene) {
    if (!open_) return;
    last_ = nullptr;
    if (accepted) return;
    if (madeHere_ == 0 && dialogs_.size() > 1) anchorCancel(panel, scene);
    steps_.back().step.cancel = true;
}

void Recorder::answered(bool yes) {
    if (open_) steps_.back().step.answers.push_back(yes);
}

void Recorder::end(bool changed, const Scene& scene) {
    if (!open_) return;
    open_ = false;
    if (changed) undone_.clear();
    changed_.back() = changed;
    if (pressed_->type != ControlType::button) {
        if (!changed) {
            steps_.pop_back();
            changed_.pop_back();
            return;
        }
        steps_.back().step.press += "=" + valueText(*pressed_, scene);
    }
    before_ = Before{scene.selection, scene.currentTime};
}

void Recorder::abandon() {
    if (!open_) return;
    open_ = false;
    steps_.pop_back();
    changed_.pop_back();
}

void Recorder::undone() {
    const auto last = std::find(changed_.rbegin(), changed_.rend(), true);
    if (last == changed_.rend()) return;
    const auto from = std::distance(last, changed_.rend()) - 1;
    Group group;
    group.steps.assign(std::make_move_iterator(steps_.begin() + from),
                       std::make_move_iterator(steps_.end()));
    group.changed.assign(changed_.begin() + from, changed_.end());
    steps_.erase(steps_.begin() + from, steps_.end());
    changed_.erase(changed_.begin() + from, changed_.end());
    undone_.push_back(std::move(group));
    before_.reset(); // the next step says all
}

void Recorder::redone() {
    if (undone_.empty()) return;
    Group group = std::move(undone_.back());
    undone_.pop_back();
    std::ranges::move(group.steps, std::back_inserter(steps_));
    changed_.insert(changed_.end(), group.changed.begin(), group.changed.end());
    before_.reset();
}

void Recorder::clear() {
    *this = {};
}

std::vector<Step> Recorder::steps() const {
    std::vector<Step> steps;
    for (const RecordedStep& recorded : steps_)
        steps.push_back(recorded.step);
    return steps;
}

void Recorder::fallShort(std::string why) {
    std::string& shortfall = steps_.back().shortfall;
    if (shortfall.empty()) shortfall = std::move(why);
}

} // namespace cadencora::stage
