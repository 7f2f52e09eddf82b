// `panels`: lists the plug-in's buttons and dialogs.
#pragma once

#include "stage/cli/commands/reading.h"

#include <string>

namespace cadencora::stage {

struct PanelsOptions {
    std::string plugin; // as typed; empty: the default
    bool json = false;
};

// Adds the command, which parses into `options`; they must live as long as `app`.
CLI::App* addPanels(CLI::App& app, PanelsOptions& options);

ExitStatus panels(const PanelsOptions& options);

} // namespace cadencora::stage
