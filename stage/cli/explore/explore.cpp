#include "stage/cli/explore/explore.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"
#include "stage/panels/labels.h"
#include "stage/services/host.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Accepts the first `depth` dialogs of a press and cancels the rest, keeping a copy of each.
class Explorer : public FrontEnd {
public:
    int depth = 0;
    std::deque<DialogCopy>* dialogs = nullptr; // of the press under way
    PanelModel* main = nullptr;

    const TextMetrics& metrics() const override { return metrics_; }
    int displayWidth() const override { return 1920; }
    int displayHeight() const override { return 1080; }
    void showFloating(PanelModel& panel) override { main = &panel; }
    bool runModal(PanelModel& panel) override {
        dialogs->emplace_back(panel);
        return static_cast<int>(dialogs->size()) <= depth;
    }
    void panelDestroyed(PanelModel&) override {}
    void show(const Message&) override {}
    bool ask(const Message&) override { return true; }

private:
    FixedMetrics metrics_;
};

// An object with a bone, selected, and two seconds of time: enough for every dialog to open.
Scene scratchScene() {
    Scene scene;
    const ItemId object = scene.addItem(ItemType::object, "Object");
    scene.addItem(ItemType::bone, "Bone", object, object);
    scene.lastFrame = scene.previewLast = 60;
    scene.selection = {object};
    return scene;
}

void exploreButton(Explorer& user, Host& host, ControlModel& button, ButtonOffer& offer) {
    constexpr int deepest = 8;
    for (user.depth = 0; user.depth < deepest; ++user.depth) {
        std::deque<DialogCopy> seen;
        user.dialogs = &seen;
        host.event(
            offer.label, [&] { (void)press(button); }, [] { return false; });
        const bool deeper = seen.size() > offer.dialogs.size();
        if (deeper || user.depth == 0) offer.dialogs.swap(seen);
        if (!deeper) break;
    }
}

} // namespace

DialogCopy::DialogCopy(const PanelModel& original) : panel(original) {
    panel.controls.clear();
    for (const ControlModel* control : original.controls) {
        controls.push_back(*control);
        controls.back().panel = &panel;
        panel.controls.push_back(&controls.back());
    }
}

Result<PluginOffer> explore(const Module& module) {
    Explorer user;
    HostOptions options;
    options.writeFiles = false;
    Host host(scratchScene(), user, options);
    if (auto active = module.activate(&Host::lookup, Host::layoutGeneric()); !active)
        return active.problem();
    if (!user.main) return Problem{"the plug-in has opened no panel", module.path().string(), {}};

    PluginOffer offer;
    offer.title = user.main->title;
    const auto& controls = user.main->controls;
    const auto tabs = std::ranges::find(controls, ControlType::tabs, &ControlModel::type);
    const int tabCount = tabs == controls.end() ? 1 : static_cast<int>((*tabs)->choices.size());
    for (int tab = 0; tab < tabCount; ++tab) {
        if (tabs != controls.end()) (void)setInteger(**tabs, tab);
        for (ControlModel* control : controls) {
            if (control->type != ControlType::button || !control->drawn) continue;
            ButtonOffer& button = offer.buttons.emplace_back();
            if (tabs != controls.end())
                button.tab = (*tabs)->choices[static_cast<std::size_t>(tab)];
            button.label = shownLabel(*control);
            button.connected = control->handler != nullptr;
            exploreButton(user, host, *control, button);
        }
    }
    return offer;
}

Result<> checkStep(const PluginOffer& offer, const Step& step) {
    const auto matches = [&](const ButtonOffer& button) {
        return equalNoCase(button.label, trimmed(step.press));
    };
    const auto button = std::ranges::find_if(offer.buttons, matches);
    if (button == offer.buttons.end()) {
        std::vector<std::string> names;
        for (const ButtonOffer& known : offer.buttons)
            names.push_back(known.label);
        return Problem{"no button is labelled " + inQuotes(step.press), offer.title,
                       alternatives(step.press, std::move(names), 20)};
    }
    if (!button->connected)
        return Problem{"the button has no command yet", inQuotes(button->label), {}};
    for (const Step::Setting& setting : step.settings) {
        std::vector<std::string> offered;
        std::optional<Problem> problem;
        bool found = false;
        for (const DialogCopy& dialog : button->dialogs) {
            const auto named = controlsNamed(dialog.panel, setting.label);
            found = found || named.size() == 1;
            if (named.size() > 1) problem = findControl(dialog.panel, setting.label).problem();
            for (auto& label : labels(dialog.panel))
                offered.push_back(std::move(label));
        }
        if (found) continue;
        if (!problem)
            problem = Problem{"no dialog has a control labelled " + inQuotes(setting.label),
                              {},
                              alternatives(setting.label, std::move(offered), 30)};
        problem->where = inQuotes(button->label);
        return *problem;
    }
    return done();
}

} // namespace cadencora::stage
