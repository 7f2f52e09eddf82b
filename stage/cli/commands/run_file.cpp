#include "stage/cli/commands/run_file.h"

#include "stage/base/text.h"
#include "stage/formats/registry.h"
#include "stage/scene/summary.h"
#include "stage/services/host.h"

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
        host.mutableScene().currentTime = scene.rate.timeAt(*step.time);
        host.refreshRecords();
    }
    return done();
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

    const auto problems = host.takeProblems();
    outcome.problems.insert(outcome.problems.end(), problems.begin(), problems.end());
    if (!performed) {
        outcome.problems.push_back(performed.problem());
        outcome.status = exitUsage;
        return false;
    }
    if (user.sawError() || !problems.empty()) outcome.status = exitFailed;
    return outcome.status == exitDone;
}

} // namespace

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
    auto loaded = readScene(input, options.reading);
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

} // namespace cadencora::stage
