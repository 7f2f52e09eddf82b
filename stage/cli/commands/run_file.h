// One input of `run`, from its opening to its output.
//
// Calls the formats, the services and the module; prints nothing.
#pragma once

#include "stage/cli/commands/session.h"

namespace cadencora::stage {

// Where the scene of an input goes; empty: nowhere.
std::filesystem::path outputOf(const RunOptions& options, const Input& input);

// One outcome, or one for each clip that was chosen. The output is written if all of them went
// well.
std::vector<FileOutcome> runFile(const RunOptions& options, Session& session, const Input& input);

// The outcome of an input that could not be worked on.
FileOutcome failedOutcome(const Input& input, std::string code, Problem problem);

} // namespace cadencora::stage
