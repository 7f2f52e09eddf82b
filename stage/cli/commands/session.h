// One process's use of a plug-in: its file is opened once, and scenes are worked on one after the
// other, each with an activation of its own.
//
// Calls the services, the module and the scripted user.
#pragma once

#include "stage/cli/commands/run.h"
#include "stage/services/host.h"

#include <memory>

namespace cadencora::stage {

struct Session {
    // Opens and starts the plug-in. A Problem says why it cannot be used.
    static Result<std::unique_ptr<Session>> open(const RunOptions& options);

    // A plug-in may go elsewhere with the process; paths mean what they meant at its start.
    void returnToFolder() const;

    ScriptedUser user;
    Host host;
    std::optional<Module> module; // ends first: its shutdown may still call the host

private:
    explicit Session(const RunOptions& options);

    std::filesystem::path folder_; // the process's own at the start
};

} // namespace cadencora::stage
