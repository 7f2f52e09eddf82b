#include "stage/panels/panel.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

constexpr int margin = 5;
constexpr int gap = 4;
constexpr int padding = 6; // above and below a line of text, together
constexpr int emptyPanel = 60;

bool labelStandsBefore(ControlType type) {
    switch (type) {
    case ControlType::integer:
    case ControlType::number:
    case ControlType::slider:
    case ControlType::choice:
    case ControlType::item:
    case ControlType::file:
    case ControlType::directory:
        return true;
    default:
        return false;
    }
}

// Width of the part beside the label.
int boxWidth(const ControlModel& control, int asked, const TextMetrics& metrics) {
    switch (control.type) {
    case ControlType::integer:
    case ControlType::number:
        return std::max(asked, 90);
    case ControlType::toggle:
        return metrics.lineHeight() + gap + metrics.width(control.label);
    case ControlType::slider:
        return std::max(asked, 60) + gap + metrics.width("-000000");
    case ControlType::item:
        return std::max(asked, 100);
    case ControlType::file:
    case ControlType::directory:
        return std::max(asked, 200);
    case ControlType::choice:
    case ControlType::tabs: {
        int width = 0;
        for (const auto& choice : control.choices) {
            const int own = metrics.width(choice) + 4 * gap;
            width = control.isVertical ? std::max(width, own) : width + own;
        }
        return std::max(asked, width);
    }
    default:
        return std::max(asked, metrics.width(control.label) + gap);
    }
}

int extent(const std::vector<ControlModel*>& controls, int Rect::*start, int Rect::*size) {
    int end = 0;
    for (const ControlModel* control : controls)
        end = std::max(end, control->rect.*start + control->rect.*size);
    return end == 0 ? emptyPanel : end + margin;
}

} // namespace

int FixedMetrics::width(std::string_view text) const {
    // Characters, not bytes: continuation bytes of UTF-8 take no room.
    return 8 * static_cast<int>(std::ranges::count_if(
                   text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

int PanelModel::width() const {
    return std::max(askedWidth, extent(controls, &Rect::x, &Rect::width));
}

int PanelModel::height() const {
    return std::max(askedHeight, extent(controls, &Rect::y, &Rect::height));
}

PanelModel& PanelSet::createPanel(std::string title) {
    PanelModel& panel = panels_.emplace_back();
    panel.title = std::move(title);
    byHandle_.emplace(handleOf(panel), &panel);
    return panel;
}

void PanelSet::destroyPanel(PanelModel& panel) {
    panel.destroyed = true;
    panel.state = PanelState::closed;
    for (ControlModel* control : panel.controls) {
        control->handler = nullptr;
        control->count = nullptr;
        control->name = nullptr;
        control->choices.clear();
    }
}

ControlModel& PanelSet::addControl(PanelModel& panel, ControlModel model, AskedSize asked) {
    ControlModel& control = controls_.emplace_back(std::move(model));
    control.panel = &panel;
    byRecord_.emplace(&control.record, &control);

    const int line = metrics_.lineHeight();
    // Short labels have one width, so that the boxes of a column are aligned.
    if (labelStandsBefore(control.type) && !control.label.empty())
        control.labelWidth =
            std::max(metrics_.width(control.label), metrics_.width("Selection")) + gap;
    control.rect.x = margin;
    control.rect.y = margin;
    if (!panel.controls.empty()) {
        const ControlModel& above = *panel.controls.back();
        control.rect.y = above.rect.y + above.rect.height + gap;
        control.section = above.type == ControlType::listBox ? above.label : above.section;
    }
    control.rect.width = control.labelWidth + boxWidth(control, asked.width, metrics_);
    const int lines =
        control.isVertical ? std::max(static_cast<int>(control.choices.size()), 1) : 1;
    control.rect.height = std::max(lines * (line + padding), asked.height);
    if (control.type == ControlType::listBox) {
        control.rect.height = line + std::max(asked.rows, 1) * line + padding; // the label is above
        control.section.clear();
    }
    panel.controls.push_back(&control);
    return control;
}

void PanelSet::forgetItems() {
    for (ControlModel& control : controls_)
        control.item = ItemId::none;
}

ControlModel* PanelSet::find(const host::Control* record) {
    const auto found = byRecord_.find(record);
    return found == byRecord_.end() ? nullptr : found->second;
}

PanelModel* PanelSet::find(host::Panel handle) {
    const auto found = byHandle_.find(handle);
    return found == byHandle_.end() ? nullptr : found->second;
}

host::Panel PanelSet::handleOf(const PanelModel& panel) {
    // The address serves as a name only; it is never followed without being looked up first.
    return reinterpret_cast<host::Panel>(const_cast<PanelModel*>(&panel));
}

int listRowCount(const ControlModel& control) {
    if (!control.count || !control.name) return 0;
    try {
        return std::max(control.count(control.userData), 0);
    } catch (...) { // of the plug-in
        return 0;
    }
}

std::vector<std::string> listRows(const ControlModel& control) {
    std::vector<std::string> rows;
    const int count = std::min(listRowCount(control), mostListRows);
    try {
        for (int row = 0; row < count; ++row) {
            const char* text = control.name(control.userData, row);
            rows.emplace_back(text ? text : "");
        }
    } catch (...) { // the rows so far
    }
    return rows;
}

} // namespace cadencora::stage
