#include "stage/cli/many/workers.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
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
    _exit(sent ? 0 : 1); // without what the parent has registered for its own exit
}

[[noreturn]] void workAndExit(const Workers& workers, std::size_t piece, int pipe, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL); // work that never returns ends with the program
    if (getppid() != parent) _exit(1);
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
    const pid_t process = fork();
    if (process == 0) {
        close(ends[0]);
        workAndExit(workers, piece, ends[1], parent);
    }
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

} // namespace

Result<std::string> workApart(const std::function<std::string()>& work) {
    std::optional<Result<std::string>> answer;
    runWorkers(
        1, 1,
        {.work = [&](std::size_t, const Workers::EndWith&) { return work(); },
         .started = [](std::size_t) {},
         .ended = [&](std::size_t, Result<std::string> given) { answer = std::move(given); }});
    return std::move(*answer);
}

void runWorkers(std::size_t count, std::size_t atOnce, const Workers& workers) {
    std::vector<Worker> running;
    std::size_t next = 0;
    while (next < count || !running.empty()) {
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
        pipes.reserve(running.size());
        for (const Worker& worker : running)
            pipes.push_back({worker.pipe, POLLIN, 0});
        if (poll(pipes.data(), pipes.size(), -1) < 0) continue; // interrupted
        for (std::size_t i = running.size(); i-- > 0;) {
            if (pipes[i].revents == 0 || readMore(running[i])) continue;
            workers.ended(running[i].piece, endWorker(running[i]));
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
}

} // namespace cadencora::stage
