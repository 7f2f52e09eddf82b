// One input of `run`, from its opening to its output.
//
// Calls the formats, the services and the module; prints nothing.
#pragma once

#include "stage/cli/commands/run.h"

namespace cadencora::stage {

// Where the scene of an input goes; empty: nowhere.
std::filesystem::path outputOf(const RunOptions& options, const std::filesystem::path& input);

FileOutcome runFile(const RunOptions& options, const Module& module,
                    const std::filesystem::path& input);

} // namespace cadencora::stage
