#include "stage/cli/report/streams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace cadencora::stage {

void prepareStreams() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF) {
            // Writing to what is open for reading fails, as it does on a closed stream.
            const int mode = stream == STDERR_FILENO ? O_WRONLY : O_RDONLY;
            if (open("/dev/null", mode) < 0) _exit(exitFailed);
        }
}

int finishStreams(int status) {
    errno = 0;
    std::cout.flush();
    const bool flushed = std::fflush(stdout) == 0;
    const int reason = errno;
    if (std::cout && flushed && !std::ferror(stdout)) return status;
    fail(exitFailed, {"cannot write to standard output",
                      {},
                      reason != 0 ? std::strerror(reason) : "not all of it was taken"});
    return status == exitDone ? exitFailed : status;
}

QuietOutput::QuietOutput() : output_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
    close();
}

QuietOutput::~QuietOutput() {
    open();
    ::close(output_);
}

void QuietOutput::open() {
    std::cout.flush();
    std::fflush(stdout);
    dup2(output_, STDOUT_FILENO);
}

void QuietOutput::close() {
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

} // namespace cadencora::stage
