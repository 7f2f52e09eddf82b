// The exit status of the headless program, and the line that it prints with a failure.
#pragma once

#include "stage/base/result.h"

namespace cadencora::stage {

enum ExitStatus : int {
    exitDone = 0,
    exitFailed = 1, // the toolbox reported an error, or an input or output failed
    exitUsage = 2   // wrong arguments: an option, a button, a label, an item, a value
};

struct Refusal {
    ExitStatus status = exitFailed;
    Problem problem;
};

// Prints "cadencora: PROBLEM" on standard error and returns the status.
ExitStatus fail(ExitStatus status, const Problem& problem);

// Prints "warning: TEXT" on standard error.
void warn(const std::string& text);

} // namespace cadencora::stage
