// Finding, opening, checking and starting a plug-in file, the way any host would.
#pragma once

#include "plugin/host/module.h"
#include "stage/base/result.h"

#include <filesystem>
#include <string>

namespace cadencora::stage {

// An opened plug-in. Its file stays loaded until the process ends, because its panels and handlers
// may be called for as long.
class Module {
public:
    // Opens a plug-in file and checks its descriptor; calls its startup function.
    static Result<Module> open(const std::filesystem::path& path);

    // Where the plug-in is looked for when no path is given: CADENCORA_PLUGIN, beside the program,
    // in ../lib/cadencora beside it.
    static std::filesystem::path defaultPath();

    // Starts the module's "LayoutGeneric" server with the host's lookup and record.
    Result<> activate(host::GlobalFunc lookup, void* layoutGeneric) const;

    const std::filesystem::path& path() const { return path_; }
    std::string serverName() const { return server_->serverName; }

private:
    Module(std::filesystem::path path, const host::ServerRecord* server)
        : path_(std::move(path)), server_(server) {}

    std::filesystem::path path_;
    const host::ServerRecord* server_;
};

} // namespace cadencora::stage
