// The end that a person or the system asks for: SIGINT, SIGTERM, SIGHUP. Nothing that is half done
// is left on the disk.
#pragma once

#include "stage/base/result.h"

#include <csignal>

namespace cadencora::stage {

// From here on such a signal ends this process at once: what it has made for a while is removed,
// and its exit status says which signal it was. It starts a thread. `others`: the signals that are
// to be blocked besides; by default, those that are.
void endWhenInterrupted();
void endWhenInterrupted(const sigset_t& others);

// While it lives, such a signal does not end the process but can be waited for. A second one ends
// it as ever.
class InterruptionWatch {
public:
    InterruptionWatch();
    ~InterruptionWatch();
    InterruptionWatch(const InterruptionWatch&) = delete;
    InterruptionWatch& operator=(const InterruptionWatch&) = delete;

    int descriptor() const; // readable once a signal has come
};

// The signal that has come within a watch; 0: none.
int interruptedBy();

// The status of a process that a signal has ended, as shells give it.
constexpr int statusOfSignal(int signal) {
    return 128 + signal;
}

// What is said of the work that it ended.
Problem interruption();

} // namespace cadencora::stage
