#include "stage/cli/commands/panels.h"

#include "stage/cli/commands/plugin_path.h"
#include "stage/cli/many/workers.h"
#include "stage/cli/report/panels_report.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <sstream>

namespace cadencora::stage {

CLI::App* addPanels(CLI::App& app, PanelsOptions& options) {
    CLI::App* panels = app.add_subcommand("panels", "List the plug-in's panels and dialogs");
    panels->add_flag("--json", options.json, "Print JSON");
    panels->add_flag("--explore", options.explore,
                     "Press each button of a plug-in other than Cadencora, and answer yes, for "
                     "its dialogs");
    addPlugin(*panels, options.plugin, options.server);
    return panels;
}

ExitStatus panels(const PanelsOptions& options) {
    // In a process of its own: a plug-in's end is not that of the program. The first byte of the
    // answer says whether the rest is the list or what is wrong.
    const auto answer = workApart([&]() -> std::string {
        const auto plugin = pluginPath(options.plugin);
        const auto module = Module::open(plugin, options.server);
        if (!module) return "-" + module.problem().text();
        const auto offer = explore(module.value(), options.explore || Module::isOwn(plugin));
        if (!offer) return "-" + offer.problem().text();
        std::ostringstream list;
        options.json ? printPanelsJson(offer.value(), list) : printPanels(offer.value(), list);
        return "+" + list.str();
    });
    if (!answer) return fail(exitFailed, answer.problem());
    if (answer.value().front() == '-') return fail(exitFailed, {answer.value().substr(1), {}, {}});
    std::cout << std::string_view(answer.value()).substr(1);
    return exitDone;
}

} // namespace cadencora::stage
