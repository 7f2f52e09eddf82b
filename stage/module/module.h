// Finding, opening, checking and starting a plug-in file, the way any host would.
#pragma once

#include "plugin/host/module.h"
#include "stage/base/result.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

// An opened plug-in. Its file stays loaded until the process ends, because its panels and handlers
// may be called for as long. A file is opened once per process.
class Module {
public:
    // Opens a plug-in file, checks its descriptor and calls its startup function. `server`: which
    // of its servers is used, by name; empty: the first.
    static Result<Module> open(const std::filesystem::path& path, std::string_view server = {});

    // Calls the shutdown function, unless shutDown() did.
    ~Module();
    Module(Module&& from) noexcept;
    Module& operator=(Module&&) = delete;

    // Where the plug-in is looked for when no path is given: CADENCORA_PLUGIN, beside the program,
    // in ../lib/cadencora beside it.
    static std::filesystem::path defaultPath();

    // Whether a file is the plug-in that comes with the program.
    static bool isOwn(const std::filesystem::path& path);

    // Starts the server in use with the host's lookup and record.
    Result<> activate(host::GlobalFunc lookup, void* layoutGeneric) const;

    // The end: nothing of the plug-in is called any more.
    Result<> shutDown();

    const std::filesystem::path& path() const { return path_; }
    const std::string& serverName() const { return servers_[used_].name; }
    std::vector<std::string> serverNames() const;
    Result<> useServer(std::string_view name);

private:
    struct Server {
        std::string name;
        host::Activation activate;
    };

    explicit Module(std::filesystem::path path) : path_(std::move(path)) {}

    std::filesystem::path path_;
    std::vector<Server> servers_; // of the class that the host starts
    std::size_t used_ = 0;
    const host::ModuleDescriptor* descriptor_ = nullptr; // null: not started, or shut down
    void* token_ = nullptr;                              // what startup returned
};

} // namespace cadencora::stage
