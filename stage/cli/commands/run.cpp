#include "stage/cli/commands/run.h"

#include "stage/base/file.h"
#include "stage/cli/commands/check.h"
#include "stage/cli/commands/run_file.h"
#include "stage/cli/many/interruption.h"
#include "stage/cli/many/workers.h"
#include "stage/cli/report/progress.h"
#include "stage/cli/report/run_report.h"
#include "stage/formats/registry.h"
#include "stage/user/recipe.h"

#include <iostream>
#include <set>
#include <thread>
#include <unistd.h>

namespace cadencora::stage {

namespace {

// The places that a run reads from and writes to, to tell that no two of them are one.
class Places {
public:
    std::filesystem::path addInput(const std::filesystem::path& path) {
        return *inputs_.insert(placeOf(path)).first;
    }

    // `own`: the place of the input that it may replace; empty for none.
    std::optional<Refusal> addOutput(const std::filesystem::path& path,
                                     const std::filesystem::path& own = {}) {
        const auto target = writeTarget(path);
        if (!target) return Refusal{exitFailed, target.problem()};
        if (target.value().kind != WriteTarget::Kind::file) return std::nullopt;
        const auto place = placeOf(path);
        if (inputs_.contains(place) && place != own)
            return Refusal{exitUsage, {"an output would replace an input", path.string(), {}}};
        if (!outputs_.insert(place).second)
            return Refusal{exitUsage,
                           {"two outputs would be written to the same file", path.string(), {}}};
        return std::nullopt;
    }

private:
    std::set<std::filesystem::path> inputs_, outputs_;
};

// Refuses outputs that cannot work, before any input is opened.
std::optional<Refusal> checkOutputs(const RunOptions& options) {
    Places places;
    std::vector<std::filesystem::path> inputs; // where they are
    for (const auto& input : options.inputs)
        inputs.push_back(places.addInput(input));
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const auto output = outputOf(options, options.inputs[i]);
        if (output.empty()) continue;
        if (!formatOf(output))
            return Refusal{
                exitUsage,
                {"cannot write a file of this kind", output.string(), knownExtensions()}};
        if (auto refusal = places.addOutput(output, inputs[i])) return refusal;
    }
    return options.saveRecipe.empty() ? std::nullopt : places.addOutput(options.saveRecipe);
}

// Prints the reports of the files in the order of the inputs, whichever is ready first.
class Reports {
public:
    explicit Reports(const RunOptions& options)
        : options_(options), ready_(options.inputs.size()) {}

    void add(std::size_t input, FileReport report) {
        if (report.status != exitDone && status_ != exitFailed) status_ = report.status;
        ready_[input] = std::move(report);
        for (; printed_ < ready_.size() && ready_[printed_]; ++printed_) {
            print(*ready_[printed_]);
        }
    }

    // After an interruption: what came after a file that was not begun.
    void printRest() {
        for (; printed_ < ready_.size(); ++printed_)
            if (ready_[printed_]) print(*ready_[printed_]);
    }

    ExitStatus finish() const {
        if (options_.report == ReportForm::json) printJson(ready_, std::cout);
        return status_;
    }

private:
    void print(const FileReport& report) const {
        std::cerr << report.errors << std::flush;
        if (options_.report == ReportForm::text) std::cout << report.text;
        std::cout << std::flush;
    }

    const RunOptions& options_;
    std::vector<std::optional<FileReport>> ready_; // by input
    std::size_t printed_ = 0;
    ExitStatus status_ = exitDone;
};

// A report of the failure, for a plug-in that has to be stopped within its call.
FileReport stopped(const RunOptions& options, std::size_t input, const Problem& problem) {
    return reportOf(failedOutcome(options.inputs[input], problem), options.dryRun);
}

FileReport endSession(const RunOptions& options, Session& session, FileOutcome outcome) {
    if (auto ended = session.module->shutDown(); !ended) {
        outcome.problems.push_back(ended.problem());
        outcome.status = exitFailed;
    }
    return reportOf(outcome, options.dryRun);
}

// Each file is worked on in a process of its own, so that not even a crash stops the others.
void runInWorkers(const RunOptions& options, Reports& reports) {
    Progress progress(std::cerr, isatty(STDERR_FILENO) != 0, options.inputs.size());
    Workers workers;
    const auto work = [&](std::size_t i, const Workers::EndWith& endWith) {
        auto session = Session::open(options);
        if (!session) return packed(stopped(options, i, session.problem()));
        session.value()->user.giveUp = [&](const Problem& problem) {
            endWith(packed(stopped(options, i, problem)));
        };
        auto outcome = runFile(options, *session.value(), options.inputs[i]);
        return packed(endSession(options, *session.value(), std::move(outcome)));
    };
    workers.work = [&](std::size_t i, const Workers::EndWith& endWith) {
        try {
            return work(i, endWith);
        } catch (const std::bad_alloc&) {
            return packed(stopped(options, i, outOfMemory()));
        }
    };
    const bool several = options.inputs.size() > 1;
    workers.started = [&](std::size_t i) {
        if (several) progress.started(options.inputs[i].string());
    };
    workers.ended = [&](std::size_t i, const Result<std::string>& answer) {
        if (several) progress.finished(options.inputs[i].string());
        reports.add(i, answer ? unpacked(answer.value()) : stopped(options, i, answer.problem()));
        if (several) progress.show();
    };
    const std::size_t jobs = options.jobs > 0 ? options.jobs : std::thread::hardware_concurrency();
    runWorkers(options.inputs.size(), std::max<std::size_t>(jobs, 1), workers);
    if (interruptedBy() != 0) reports.printRest();
}

void runHere(const RunOptions& options, Reports& reports) {
    endWhenInterrupted();
    auto session = Session::open(options);
    for (std::size_t i = 0; i < options.inputs.size(); ++i) {
        if (!session) {
            reports.add(i, stopped(options, i, session.problem()));
            continue;
        }
        auto outcome = runFile(options, *session.value(), options.inputs[i]);
        const bool isLast = i + 1 == options.inputs.size();
        reports.add(i, isLast ? endSession(options, *session.value(), std::move(outcome))
                              : reportOf(outcome, options.dryRun));
    }
}

// A step of the program's own plug-in that cannot work is found before any file is opened. Nothing
// of another plug-in is started for that.
std::optional<Refusal> checkSteps(const RunOptions& options) {
    std::error_code ignored;
    if (!std::filesystem::exists(options.plugin, ignored))
        return Refusal{
            exitFailed,
            {"cannot use the plug-in", options.plugin.string(), "there is no such file"}};
    if (!Module::isOwn(options.plugin)) return std::nullopt;
    return checkInProcess(options.plugin, options.server, options.steps);
}

} // namespace

ExitStatus run(const RunOptions& options) {
    if (const auto refusal = checkSteps(options)) return fail(refusal->status, refusal->problem);
    if (const auto refusal = checkOutputs(options)) return fail(refusal->status, refusal->problem);
    if (!options.outputFolder.empty() && !options.dryRun) {
        std::error_code error;
        std::filesystem::create_directories(options.outputFolder, error);
        if (error)
            return fail(exitUsage, {"cannot make the output folder", options.outputFolder.string(),
                                    error.message()});
    }

    if (!options.saveRecipe.empty())
        if (auto saved = saveRecipe(options.saveRecipe, options.steps); !saved)
            return fail(exitFailed, saved.problem());

    Reports reports(options);
    options.inProcess ? runHere(options, reports) : runInWorkers(options, reports);
    return reports.finish();
}

} // namespace cadencora::stage
