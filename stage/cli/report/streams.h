// The program's own input and output.
#pragma once

#include "stage/cli/report/exit_status.h"

namespace cadencora::stage {

// First of all: a stream that is closed must not become the next file that is opened, and a full
// disk or a reader that has gone is an error, not the end.
void prepareStreams();

// Last of all: the status, or a failure where standard output did not take all of it.
int finishStreams(int status);

// Standard output for a file alone: what else prints there, such as a plug-in, comes out on
// standard error.
class QuietOutput {
public:
    QuietOutput();
    ~QuietOutput();
    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;

    // Calls `write` with standard output as it was, and answers its answer.
    template <class Write>
    auto letThrough(const Write& write) {
        open();
        auto answer = write();
        close();
        return answer;
    }

private:
    void open();
    void close();

    int output_ = -1; // as it was
};

} // namespace cadencora::stage
