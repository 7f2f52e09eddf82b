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

} // namespace

void printPanels(const PluginOffer& offer, std::ostream& out) {
    out << offer.title << "\n";
    std::string tab;
    for (const ButtonOffer& button : offer.buttons) {
        if (button.tab != tab) out << "[" << (tab = button.tab) << "]\n";
        out << "  " << button.label << (button.connected ? "" : " (no command yet)") << "\n";
        for (const DialogCopy& dialog : button.dialogs) {
            out << "    " << inQuotes(dialog.panel.title) << "\n";
            const auto names = labels(dialog.panel);
            std::size_t next = 0;
            for (const ControlModel& control : dialog.controls) {
                if (shownLabel(control).empty()) continue;
                out << "      " << names[next++] << " (" << describe(control) << ")";
                if (const std::string value = initialValue(control); !value.empty())
                    out << " = " << value;
                out << "\n";
            }
        }
    }
}

void printPanelsJson(const PluginOffer& offer, std::ostream& out) {
    Json buttons = Json::array();
    for (const ButtonOffer& button : offer.buttons) {
        Json dialogs = Json::array();
        for (const DialogCopy& dialog : button.dialogs) {
            Json controls = Json::array();
            const auto names = labels(dialog.panel);
            std::size_t next = 0;
            for (const ControlModel& control : dialog.controls) {
                if (shownLabel(control).empty()) continue;
                Json entry = {{"label", names[next++]}, {"type", typeName(control.type)}};
                if (const std::string value = initialValue(control); !value.empty())
                    entry["value"] = value;
                if (control.type == ControlType::slider)
                    entry["range"] = {control.minimum, control.maximum};
                if (!control.choices.empty()) entry["choices"] = control.choices;
                if (!control.pattern.empty()) entry["pattern"] = control.pattern;
                entry["rect"] = {control.rect.x, control.rect.y, control.rect.width,
                                 control.rect.height};
                controls.push_back(std::move(entry));
            }
            dialogs.push_back({{"title", dialog.panel.title}, {"controls", std::move(controls)}});
        }
        buttons.push_back({{"tab", button.tab},
                           {"label", button.label},
                           {"connected", button.connected},
                           {"dialogs", std::move(dialogs)}});
    }
    print({{"title", offer.title}, {"buttons", std::move(buttons)}}, out);
}

} // namespace cadencora::stage
