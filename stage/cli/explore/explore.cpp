#include "stage/cli/explore/explore.h"

#include "stage/panels/actions.h"
#include "stage/panels/labels.h"
#include "stage/services/host.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Accepts the first `depth` dialogs of an action and cancels the rest, keeping a copy of each.
class Explorer : public FrontEnd {
public:
    int depth = 0;
    bool accepts = false;                     // questions
    std::deque<PanelCopy>* dialogs = nullptr; // of the action under way
    std::vector<PanelModel*> panels;          // floating, in the order of opening

    const TextMetrics& metrics() const override { return metrics_; }
    int displayWidth() const override { return 1920; }
    int displayHeight() const override { return 1080; }
    void showFloating(PanelModel& panel) override {
        if (std::ranges::find(panels, &panel) == panels.end()) panels.push_back(&panel);
    }
    bool runModal(PanelModel& panel) override {
        dialogs->emplace_back(panel);
        return static_cast<int>(dialogs->size()) <= depth;
    }
    void panelClosed(PanelModel&) override {}
    void panelDestroyed(PanelModel& panel) override { std::erase(panels, &panel); }
    void show(const Message&) override {}
    bool ask(const Message&) override { return accepts; }

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
        std::deque<PanelCopy> seen;
        user.dialogs = &seen;
        host.event(
            offer.label, [&] { (void)press(button); }, [] { return false; });
        const bool deeper = seen.size() > offer.dialogs.size();
        if (deeper || user.depth == 0) offer.dialogs.swap(seen);
        if (!deeper) break;
    }
}

// Each button once, on the first tab that shows it. A handler may add controls to the panel or
// destroy it.
void exploreButtons(Explorer& user, Host& host, PanelModel& panel, PanelOffer& offer) {
    const std::vector<ControlModel*> atStart = panel.controls;
    const auto tabs = std::ranges::find(atStart, ControlType::tabs, &ControlModel::type);
    const bool hasTabs = tabs != atStart.end();
    const std::size_t tabCount = hasTabs ? (*tabs)->choices.size() : 1;
    const std::vector<std::string> names = hasTabs ? (*tabs)->choices : std::vector<std::string>(1);
    for (std::size_t tab = 0; tab < tabCount && !panel.destroyed; ++tab) {
        std::deque<PanelCopy> unseen;
        user.dialogs = &unseen;
        if (hasTabs)
            host.event(
                "tab", [&] { (void)setInteger(**tabs, static_cast<int>(tab)); },
                [] { return false; });
        for (std::size_t i = 0; i < panel.controls.size() && !panel.destroyed; ++i) {
            ControlModel& control = *panel.controls[i];
            const bool isKnown =
                std::ranges::find(offer.buttons, i, &ButtonOffer::index) != offer.buttons.end();
            if (control.type != ControlType::button || !control.drawn || isKnown) continue;
            ButtonOffer& button = offer.buttons.emplace_back();
            button.tab = names[tab];
            button.label = shownLabel(control);
            button.index = i;
            button.connected = control.handler != nullptr;
            exploreButton(user, host, control, button);
        }
    }
}

} // namespace

PanelCopy::PanelCopy(const PanelModel& original) : panel(original) {
    panel.controls.clear();
    for (const ControlModel* control : original.controls) {
        controls.push_back(*control);
        controls.back().panel = &panel;
        panel.controls.push_back(&controls.back());
    }
}

Result<PluginOffer> explore(const Module& module, bool press) {
    Explorer user;
    HostOptions options;
    options.writeFiles = false;
    Host host(scratchScene(), user, options);

    PluginOffer offer;
    offer.server = module.serverName();
    offer.servers = module.serverNames();
    offer.isExplored = press;
    user.accepts = press;
    user.depth = press ? 100 : 0;
    user.dialogs = &offer.dialogs;
    Result<> active = done();
    host.event(
        "start", [&] { active = module.activate(&Host::lookup, Host::layoutGeneric()); },
        [] { return false; });
    if (!active) return active.problem();
    for (std::size_t i = 0; i < user.panels.size(); ++i) { // a button may open another one
        PanelModel& panel = *user.panels[i];
        PanelOffer& known = offer.panels.emplace_back(panel);
        if (!press) continue;
        exploreButtons(user, host, panel, known);
    }
    return offer;
}

} // namespace cadencora::stage
