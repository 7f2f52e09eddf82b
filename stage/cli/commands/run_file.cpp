#include "stage/cli/commands/run_file.h"

#include "stage/base/file.h"
#include "stage/base/text.h"
#include "stage/formats/registry.h"
#include "stage/scene/summary.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_set>

namespace cadencora::stage {

namespace {

// The items of a step's names and patterns, each once.
Result<std::vector<ItemId>> itemsOf(const Scene& scene, const Step& step) {
    std::vector<ItemId> items;
    std::unordered_set<ItemId> known;
    const auto add = [&](ItemId item) {
        if (known.insert(item).second) items.push_back(item);
    };
    for (const std::string& name : *step.select) {
        if (const ItemId item = scene.findItem(name); item != ItemId::none) {
            add(item);
            continue;
        }
        bool isMet = false;
        for (std::size_t i = 0; isPattern(name) && i < scene.itemCount(); ++i)
            if (const ItemId item = Scene::itemAt(i); fitsPattern(scene.item(item).name, name)) {
                add(item);
                isMet = true;
            }
        if (!isMet && !step.selectOptional)
            return Problem{(isPattern(name) ? "no item's name fits " : "no item is named ") +
                               inQuotes(name),
                           inQuotes(step.press), scene.namesLike(name)};
    }
    return items;
}

// Selects items and moves the time and the preview range, as the step asks before its press.
Result<> prepare(Host& host, const Step& step) {
    const Scene& scene = host.scene();
    if (step.select) {
        auto items = itemsOf(scene, step);
        if (!items) return items.problem();
        host.select(std::move(*items));
    }
    if (step.time) {
        host.mutableScene().currentTime = scene.rate.timeAt(*step.time);
        host.refreshRecords();
    }
    if (step.preview) {
        host.mutableScene().previewFirst = step.preview->first;
        host.mutableScene().previewLast = step.preview->second;
        host.refreshRecords();
    }
    return done();
}

// Notices whether somebody seeds or draws the C library's random numbers in the meantime.
class RandomWatch {
public:
    RandomWatch() { std::srand(seed); }
    bool sawDraws() const {
        const int next = std::rand();
        std::srand(seed);
        return next != std::rand();
    }

private:
    static constexpr unsigned seed = 1;
};

// Takes one step, which is `action` as the user sees it. False: the run of this file ends here.
bool takeStep(Session& session, const Step& step, const std::function<Result<>()>& action,
              FileOutcome& outcome) {
    Host& host = session.host;
    const ScriptedUser& user = session.user;
    if (auto ready = prepare(host, step); !ready) {
        outcome.problems.push_back(ready.problem());
        outcome.status = exitUsage;
        return false;
    }
    StepOutcome result;
    result.press = step.press;
    result.kept = step.keep;
    Result<> performed = done();
    const RandomWatch watch;
    result.changes = host.event(
        step.press, [&] { performed = action(); },
        [&] { return performed.ok() && !user.sawError() && step.keep; });
    result.drewRandomNumbers = watch.sawDraws() && !result.changes.empty();
    result.dialogs = user.dialogs();
    result.messages = user.messages();
    const bool isSilent =
        result.dialogs.empty() && result.messages.empty() && result.changes.empty();
    if (!step.isStart || !isSilent) outcome.steps.push_back(std::move(result));

    const auto problems = host.takeProblems();
    if (!step.keep && performed) return true; // whatever it said, it was taken back
    outcome.problems.insert(outcome.problems.end(), problems.begin(), problems.end());
    for (const std::string& service : std::exchange(host.missingServices, {}))
        outcome.warnings.push_back(inQuotes(step.press) + " asked for the service " +
                                   inQuotes(service) + ", which there is not");
    if (!performed) {
        outcome.problems.push_back(performed.problem());
        outcome.status = exitUsage;
        return false;
    }
    if (user.sawError() || !problems.empty()) outcome.status = exitFailed;
    return outcome.status == exitDone;
}

// Starts the plug-in on the scene: by the first step, if that is about the start.
bool startPlugin(Session& session, const std::vector<Step>& steps, FileOutcome& outcome) {
    Step start;
    if (!steps.empty() && steps.front().isStart) start = steps.front();
    start.isStart = true;
    start.press = "start of " + session.module->serverName();
    Result<> activated = done();
    const auto activate = [&] {
        activated = session.module->activate(&Host::lookup, Host::layoutGeneric());
        return done();
    };
    const bool taken = takeStep(
        session, start,
        [&] {
            const auto performed = session.user.perform(start, activate);
            return activated ? performed : activated;
        },
        outcome);
    if (!activated) outcome.status = exitFailed;
    return taken;
}

// What a failed run leaves on the disk all the same.
void nameWrittenFiles(const Host& host, FileOutcome& outcome) {
    constexpr std::size_t most = 5;
    const auto& files = host.files.written;
    std::string names;
    for (std::size_t i = 0; i < std::min(files.size(), most); ++i)
        names += (i == 0 ? "" : ", ") + files[i].string();
    if (files.size() > most) names += " and " + std::to_string(files.size() - most) + " more";
    if (!names.empty()) outcome.warnings.push_back("the plug-in had already written " + names);
}

bool takeSteps(const RunOptions& options, Session& session, FileOutcome& outcome) {
    if (!startPlugin(session, options.steps, outcome)) return false;
    return std::ranges::all_of(options.steps, [&](const Step& step) {
        return step.isStart ||
               takeStep(
                   session, step, [&] { return session.user.perform(step); }, outcome);
    });
}

} // namespace

FileOutcome failedOutcome(const std::filesystem::path& input, Problem problem) {
    FileOutcome outcome;
    outcome.input = input;
    outcome.problems = {std::move(problem)};
    outcome.status = exitFailed;
    return outcome;
}

std::filesystem::path outputOf(const RunOptions& options, const std::filesystem::path& input) {
    if (!options.outputFolder.empty()) return options.outputFolder / input.filename();
    return options.output;
}

FileOutcome runFile(const RunOptions& options, Session& session,
                    const std::filesystem::path& input) {
    session.returnToFolder();
    auto loaded = readScene(input, options.reading);
    if (!loaded) return failedOutcome(input, loaded.problem());
    FileOutcome outcome;
    outcome.input = input;
    outcome.warnings = std::move(loaded->warnings);
    outcome.summary = summary(loaded->scene);
    session.host.load(std::move(loaded->scene));
    const bool taken = takeSteps(options, session, outcome);
    session.returnToFolder();
    if (!taken) {
        nameWrittenFiles(session.host, outcome);
        return outcome;
    }

    const auto output = outputOf(options, input);
    if (output.empty()) return outcome;
    if (options.dryRun) {
        // The folder of several outputs is made by a real run.
        const auto writable = options.outputFolder.empty() ? checkWritable(output) : done();
        if (!writable) {
            outcome.problems.push_back(writable.problem());
            outcome.status = exitFailed;
        }
        return outcome;
    }
    auto written = writeScene(session.host.scene(), output);
    if (!written) {
        outcome.problems.push_back(written.problem());
        outcome.status = exitFailed;
        return outcome;
    }
    outcome.written = output;
    for (auto& warning : written->warnings)
        outcome.warnings.push_back(std::move(warning));
    return outcome;
}

} // namespace cadencora::stage
