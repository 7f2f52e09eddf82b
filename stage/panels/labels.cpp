#include "stage/panels/labels.h"

#include "stage/base/text.h"

namespace cadencora::stage {

namespace {

// Controls without a label cannot be named.
bool hasName(const ControlModel& control) {
    return !shownLabel(control).empty();
}

template <class Matches>
std::vector<ControlModel*> filtered(const PanelModel& panel, Matches matches) {
    std::vector<ControlModel*> found;
    for (ControlModel* control : panel.controls)
        if (hasName(*control) && matches(*control)) found.push_back(control);
    return found;
}

} // namespace

std::string_view shownLabel(const ControlModel& control) {
    return trimmed(control.label);
}

std::string qualifiedLabel(const ControlModel& control) {
    const std::string label(shownLabel(control));
    return control.section.empty() ? label : std::string(trimmed(control.section)) + "/" + label;
}

std::vector<ControlModel*> controlsNamed(const PanelModel& panel, std::string_view label) {
    const std::string_view wanted = trimmed(label);
    auto found = filtered(panel, [&](const ControlModel& c) { return shownLabel(c) == wanted; });
    if (found.empty())
        found = filtered(panel, [&](const ControlModel& c) { return qualifiedLabel(c) == wanted; });
    if (found.empty())
        found = filtered(panel, [&](const ControlModel& c) {
            return equalNoCase(shownLabel(c), wanted) || equalNoCase(qualifiedLabel(c), wanted);
        });
    return found;
}

Result<ControlModel*> findControl(const PanelModel& panel, std::string_view label) {
    const auto found = controlsNamed(panel, label);
    if (found.size() == 1) return found.front();
    const std::string wanted = inQuotes(trimmed(label));
    if (found.empty())
        return Problem{"no control is labelled " + wanted, panel.title,
                       alternatives(trimmed(label), labels(panel), 20)};
    std::vector<std::string> names;
    for (const ControlModel* control : found)
        names.push_back(qualifiedLabel(*control));
    return Problem{"several controls are labelled " + wanted, panel.title,
                   alternatives(trimmed(label), std::move(names))};
}

std::vector<std::string> labels(const PanelModel& panel) {
    std::vector<std::string> names;
    for (const ControlModel* control : panel.controls) {
        if (!hasName(*control)) continue;
        const auto same = filtered(panel, [&](const ControlModel& other) {
            return shownLabel(other) == shownLabel(*control);
        });
        names.push_back(same.size() > 1 ? qualifiedLabel(*control)
                                        : std::string(shownLabel(*control)));
    }
    return names;
}

} // namespace cadencora::stage
