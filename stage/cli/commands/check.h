// Whether the steps of a run can work, before anything is opened: what the program's own plug-in
// offers is found out in a process of its own.
#pragma once

#include "stage/cli/report/exit_status.h"
#include "stage/user/scripted_user.h"

#include <filesystem>
#include <optional>

namespace cadencora::stage {

// Loads the plug-in in another process, presses its buttons there, and checks the labels of the
// steps. Nothing: they can work.
std::optional<Refusal> checkInProcess(const std::filesystem::path& plugin,
                                      const std::string& server, const std::vector<Step>& steps);

} // namespace cadencora::stage
