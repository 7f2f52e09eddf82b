// Which plug-in file the commands use: the option --plugin, or the default.
#pragma once

#include <filesystem>
#include <string>

namespace CLI {
class App;
}

namespace cadencora::stage {

// Adds --plugin, which parses into `plugin`; it must live as long as `app`.
void addPlugin(CLI::App& app, std::string& plugin);

// `plugin` as typed; empty: the default.
std::filesystem::path pluginPath(const std::string& plugin);

} // namespace cadencora::stage
