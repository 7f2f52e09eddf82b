#include "stage/cli/commands/check.h"

#include "stage/base/text.h"
#include "stage/cli/explore/explore.h"
#include "stage/cli/many/workers.h"
#include "stage/cli/report/packed_texts.h"
#include "stage/panels/labels.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Whether a dialog, or a floating panel, has the control of a setting.
Result<> checkSetting(const PluginOffer& offer, const std::deque<PanelCopy>& dialogs,
                      const Panels& floating, const Step::Setting& setting) {
    const auto onPanels = controlsNamed(floating, setting.label);
    if (std::ranges::any_of(onPanels, [](auto* c) { return c->type != ControlType::button; }))
        return done();
    std::vector<std::string> offered;
    std::optional<Problem> problem;
    for (const PanelCopy& dialog : dialogs) {
        const auto named = controlsNamed({&dialog.panel}, setting.label);
        if (named.size() == 1) return done();
        if (named.size() > 1) problem = findControl({&dialog.panel}, setting.label).problem();
        for (auto& label : labels({&dialog.panel}))
            offered.push_back(std::move(label));
    }
    if (problem) return *problem;
    return Problem{"no dialog has a control labelled " + inQuotes(setting.label), offer.server,
                   alternatives(setting.label, std::move(offered))};
}

Result<> checkStep(const PluginOffer& offer, const Step& step) {
    Panels floating;
    for (const PanelOffer& panel : offer.panels)
        floating.push_back(&panel.copy.panel);
    const std::deque<PanelCopy>* dialogs = &offer.dialogs;
    std::string where = "start";
    if (!step.isStart) {
        const auto pressed = findPressed(floating, step.press);
        if (!pressed) {
            Problem problem = pressed.problem();
            problem.what = "no button is labelled " + inQuotes(step.press);
            problem.where = offer.server;
            return problem;
        }
        const ButtonOffer* button = nullptr;
        for (const PanelOffer& panel : offer.panels)
            for (const ButtonOffer& known : panel.buttons)
                if (panel.copy.panel.controls[known.index] == pressed.value().control)
                    button = &known;
        if (!button) return done(); // it is another control, which the run looks at
        where = button->label;
        if (!button->connected)
            return Problem{"the button has no command yet", inQuotes(where), {}};
        dialogs = &button->dialogs;
    }
    for (const Step::Setting& setting : step.settings)
        if (auto possible = checkSetting(offer, *dialogs, floating, setting); !possible) {
            Problem problem = possible.problem();
            problem.where = inQuotes(where);
            return problem;
        }
    return done();
}

std::optional<Refusal> check(const std::filesystem::path& plugin, const std::string& server,
                             const std::vector<Step>& steps) {
    const auto module = Module::open(plugin, server);
    if (!module) return Refusal{exitFailed, module.problem()};
    const auto offer = explore(module.value(), true);
    if (!offer) return Refusal{exitFailed, offer.problem()};
    for (const Step& step : steps)
        if (auto possible = checkStep(offer.value(), step); !possible)
            return Refusal{exitUsage, possible.problem()};
    return std::nullopt;
}

std::string packed(const std::optional<Refusal>& refusal) {
    if (!refusal) return {};
    const auto& [what, where, detail] = refusal->problem;
    return packedTexts({std::to_string(refusal->status), what, where, detail});
}

std::optional<Refusal> unpacked(const std::string& answer) {
    if (answer.empty()) return std::nullopt;
    const auto texts = unpackedTexts(answer);
    return Refusal{static_cast<ExitStatus>(std::stoi(texts.at(0))),
                   {texts.at(1), texts.at(2), texts.at(3)}};
}

} // namespace

std::optional<Refusal> checkInProcess(const std::filesystem::path& plugin,
                                      const std::string& server, const std::vector<Step>& steps) {
    const auto answer = workApart([&] { return packed(check(plugin, server, steps)); });
    if (!answer) return Refusal{exitFailed, answer.problem()};
    return unpacked(answer.value());
}

} // namespace cadencora::stage
