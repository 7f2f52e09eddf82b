#include "stage/cli/run.h"

#include "stage/base/text.h"
#include "stage/cli/explore.h"
#include "stage/cli/report.h"
#include "stage/formats/format.h"
#include "stage/services/host.h"

#include <cmath>
#include <iostream>
#include <set>

namespace cadencora::stage {

namespace {

// Selects items and moves the time, as the step asks before its press.
Result<> prepare(Host& host, const Step& step) {
    const Scene& scene = host.scene();
    if (step.select) {
        std::vector<ItemId> items;
        for (const std::string& name : *step.select) {
            const ItemId item = scene.findItem(name);
            if (item == ItemId::none)
                return Problem{"no item is named " + inQuotes(name), inQuotes(step.press),
                               scene.namesLike(name)};
            items.push_back(item);
        }
        host.select(std::move(items));
    }
    if (step.time) {
        const double whole = std::floor(*step.time);
        host.mutableScene().currentTime = whole == *step.time
                                              ? scene.rate.timeOf(static_cast<std::int64_t>(whole))
                                              : *step.time / scene.rate.perSecond();
        host.refreshRecords();
    }
    return done();
}

std::vector<Problem> collectProblems(Host& host) {
    std::vector<Problem> problems = std::exchange(host.problems, {});
    for (const Misuse& misuse : std::exchange(host.misuses, {}))
        problems.push_back({"the plug-in misused a service: " + misuse.reason,
                            misuse.service + "." + misuse.slot,
                            {}});
    return problems;
}

// Presses one button. False: the run of this file ends here.
bool runStep(Host& host, ScriptedUser& user, const Step& step, FileOutcome& outcome) {
    if (auto ready = prepare(host, step); !ready) {
        outcome.problems.push_back(ready.problem());
        outcome.status = exitUsage;
        return false;
    }
    StepOutcome result{step.press, {}, {}, {}};
    Result<> performed = done();
    result.changes = host.event(
        step.press, [&] { performed = user.perform(step); },
        [&] { return performed.ok() && !user.sawError(); });
    result.dialogs = user.dialogs();
    result.messages = user.messages();
    outcome.steps.push_back(std::move(result));

    const auto problems = collectProblems(host);
    outcome.problems.insert(outcome.problems.end(), problems.begin(), problems.end());
    if (!performed) {
        outcome.problems.push_back(performed.problem());
        outcome.status = exitUsage;
        return false;
    }
    if (user.sawError() || !problems.empty()) outcome.status = exitFailed;
    return outcome.status == exitDone;
}

std::filesystem::path outputOf(const RunOptions& options, const std::filesystem::path& input) {
    if (!options.outputFolder.empty()) return options.outputFolder / input.filename();
    return options.output;
}

FileOutcome runFile(const RunOptions& options, const Module& module,
                    const std::filesystem::path& input) {
    FileOutcome outcome;
    outcome.input = input;
    const auto fail = [&](const Problem& problem) {
        outcome.problems.push_back(problem);
        outcome.status = exitFailed;
    };
    ReadOptions reading;
    reading.rate = options.rate;
    auto loaded = readScene(input, reading);
    if (!loaded) {
        fail(loaded.problem());
        return outcome;
    }
    outcome.warnings = std::move(loaded->warnings);
    outcome.summary = summary(loaded->scene);

    ScriptedUser user(options.dryRun);
    Host host(std::move(loaded->scene), user,
              {.motionsDirectory = options.motionsFolder, .writeFiles = !options.dryRun});
    user.lookAt(host.scene());
    if (auto active = module.activate(&Host::lookup, Host::layoutGeneric()); !active) {
        fail(active.problem());
        return outcome;
    }
    for (const Step& step : options.steps)
        if (!runStep(host, user, step, outcome)) return outcome;

    const auto output = outputOf(options, input);
    if (options.dryRun || output.empty()) return outcome;
    auto written = writeScene(host.scene(), output);
    if (!written) {
        fail(written.problem());
        return outcome;
    }
    outcome.written = output;
    for (auto& warning : written->warnings)
        outcome.warnings.push_back(std::move(warning));
    return outcome;
}

// What can be known to go wrong with the outputs before any input is opened.
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

ExitStatus usageError(const Problem& problem) {
    std::cerr << "cadencora: " << problem.text() << "\n";
    return exitUsage;
}

} // namespace

ExitStatus run(const RunOptions& options) {
    auto module = Module::open(options.plugin);
    if (!module) {
        std::cerr << "cadencora: " << module.problem().text() << "\n";
        return exitFailed;
    }
    const auto offer = explore(module.value());
    if (!offer) {
        std::cerr << "cadencora: " << offer.problem().text() << "\n";
        return exitFailed;
    }
    // A step that cannot work is found before any file is opened.
    for (const Step& step : options.steps)
        if (auto possible = checkStep(offer.value(), step); !possible)
            return usageError(possible.problem());
    if (auto possible = checkOutputs(options); !possible) return usageError(possible.problem());
    if (!options.outputFolder.empty() && !options.dryRun) {
        std::error_code error;
        std::filesystem::create_directories(options.outputFolder, error);
        if (error)
            return usageError(
                {"cannot make the output folder", options.outputFolder.string(), error.message()});
    }

    std::vector<FileOutcome> outcomes;
    ExitStatus status = exitDone;
    for (const auto& input : options.inputs) {
        if (options.inputs.size() > 1)
            std::cerr << "[" << outcomes.size() + 1 << "/" << options.inputs.size() << "] "
                      << input.string() << "\n";
        outcomes.push_back(runFile(options, module.value(), input));
        const FileOutcome& outcome = outcomes.back();
        printErrors(outcome, std::cerr);
        if (options.report == ReportForm::text) printText(outcome, options.dryRun, std::cout);
        if (outcome.status != exitDone && status != exitFailed) status = outcome.status;
    }
    if (options.report == ReportForm::json) printJson(outcomes, std::cout);
    return status;
}

} // namespace cadencora::stage
