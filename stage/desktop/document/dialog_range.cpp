// The ranges of frames that the user marks, and that dialogs ask for.

#include "stage/desktop/document/document.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"
#include "stage/scene/summary.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

// The two sliders of a panel that are a range of frames; null: it has none.
std::pair<ControlModel*, ControlModel*> rangeSliders(const PanelModel& panel) {
    const auto isSlider = [](const ControlModel* control) {
        return control->type == ControlType::slider && control->drawn;
    };
    for (std::size_t i = 0; i < panel.controls.size(); ++i)
        for (std::size_t j = i + 1; j < panel.controls.size(); ++j) {
            ControlModel *first = panel.controls[i], *last = panel.controls[j];
            if (isSlider(first) && isSlider(last) && first->minimum == last->minimum &&
                first->maximum == last->maximum)
                return {first, last};
        }
    return {};
}

} // namespace

void Document::mark(Marked marked) {
    if (!marked.range && !marked_.range) return;
    marked_ = std::move(marked);
    if (marked_.range) {
        std::size_t keys = 0;
        NameList names(4);
        for (const auto& [name, count] : marked_.keys) {
            keys += count;
            names.add(name + " (" + std::to_string(count) + ")");
        }
        news_ = "marked frames " + frameText(marked_.range->first) + " to " +
                frameText(marked_.range->last) + " for the next dialog: " + counted(keys, "key");
        if (keys > 0) news_ += " of " + names.text();
    }
    emit changed(Change::marked);
}

void Document::dialogOpened(PanelModel& panel) {
    dialogs_.push_back(&panel);
    if (marked_.range && askedRange()) {
        // The end goes first where the start would otherwise come after it.
        const FrameRange wanted = *marked_.range;
        const bool endIsFirst = wanted.first > askedRange()->last;
        for (const bool start : {!endIsFirst, endIsFirst})
            setAskedRange(start, std::llround(start ? wanted.first : wanted.last));
    }
    emit changed(Change::marked);
}

void Document::dialogClosed() {
    dialogs_.pop_back();
    emit changed(Change::marked);
}

std::optional<FrameRange> Document::askedRange() const {
    if (dialogs_.empty()) return std::nullopt;
    const auto [first, last] = rangeSliders(*dialogs_.back());
    if (!first) return std::nullopt;
    return FrameRange{static_cast<double>(first->integer), static_cast<double>(last->integer)};
}

void Document::setAskedRange(bool start, std::int64_t frame) {
    if (dialogs_.empty()) return;
    const auto [first, last] = rangeSliders(*dialogs_.back());
    if (!first) return;
    ControlModel& control = *(start ? first : last);
    const auto value =
        static_cast<int>(std::clamp<std::int64_t>(frame, control.minimum, control.maximum));
    if (value == control.integer) return;
    (void)use(control, [value](ControlModel& slider) { return setInteger(slider, value); });
    ++control.redraws; // the view of the slider did not move it
    emit controlsChanged();
    emit changed(Change::marked);
}

} // namespace cadencora::stage
