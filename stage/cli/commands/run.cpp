#include "stage/cli/commands/run.h"

#include "stage/cli/commands/run_file.h"
#include "stage/cli/explore/explore.h"
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

// Each file is worked on in a process of its own, so that not even a crash stops the others.
void runMany(const RunOptions& options, const Module& module, Reports& reports) {
    Progress progress(std::cerr, isatty(STDERR_FILENO) != 0, options.inputs.size());
    Workers workers;
    workers.work = [&](std::size_t i) {
        return packed(reportOf(runFile(options, module, options.inputs[i]), options.dryRun));
    };
    workers.started = [&](std::size_t i) { progress.started(options.inputs[i].string()); };
    workers.ended = [&](std::size_t i, const Result<std::string>& answer) {
        progress.finished(options.inputs[i].string());
        if (answer) {
            reports.add(i, unpacked(answer.value()));
        } else {
            FileOutcome outcome;
            outcome.input = options.inputs[i];
            outcome.problems = {answer.problem()};
            outcome.status = exitFailed;
            reports.add(i, reportOf(outcome, options.dryRun));
        }
        progress.show();
    };
    const std::size_t jobs = options.jobs > 0 ? options.jobs : std::thread::hardware_concurrency();
    runWorkers(options.inputs.size(), std::max<std::size_t>(jobs, 1), workers);
}

} // namespace

ExitStatus run(const RunOptions& options) {
    auto module = Module::open(options.plugin);
    if (!module) return fail(exitFailed, module.problem());
    const auto offer = explore(module.value());
    if (!offer) return fail(exitFailed, offer.problem());
    // A step that cannot work is found before any file is opened.
    for (const Step& step : options.steps)
        if (auto possible = checkStep(offer.value(), step); !possible)
            return fail(exitUsage, possible.problem());
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
    if (options.inputs.size() == 1)
        reports.add(0,
                    reportOf(runFile(options, module.value(), options.inputs[0]), options.dryRun));
    else
        runMany(options, module.value(), reports);
    return reports.finish();
}

} // namespace cadencora::stage
