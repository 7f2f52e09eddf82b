#include "plugin/shell/activation.h"

#include "plugin/host/lookup.h"
#include "plugin/sets/channel_list.h"
#include "plugin/shell/main_panel.h"

#include <cstdlib>
#include <cstring>

namespace cadencora {

const host::ServerRecord ServerDesc[2] = {
    {.className = "LayoutGeneric",
     .serverName = "Cadencora",
     .activate = Cadencora,
     .tags = nullptr},
    {.className = nullptr, .serverName = nullptr, .activate = nullptr, .tags = nullptr},
};

void* Startup() {
    return reinterpret_cast<void*>(std::uintptr_t{4});
}

void Shutdown(void*) {
    // The panels and their records stay until the process ends.
}

// A failed start leaves the services of an earlier one in place: its panel still needs them.
static bool keepServices(host::GlobalFunc lookup, const host::LayoutGeneric* layout) {
    if (!lookup) return false;
    const void* messages = lookup(host::messageFuncsName, 0);
    void* panels = lookup(host::panelFuncsName, 0);
    if (!messages || !panels) return false;
    message = static_cast<const host::MessageFuncs*>(messages);
    panelService = static_cast<host::PanelFuncs*>(panels);
    panelService->globalFunc = lookup;
    global = lookup;
    evaluate = layout ? layout->evaluate : nullptr;
    return true;
}

// Opens the main panel over two fresh records, which are the panel's from then on.
static bool openMainPanel(ToolState* state, TabControlSets* tabs) {
    const host::Panel panel = panelService->createPanel("Cadencora", 0);
    if (!panel) {
        message->error("Unable to create panel for display", "");
        return false;
    }
    createDefaultChannels(state);
    buildMainPanel(panel, state, tabs);
    panelService->openPanel(panel, host::openFloating);
    return true;
}

static void* allocateZeroed(std::size_t size) {
    void* block = std::malloc(size);
    if (block) std::memset(block, 0, size);
    return block;
}

int Cadencora(int version, host::GlobalFunc lookup, void* local, void*) {
    if (version != host::layoutGenericVersion) return 1;
    if (!keepServices(lookup, static_cast<const host::LayoutGeneric*>(local))) return 2;
    auto* state = static_cast<ToolState*>(allocateZeroed(sizeof(ToolState)));
    auto* tabs = static_cast<TabControlSets*>(allocateZeroed(sizeof(TabControlSets)));
    if (!state || !tabs || !openMainPanel(state, tabs)) {
        std::free(tabs);
        std::free(state);
        return 2;
    }
    return 0;
}

} // namespace cadencora
