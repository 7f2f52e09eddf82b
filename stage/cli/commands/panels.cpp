#include "stage/cli/commands/panels.h"

#include "stage/cli/commands/plugin_path.h"
#include "stage/cli/report/panels_report.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace cadencora::stage {

CLI::App* addPanels(CLI::App& app, PanelsOptions& options) {
    CLI::App* panels = app.add_subcommand("panels", "List the plug-in's buttons and dialogs");
    panels->add_flag("--json", options.json, "Print JSON");
    addPlugin(*panels, options.plugin);
    return panels;
}

ExitStatus panels(const PanelsOptions& options) {
    const auto module = Module::open(pluginPath(options.plugin));
    if (!module) return fail(exitFailed, module.problem());
    const auto offer = explore(module.value());
    if (!offer) return fail(exitFailed, offer.problem());
    options.json ? printPanelsJson(offer.value(), std::cout)
                 : printPanels(offer.value(), std::cout);
    return exitDone;
}

} // namespace cadencora::stage
