#include "stage/cli/many/interruption.h"

#include "stage/base/temporary.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace cadencora::stage {

namespace {

constexpr std::array signals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;
std::array<int, 2> wake{-1, -1}; // a pipe that the handler writes to
std::array<struct sigaction, signals.size()> before;

void note(int signal) {
    received = signal;
    const char byte = 0;
    if (write(wake[1], &byte, 1) < 0) { /* it is full: the reader is awake */
    }
}

bool isIgnored(int signal) { // as under nohup
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void endWhenInterrupted() {
    sigset_t others;
    pthread_sigmask(SIG_BLOCK, nullptr, &others);
    endWhenInterrupted(others);
}

void endWhenInterrupted(const sigset_t& others) {
    sigset_t ours, blocked = others;
    sigemptyset(&ours);
    for (const int signal : signals)
        if (!isIgnored(signal)) {
            sigaddset(&ours, signal);
            sigaddset(&blocked, signal);
        }
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    std::thread([ours] {
        int signal = 0;
        while (sigwait(&ours, &signal) != 0) {
        }
        removeTemporaries();
        _exit(statusOfSignal(signal));
    }).detach();
}

InterruptionWatch::InterruptionWatch() {
    if (pipe2(wake.data(), O_CLOEXEC | O_NONBLOCK) != 0) return; // signals end the process as ever
    for (std::size_t i = 0; i < signals.size(); ++i) {
        if (isIgnored(signals[i])) continue;
        struct sigaction action {};
        action.sa_handler = note;
        action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
        sigaction(signals[i], &action, &before[i]);
    }
}

InterruptionWatch::~InterruptionWatch() {
    if (wake[0] < 0) return;
    for (std::size_t i = 0; i < signals.size(); ++i)
        if (!isIgnored(signals[i])) sigaction(signals[i], &before[i], nullptr);
    for (int& end : wake)
        close(std::exchange(end, -1));
}

int InterruptionWatch::descriptor() const {
    return wake[0];
}

int interruptedBy() {
    return received;
}

Problem interruption() {
    return {"interrupted", {}, strsignal(received)};
}

} // namespace cadencora::stage
