#include "stage/cli/commands/plugin_path.h"

#include "stage/module/module.h"

#include <CLI/CLI.hpp>

namespace cadencora::stage {

void addPlugin(CLI::App& app, std::string& plugin, std::string& server) {
    app.add_option("--plugin", plugin,
                   "The plug-in file (default: CADENCORA_PLUGIN, else beside the program)");
    app.add_option("--server", server, "Which of the plug-in's servers (default: the first)");
}

std::filesystem::path pluginPath(const std::string& plugin) {
    return plugin.empty() ? Module::defaultPath() : std::filesystem::path(plugin);
}

} // namespace cadencora::stage
