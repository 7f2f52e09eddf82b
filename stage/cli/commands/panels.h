// `panels`: lists the plug-in's panels, buttons and dialogs.
#pragma once

#include "stage/cli/commands/reading.h"

#include <string>

namespace cadencora::stage {

struct PanelsOptions {
    std::string plugin; // as typed; empty: the default
    std::string server; // empty: the first
    bool json = false;
    bool explore = false; // press the buttons of a plug-in that is not the program's own
};

// Adds the command, which parses into `options`; they must live as long as `app`.
CLI::App* addPanels(CLI::App& app, PanelsOptions& options);

ExitStatus panels(const PanelsOptions& options);

} // namespace cadencora::stage
