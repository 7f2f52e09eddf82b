#include "stage/cli/many/workers.h"

#include "stage/base/temporary.h"
#include "stage/cli/many/interruption.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <optional>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace cadencora::stage {

namespace {

struct Worker {
    std::size_t piece;
    pid_t process;
    int pipe; // its answer comes through here
    std::string answer;
};

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = write(descriptor, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

// A last byte marks the answer as whole, so that one that was cut off is recognised.
[[noreturn]] void answerAndExit(const std::string& answer, int pipe) {
    const bool sent = writeAll(pipe, answer + "!");
    std::cout.flush(); // what a plug-in has printed
    std::fflush(nullptr);
    removeTemporaries();
    _exit(sent ? 0 : 1); // without what the parent has registered for its own exit
}

[[noreturn]] void workAndExit(const Workers& workers, std::size_t piece, int pipe, pid_t parent,
                              const sigset_t& signals) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // work that never returns ends with the program
    if (getppid() != parent) _exit(1);
    endWhenInterrupted(signals);
    answerAndExit(
        workers.work(piece, [pipe](const std::string& answer) { answerAndExit(answer, pipe); }),
        pipe);
}

Result<Worker> startWorker(const Workers& workers, std::size_t piece) {
    const auto fail = [] {
        return Problem{"cannot start another process", {}, std::strerror(errno)};
    };
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) return fail();
    std::cout.flush();
    std::fflush(nullptr);
    const pid_t parent = getpid();
    // Signals wait until the new process is ready for them: what it inherits is meant for this one.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t process = fork();
    if (process == 0) {
        close(ends[0]);
        workAndExit(workers, piece, ends[1], parent, before);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(ends[1]); // or the end of the answer would never be seen
    if (process > 0) return Worker{piece, process, ends[0], {}};
    const Problem problem = fail();
    close(ends[0]);
    return problem;
}

// Waits for the end of a worker whose pipe has closed.
Result<std::string> endWorker(Worker& worker) {
    close(worker.pipe);
    int status = 0;
    while (waitpid(worker.process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!worker.answer.empty() && worker.answer.back() == '!') {
        worker.answer.pop_back();
        return std::move(worker.answer);
    }
    const std::string how =
        WIFSIGNALED(status)
            ? "by signal " + std::to_string(WTERMSIG(status)) + ", " + strsignal(WTERMSIG(status))
            : "with status " + std::to_string(WEXITSTATUS(status));
    return Problem{"the process that worked on it ended early", {}, how};
}

// False at the end of the answer.
bool readMore(Worker& worker) {
    std::array<char, 65536> buffer;
    const ssize_t n = read(worker.pipe, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) return true;
    if (n > 0) worker.answer.append(buffer.data(), static_cast<std::size_t>(n));
    return n > 0;
}

// Ends all workers, and takes the answers of those that were ready.
void endAll(std::vector<Worker>& running, const Workers& workers) {
    using namespace std::chrono_literals;
    for (const Worker& worker : running)
        kill(worker.process, SIGTERM);
    const auto patience = std::chrono::steady_clock::now() + 2s;
    for (Worker& worker : running) {
        fcntl(worker.pipe, F_SETFL, O_NONBLOCK);
        siginfo_t ended{};
        const auto hasEnded = [&] {
            while (readMore(worker)) {
            }
            const int flags = WEXITED | WNOHANG | WNOWAIT;
            return waitid(P_PID, static_cast<id_t>(worker.process), &ended, flags) != 0 ||
                   ended.si_pid != 0;
        };
        while (!hasEnded() && std::chrono::steady_clock::now() < patience)
            std::this_thread::sleep_for(1ms);
        kill(worker.process, SIGKILL);
        while (readMore(worker)) {
        }
        auto answer = endWorker(worker);
        workers.ended(worker.piece, answer ? std::move(answer) : interruption());
    }
    running.clear();
}

} // namespace

Result<std::string> workApart(const std::function<std::string()>& work) {
    std::optional<Result<std::string>> answer;
    runWorkers(
        1, 1,
        {.work = [&](std::size_t, const Workers::EndWith&) { return work(); },
         .started = [](std::size_t) {},
         .ended = [&](std::size_t, Result<std::string> given) { answer = std::move(given); }});
    return answer ? std::move(*answer) : interruption();
}

void runWorkers(std::size_t count, std::size_t atOnce, const Workers& workers) {
    const InterruptionWatch watch;
    std::vector<Worker> running;
    std::size_t next = 0;
    while (next < count || !running.empty()) {
        if (interruptedBy() != 0) return endAll(running, workers);
        while (next < count && running.size() < atOnce) {
            const std::size_t piece = next++;
            workers.started(piece);
            auto worker = startWorker(workers, piece);
            if (worker)
                running.push_back(std::move(worker.value()));
            else
                workers.ended(piece, worker.problem());
        }
        if (running.empty()) continue; // none could be started
        std::vector<pollfd> pipes;
        pipes.reserve(running.size() + 1);
        for (const Worker& worker : running)
            pipes.push_back({worker.pipe, POLLIN, 0});
        pipes.push_back({watch.descriptor(), POLLIN, 0});
        if (poll(pipes.data(), pipes.size(), -1) < 0) continue; // interrupted
        if (interruptedBy() != 0) continue;
        for (std::size_t i = running.size(); i-- > 0;) {
            if (pipes[i].revents == 0 || readMore(running[i])) continue;
            workers.ended(running[i].piece, endWorker(running[i]));
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

} // namespace cadencora::stage
