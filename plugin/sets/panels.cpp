#include "plugin/sets/panels.h"

#include "plugin/host/lookup.h"

namespace cadencora {

host::Panel createPanel(const char* title) {
    const host::Panel panel = panelService->createPanel(title, 0);
    if (!panel) message->error("Unable to create new panel", "");
    return panel;
}

void centerPanel(const host::PanelFuncs* panels, host::Panel panel) {
    int width = 0;
    int height = 0;
    panels->getPanelAttribute(panel, host::panelWidth, &width);
    panels->getPanelAttribute(panel, host::panelHeight, &height);
    const int* display = panels->drawFuncs ? panels->drawFuncs->displayMetrics() : nullptr;
    if (!display) return;
    const int x = (display[0] - width) / 2;
    const int y = (display[1] - height) / 2;
    panels->setPanelAttribute(panel, host::panelX, &x);
    panels->setPanelAttribute(panel, host::panelY, &y);
}

bool runPanel(host::Panel panel) {
    centerPanel(panelService, panel);
    return panelService->openPanel(panel, host::openModal) != 0;
}

} // namespace cadencora
