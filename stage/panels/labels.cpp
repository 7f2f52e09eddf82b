#include "stage/panels/labels.h"

#include "stage/base/text.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Each way to name a control, the shortest first. Controls without a label have none.
std::vector<std::string> namesOf(const ControlModel& control) {
    const std::string label(shownLabel(control));
    if (label.empty()) return {};
    std::vector<std::string> names{label};
    const std::string section(trimmed(control.section)), panel(trimmed(control.panel->title));
    if (!section.empty()) names.push_back(section + "/" + label);
    if (!panel.empty()) names.push_back(panel + "/" + label);
    if (!section.empty() && !panel.empty()) names.push_back(panel + "/" + section + "/" + label);
    return names;
}

template <class Matches>
std::vector<ControlModel*> filtered(const Panels& panels, Matches matches) {
    std::vector<ControlModel*> found;
    for (const PanelModel* panel : panels)
        for (ControlModel* control : panel->controls)
            if (matches(*control)) found.push_back(control);
    return found;
}

// A short name goes before a long one, and exact spelling before any other.
std::vector<ControlModel*> namedExactly(const Panels& panels, std::string_view wanted) {
    std::vector<ControlModel*> found;
    constexpr std::size_t mostNames = 4;
    for (std::size_t i = 0; i < mostNames && found.empty(); ++i)
        found = filtered(panels, [&](const ControlModel& control) {
            const auto names = namesOf(control);
            return i < names.size() && names[i] == wanted;
        });
    if (found.empty())
        found = filtered(panels, [&](const ControlModel& control) {
            return std::ranges::any_of(namesOf(control),
                                       [&](const auto& name) { return equalNoCase(name, wanted); });
        });
    return found;
}

} // namespace

std::string_view shownLabel(const ControlModel& control) {
    return trimmed(control.label);
}

std::string qualifiedLabel(const ControlModel& control) {
    const auto names = namesOf(control);
    if (names.empty()) return {};
    return trimmed(control.section).empty() ? names.front() : names[1];
}

std::vector<ControlModel*> controlsNamed(const Panels& panels, std::string_view label) {
    const std::string_view wanted = trimmed(label);
    auto found = namedExactly(panels, wanted);
    const auto mark = wanted.rfind('#');
    if (!found.empty() || mark == wanted.npos) return found;
    const auto turn = parseInteger(wanted.substr(mark + 1));
    found = namedExactly(panels, wanted.substr(0, mark));
    if (!turn || *turn < 1 || *turn > static_cast<long long>(found.size())) return {};
    return {found[static_cast<std::size_t>(*turn) - 1]};
}

Result<ControlModel*> findControl(const Panels& panels, std::string_view label) {
    const auto found = controlsNamed(panels, label);
    if (found.size() == 1) return found.front();
    const std::string wanted = inQuotes(trimmed(label));
    const std::string where = panels.size() == 1 ? panels.front()->title : std::string();
    if (found.empty())
        return Problem{"no control is labelled " + wanted, where,
                       alternatives(trimmed(label), labels(panels))};
    std::vector<std::string> names;
    for (const ControlModel* control : found)
        names.push_back(uniqueLabel(panels, *control));
    return Problem{"several controls are labelled " + wanted, where,
                   alternatives(trimmed(label), std::move(names))};
}

Result<Pressed> findPressed(const Panels& panels, const std::string& press) {
    const auto whole = findControl(panels, press);
    if (whole) return Pressed{whole.value(), {}};
    const auto equals = press.find('=');
    if (equals == std::string::npos) return whole.problem();
    const auto found = findControl(panels, std::string_view(press).substr(0, equals));
    if (!found) return found.problem();
    return Pressed{found.value(), press.substr(equals + 1)};
}

std::string uniqueLabel(const Panels& panels, const ControlModel& control) {
    const auto names = namesOf(control);
    for (const std::string& name : names)
        if (controlsNamed(panels, name).size() == 1) return name;
    if (names.empty()) return {};
    const auto same = controlsNamed(panels, names.back());
    const auto turn = std::ranges::find(same, &control) - same.begin() + 1;
    return names.back() + "#" + std::to_string(turn);
}

std::vector<std::string> labels(const Panels& panels) {
    std::vector<std::string> names;
    for (const PanelModel* panel : panels)
        for (const ControlModel* control : panel->controls)
            if (auto name = uniqueLabel(panels, *control); !name.empty())
                names.push_back(std::move(name));
    return names;
}

} // namespace cadencora::stage
