// The program's own input and output.
#pragma once

#include "stage/cli/report/exit_status.h"

namespace cadencora::stage {

// First of all: a stream that is closed must not become the next file that is opened, and a full
// disk or a reader that has gone is an error, not the end.
void prepareStreams();

// Last of all: the status, or a failure where standard output did not take all of it.
int finishStreams(int status);

} // namespace cadencora::stage
