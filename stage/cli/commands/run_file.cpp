#include "stage/cli/commands/run_file.h"

#include "stage/base/digest.h"
#include "stage/base/file.h"
#include "stage/base/text.h"
#include "stage/cli/commands/clips.h"
#include "stage/cli/commands/reading.h"
#include "stage/cli/report/streams.h"
#include "stage/formats/registry.h"
#include "stage/scene/summary.h"
#include "stage/user/step_place.h"

#include <algorithm>
#include <cstdlib>
#include <sys/stat.h>

namespace cadencora::stage {

namespace {

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
    if (auto there = goToStep(host.mutableScene(), step); !there) {
        outcome.fail(exitUsage, "item", there.problem());
        return false;
    }
    host.refreshRecords();
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

    auto problems = host.takeProblems();
    if (!step.keep && performed) return true; // whatever it said, it was taken back
    for (Problem& problem : problems)
        outcome.fail(exitFailed, "plug-in", std::move(problem));
    for (const std::string& service : std::exchange(host.missingServices, {}))
        outcome.warn("service", {inQuotes(step.press) + " asked for the service " +
                                 inQuotes(service) + ", which there is not"});
    if (!performed) {
        outcome.fail(exitUsage, "step", performed.problem());
        return false;
    }
    if (user.sawError()) outcome.status = exitFailed;
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
    if (!names.empty()) outcome.warn("written", {"the plug-in had already written " + names});
}

bool takeSteps(const RunOptions& options, Session& session, FileOutcome& outcome) {
    if (!startPlugin(session, options.steps, outcome)) return false;
    return std::ranges::all_of(options.steps, [&](const Step& step) {
        return step.isStart ||
               takeStep(
                   session, step, [&] { return session.user.perform(step); }, outcome);
    });
}

std::vector<FileDigest> digestsOf(std::vector<std::filesystem::path> files) {
    std::vector<FileDigest> digests;
    for (auto& file : files) {
        auto digest = digestOfFile(file);
        digests.push_back({std::move(file), digest.value_or("")});
    }
    return digests;
}

// The file that a path leads to, to tell whether another one came in its place.
struct FileNow {
    bool isThere = false;
    ino_t number = 0;

    explicit FileNow(const std::filesystem::path& path) {
        struct stat status {};
        isThere = stat(path.c_str(), &status) == 0;
        number = status.st_ino;
    }
    bool operator==(const FileNow&) const = default;
};

// The work on one input.
class FileRun {
public:
    FileRun(const RunOptions& options, Session& session, const Input& input)
        : options_(options), session_(session), input_(input), output_(outputOf(options, input)) {}

    std::vector<FileOutcome> run() {
        session_.returnToFolder();
        auto loaded = openScene(input_.path, options_.reading);
        if (!loaded) return {failedOutcome(input_, "read", loaded.problem())};
        const Format& format = *loaded->format;
        writing_.format = options_.outputFormat;
        if (isStream(output_)) {
            if (!writing_.format) writing_.format = &format;
            writing_.alone = true;
            output_ = "/dev/stdout";
            quietOutput_.emplace();
        }
        auto clips = chosenClips(*loaded, options_.clips, input_.path);
        if (!clips) return refused("clip", clips.problem());
        const bool isSeveral = clips->size() > 1;
        const bool writes = !output_.empty() && !options_.dryRun;
        if (isSeveral && !output_.empty()) {
            writer_ = writeClips(output_, writing_);
            if (!writer_)
                return refused("write",
                               {"the output's format holds one animation", output_.string(),
                                std::to_string(clips->size()) + " clips are chosen"});
        }
        const auto source = loaded->scene.source;
        const std::string opened = loaded->clip;
        std::vector<FileDigest> read;
        if (makesLines(options_)) {
            std::vector<std::filesystem::path> files;
            if (!isStream(input_.path)) files.push_back(input_.path);
            if (source) files.insert(files.end(), source->files.begin(), source->files.end());
            read = digestsOf(std::move(files));
        }
        for (const std::string& clip : *clips) {
            if (clip != opened) {
                ReadOptions reading = options_.reading;
                reading.clip = clip;
                loaded = readClip(*source, format, input_.path, reading);
            }
            FileOutcome& outcome = outcomes_.emplace_back();
            outcome.input = input_.path;
            outcome.clip = options_.clips.empty() ? "" : clip;
            outcome.place = outcomes_.size() - 1;
            outcome.of = clips->size();
            outcome.read = read;
            if (loaded)
                workOn(std::move(*loaded), isSeveral && writes, outcome);
            else
                outcome.fail(exitFailed, "read", loaded.problem());
        }
        if (isGood() && !output_.empty())
            options_.dryRun ? checkOutput() : write(isSeveral);
        else if (!isGood() && isSeveral)
            explain();
        return std::move(outcomes_);
    }

private:
    std::vector<FileOutcome> refused(std::string code, Problem problem) const {
        FileOutcome outcome = failedOutcome(input_, std::move(code), std::move(problem));
        outcome.status = exitUsage;
        return {std::move(outcome)};
    }

    bool isGood() const {
        return std::ranges::all_of(
            outcomes_, [](const FileOutcome& outcome) { return outcome.status == exitDone; });
    }

    // `collects`: what changes goes to the writer of several clips.
    void workOn(Loaded loaded, bool collects, FileOutcome& outcome) {
        outcome.warn("read", std::move(loaded.warnings));
        outcome.summary = summary(loaded.scene);
        session_.host.load(std::move(loaded.scene));
        const bool taken = takeSteps(options_, session_, outcome);
        session_.returnToFolder();
        if (!taken) return nameWrittenFiles(session_.host, outcome);
        if (!collects) return;
        auto added = writer_->add(session_.host.scene());
        if (!added) return outcome.fail(exitFailed, "write", added.problem());
        outcome.warn("loss", std::move(added->warnings));
    }

    // The clips that went well are not written either.
    void explain() {
        const auto failed = std::ranges::find_if(
            outcomes_, [](const FileOutcome& outcome) { return outcome.status != exitDone; });
        const std::string name = inQuotes(failed->clip);
        for (FileOutcome& outcome : outcomes_)
            if (outcome.status == exitDone)
                outcome.fail(exitFailed, "other-clip",
                             {"not written, since the clip " + name + " failed", {}, {}});
    }

    void checkOutput() {
        // The folder of several outputs is made by a real run.
        const auto writable = options_.outputFolder.empty() ? checkWritable(output_) : done();
        if (!writable) outcomes_.back().fail(exitFailed, "write", writable.problem());
    }

    void write(bool isSeveral) {
        FileOutcome& last = outcomes_.back();
        if (!options_.outputFolder.empty()) {
            std::error_code error;
            std::filesystem::create_directories(output_.parent_path(), error);
            if (error)
                return last.fail(exitFailed, "write",
                                 {"cannot make the output's folder", output_.parent_path().string(),
                                  error.message()});
        }
        const FileNow before(output_);
        const auto put = [&] {
            return isSeveral ? writer_->finish()
                             : writeScene(session_.host.scene(), output_, writing_);
        };
        auto written = quietOutput_ ? quietOutput_->letThrough(put) : put();
        if (!written) {
            for (FileOutcome& outcome : outcomes_)
                outcome.fail(exitFailed, "write", written.problem());
            return;
        }
        last.warn("loss", std::move(written->warnings));
        const bool wasThere = !quietOutput_ && before.isThere && before == FileNow(output_);
        std::vector<FileDigest> wrote;
        if (makesLines(options_) && !quietOutput_) {
            written->files.insert(written->files.begin(), output_);
            wrote = digestsOf(std::move(written->files));
        }
        for (FileOutcome& outcome : outcomes_) {
            outcome.written = quietOutput_ ? "-" : output_;
            outcome.wasThere = wasThere;
            outcome.wrote = wrote;
        }
    }

    const RunOptions& options_;
    Session& session_;
    const Input& input_;
    std::filesystem::path output_;
    WriteOptions writing_;
    std::optional<QuietOutput> quietOutput_; // where the scene goes to standard output
    std::unique_ptr<ClipsWriter> writer_;    // of several clips
    std::vector<FileOutcome> outcomes_;
};

} // namespace

FileOutcome failedOutcome(const Input& input, std::string code, Problem problem) {
    FileOutcome outcome;
    outcome.input = input.path;
    outcome.fail(exitFailed, std::move(code), std::move(problem));
    return outcome;
}

std::filesystem::path outputOf(const RunOptions& options, const Input& input) {
    if (!options.outputFolder.empty()) return options.outputFolder / input.nameInOutput;
    return options.output;
}

std::vector<FileOutcome> runFile(const RunOptions& options, Session& session, const Input& input) {
    return FileRun(options, session, input).run();
}

} // namespace cadencora::stage
