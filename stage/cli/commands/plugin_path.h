// Which plug-in file and server the commands use: the options --plugin and --server, or the
// default.
#pragma once

#include <filesystem>
#include <string>

namespace CLI {
class App;
}

namespace cadencora::stage {

// Adds the options, which parse into `plugin` and `server`; they must live as long as `app`.
void addPlugin(CLI::App& app, std::string& plugin, std::string& server);

// `plugin` as typed; empty: the default.
std::filesystem::path pluginPath(const std::string& plugin);

} // namespace cadencora::stage
