#include "stage/user/recorder.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <unordered_map>
#include <utf8.h>

namespace cadencora::stage {

namespace {

// A recipe is text: other bytes would be replaced.
bool isText(std::string_view text) {
    return utf8::is_valid(text.begin(), text.end());
}

// The frame whose time is exactly this one; a fraction may need its last digits moved.
std::optional<double> exactFrame(const FrameRate& rate, double time) {
    const double frame = rate.frameOf(time);
    double up = frame, down = frame;
    for (int i = 0; i < 8; ++i) {
        if (rate.timeAt(up) == time) return up;
        if (rate.timeAt(down) == time) return down;
        up = std::nextafter(up, HUGE_VAL);
        down = std::nextafter(down, -HUGE_VAL);
    }
    return std::nullopt;
}

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
    const auto fallsShort = [&](std::string why) {
        if (recorded.shortfall.empty()) recorded.shortfall = std::move(why);
    };
    if (!isText(recorded.step.press)) fallsShort("a label is not UTF-8");
    if (isFirst_ || !before_ || before_->selection != scene.selection) {
        auto& names = recorded.step.select.emplace();
        std::unordered_map<std::string_view, ItemId> first; // of a name, whom a script finds
        for (std::size_t i = 0; i < scene.itemCount(); ++i)
            first.emplace(scene.item(Scene::itemAt(i)).name, Scene::itemAt(i));
        for (const ItemId item : scene.selection) {
            names.push_back(scene.item(item).name);
            if (first[names.back()] != item)
                fallsShort("several items are named " + inQuotes(names.back()));
            if (!isText(names.back())) fallsShort("an item's name is not UTF-8");
        }
    }
    if (!before_ || before_->previewFirst != scene.previewFirst ||
        before_->previewLast != scene.previewLast)
        recorded.step.preview.emplace(scene.previewFirst, scene.previewLast);
    steps_.push_back(std::move(recorded));
    if (isFirst_ || !before_ || before_->time != scene.currentTime) takeTime(scene);
    changed_.push_back(false);
    dialogs_.clear();
    last_ = nullptr;
    madeHere_ = 0;
    open_ = true;
}

void Recorder::takeTime(const Scene& scene) {
    const auto frame = exactFrame(scene.rate, scene.currentTime);
    if (!frame) fallShort("no frame number has exactly the time");
    steps_.back().step.time = frame.value_or(scene.rate.frameOf(scene.currentTime));
}

void Recorder::dialogOpened(const PanelModel& panel, const Scene& scene) {
    if (!open_) return;
    opened_ = scene.currentTime;
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
    if (!isText(label) || !isText(value)) fallShort("a value is not UTF-8");
    if (last_ == &control && isTyped(control.type)) {
        settings.back().value = std::move(value);
        return;
    }
    settings.push_back({label, std::move(value)});
    last_ = &control;
    ++madeHere_;
}

void Recorder::refused(const ControlModel& control) {
    if (open_ && !dialogs_.empty())
        fallShort(inQuotes(qualifiedLabel(control)) + " was answered with an error");
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
    if (scene.currentTime != opened_) takeTime(scene);
    opened_ = scene.currentTime;
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
    ++revision_;
    if (changed) undone_.clear();
    changed_.back() = changed;
    if (pressed_->type != ControlType::button) {
        if (!changed && pressed_->type == ControlType::tabs) {
            steps_.pop_back();
            changed_.pop_back();
            return;
        }
        steps_.back().step.press += "=" + valueText(*pressed_, scene);
    }
    // A cancelled dialog in which nothing was set has left nothing that a script has to do. What it
    // would say of the selection and the time is for the next step.
    const Step& step = steps_.back().step;
    if (step.cancel && !changed && step.settings.empty() && dialogs_.size() == 1) {
        steps_.pop_back();
        changed_.pop_back();
        return;
    }
    before_ = stateOf(scene);
    isFirst_ = false;
}

Recorder::Before Recorder::stateOf(const Scene& scene) {
    return {scene.selection, scene.currentTime, scene.previewFirst, scene.previewLast};
}

void Recorder::failed(const Scene& scene) {
    if (!open_) return;
    open_ = false;
    ++revision_;
    steps_.back().step.keep = false;
    before_ = stateOf(scene);
    isFirst_ = false;
}

void Recorder::undone() {
    const auto last = std::find(changed_.rbegin(), changed_.rend(), true);
    if (last == changed_.rend()) return;
    const auto step = static_cast<std::size_t>(std::distance(last, changed_.rend())) - 1;
    steps_[step].step.keep = false;
    changed_[step] = false;
    ++revision_;
    undone_.push_back(step);
    before_.reset();
}

void Recorder::redone() {
    if (undone_.empty()) return;
    const std::size_t step = undone_.back();
    undone_.pop_back();
    steps_[step].step.keep = true;
    ++revision_;
    changed_[step] = true;
    before_.reset();
    // A script takes the steps in their order, when this one is made already.
    for (std::size_t later = step + 1; later < steps_.size(); ++later)
        if (std::ranges::find(undone_, later) == undone_.end() && steps_[later].shortfall.empty())
            steps_[later].shortfall =
                inQuotes(steps_[step].step.press) + " was undone then, and made again later";
}

void Recorder::restore(std::vector<RecordedStep> steps, const Scene& scene) {
    clear(scene);
    isFirst_ = steps.empty();
    changed_.assign(steps.size(), false);
    steps_ = std::move(steps);
}

void Recorder::add(const Step& step, bool changed, const Scene& scene) {
    steps_.push_back({step, {}});
    changed_.push_back(changed);
    if (changed) undone_.clear();
    before_ = stateOf(scene);
    isFirst_ = false;
    ++revision_;
}

void Recorder::clear(const Scene& scene) {
    const std::size_t next = revision_ + 1;
    *this = {};
    revision_ = next;
    before_ = stateOf(scene);
}

// Steps at the end that are not kept have no effect on any other.
std::vector<RecordedStep> Recorder::recorded() const {
    std::vector<RecordedStep> shown = steps_;
    while (!shown.empty() && !shown.back().step.keep)
        shown.pop_back();
    return shown;
}

std::vector<Step> Recorder::steps() const {
    std::vector<Step> steps;
    for (RecordedStep& one : recorded())
        steps.push_back(std::move(one.step));
    return steps;
}

void Recorder::fallShort(std::string why) {
    std::string& shortfall = steps_.back().shortfall;
    if (shortfall.empty()) shortfall = std::move(why);
}

} // namespace cadencora::stage
