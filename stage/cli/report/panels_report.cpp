#include "stage/cli/report/panels_report.h"

#include "stage/base/text.h"
#include "stage/cli/report/json.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"

#include <ostream>

namespace cadencora::stage {

namespace {

std::string describe(const ControlModel& control) {
    std::string text(typeName(control.type));
    if (control.type == ControlType::slider)
        text += " " + std::to_string(control.minimum) + " to " + std::to_string(control.maximum);
    for (std::size_t i = 0; i < control.choices.size(); ++i)
        text += (i == 0 ? ": " : ", ") + control.choices[i];
    return text;
}

// The value a control opens with, where it has one that means something.
std::string initialValue(const ControlModel& control) {
    if (control.type == ControlType::listBox || control.type == ControlType::item) return {};
    return valueText(control, Scene());
}

struct NamedControl {
    std::string label;
    const ControlModel& control;
};

// Those that have a label.
std::vector<NamedControl> named(const PanelCopy& panel) {
    std::vector<NamedControl> controls;
    for (const ControlModel& control : panel.controls)
        if (auto label = uniqueLabel({&panel.panel}, control); !label.empty())
            controls.push_back({std::move(label), control});
    return controls;
}

void printControl(const NamedControl& named, int indent, std::ostream& out) {
    out << std::string(static_cast<std::size_t>(indent), ' ') << escaped(named.label) << " ("
        << escaped(describe(named.control)) << ")";
    if (named.control.type != ControlType::button)
        if (const std::string value = initialValue(named.control); !value.empty())
            out << " = " << escaped(value);
    out << "\n";
}

void printDialogs(const std::deque<PanelCopy>& dialogs, int indent, std::ostream& out) {
    for (const PanelCopy& dialog : dialogs) {
        out << std::string(static_cast<std::size_t>(indent), ' ') << inQuotes(dialog.panel.title)
            << "\n";
        for (const NamedControl& control : named(dialog))
            printControl(control, indent + 2, out);
    }
}

Json controlsJson(const PanelCopy& panel) {
    Json controls = Json::array();
    for (const auto& [label, control] : named(panel)) {
        Json entry = {{"label", label}, {"type", typeName(control.type)}};
        if (const std::string value = initialValue(control);
            control.type != ControlType::button && !value.empty())
            entry["value"] = value;
        if (control.type == ControlType::slider)
            entry["range"] = {control.minimum, control.maximum};
        if (!control.choices.empty()) entry["choices"] = control.choices;
        if (!control.pattern.empty()) entry["pattern"] = control.pattern;
        entry["rect"] = {control.rect.x, control.rect.y, control.rect.width, control.rect.height};
        controls.push_back(std::move(entry));
    }
    return controls;
}

Json dialogsJson(const std::deque<PanelCopy>& dialogs) {
    Json list = Json::array();
    for (const PanelCopy& dialog : dialogs)
        list.push_back({{"title", dialog.panel.title}, {"controls", controlsJson(dialog)}});
    return list;
}

void printPanel(const PanelOffer& panel, bool isExplored, std::ostream& out) {
    out << escaped(panel.copy.panel.title) << "\n";
    std::string tab;
    for (const ButtonOffer& button : panel.buttons) {
        if (button.tab != tab) out << "[" << escaped(tab = button.tab) << "]\n";
        out << "  " << escaped(button.label) << (button.connected ? "" : " (no command yet)")
            << "\n";
        printDialogs(button.dialogs, 4, out);
    }
    for (const NamedControl& control : named(panel.copy))
        if (!isExplored || control.control.type != ControlType::button)
            printControl(control, 2, out);
}

} // namespace

void printPanels(const PluginOffer& offer, std::ostream& out) {
    if (offer.servers.size() > 1) {
        out << "servers (--server):";
        for (const std::string& server : offer.servers)
            out << " " << inQuotes(server) << (server == offer.server ? " (this one)" : "");
        out << "\n";
    }
    if (!offer.dialogs.empty()) out << "at the start\n";
    printDialogs(offer.dialogs, 2, out);
    for (const PanelOffer& panel : offer.panels)
        printPanel(panel, offer.isExplored, out);
    if (offer.panels.empty()) out << "no floating panel\n";
    if (!offer.isExplored)
        out << "no button was pressed; --explore presses them, for the dialogs\n";
}

void printPanelsJson(const PluginOffer& offer, std::ostream& out) {
    Json panels = Json::array();
    for (const PanelOffer& panel : offer.panels) {
        Json buttons = Json::array();
        for (const ButtonOffer& button : panel.buttons)
            buttons.push_back({{"tab", button.tab},
                               {"label", button.label},
                               {"connected", button.connected},
                               {"dialogs", dialogsJson(button.dialogs)}});
        panels.push_back({{"title", panel.copy.panel.title},
                          {"controls", controlsJson(panel.copy)},
                          {"buttons", std::move(buttons)}});
    }
    print({{"server", offer.server},
           {"servers", offer.servers},
           {"explored", offer.isExplored},
           {"dialogs", dialogsJson(offer.dialogs)},
           {"panels", std::move(panels)}},
          out);
}

} // namespace cadencora::stage
