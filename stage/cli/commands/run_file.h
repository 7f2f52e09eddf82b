// One input of `run`, from its opening to its output.
//
// Calls the formats, the services and the module; prints nothing.
#pragma once

#include "stage/cli/commands/session.h"

namespace cadencora::stage {

// Where the scene of an input goes; empty: nowhere.
std::filesystem::path outputOf(const RunOptions& options, const std::filesystem::path& input);

FileOutcome runFile(const RunOptions& options, Session& session,
                    const std::filesystem::path& input);

// The outcome of an input that could not be worked on.
FileOutcome failedOutcome(const std::filesystem::path& input, Problem problem);

} // namespace cadencora::stage
