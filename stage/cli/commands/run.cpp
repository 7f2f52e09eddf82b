#include "stage/cli/commands/run.h"

#include "stage/cli/commands/check.h"
#include "stage/cli/commands/run_file.h"
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

// Refuses outputs that cannot work, before any input is opened.
Result<> checkOutputs(const RunOptions& options) {
    std::set<std::filesystem::path> outputs;
    for (const auto& input : options.inputs) {
        const auto output = outputOf(options, input);
        if (output.empty()) continue;
        if (!formatOf(output))
            return Problem{"cannot write a file of this kind", output.string(), knownExtensions()};
        if (!outputs.insert(output).second)
            return Problem{"two inputs would be written to the same file", output.string(), {}};
    }
    return done();
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
            std::cerr << ready_[printed_]->errors << std::flush;
            if (options_.report == ReportForm::text) std::cout << ready_[printed_]->text;
            std::cout << std::flush;
        }
    }

    ExitStatus finish() const {
        if (options_.report == ReportForm::json) printJson(ready_, std::cout);
        return status_;
    }

private:
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
    workers.work = [&](std::size_t i, const Workers::EndWith& endWith) {
        auto session = Session::open(options);
        if (!session) return packed(stopped(options, i, session.problem()));
        session.value()->user.giveUp = [&](const Problem& problem) {
            endWith(packed(stopped(options, i, problem)));
        };
        auto outcome = runFile(options, *session.value(), options.inputs[i]);
        return packed(endSession(options, *session.value(), std::move(outcome)));
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
}

void runHere(const RunOptions& options, Reports& reports) {
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
    if (auto possible = checkOutputs(options); !possible)
        return fail(exitUsage, possible.problem());
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
