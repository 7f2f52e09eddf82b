#include "stage/cli/commands/run.h"

#include "stage/base/digest.h"
#include "stage/base/file.h"
#include "stage/base/text.h"
#include "stage/cli/commands/check.h"
#include "stage/cli/commands/finished.h"
#include "stage/cli/commands/reading.h"
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
        inputs.push_back(isStream(input.path) ? std::filesystem::path()
                                              : places.addInput(input.path));
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const auto output = outputOf(options, options.inputs[i]);
        if (output.empty() || isStream(output)) continue;
        if (!options.outputFormat && !formatOf(output))
            return Refusal{
                exitUsage,
                {"cannot write a file of this kind", output.string(), knownExtensions()}};
        if (auto refusal = places.addOutput(output, inputs[i])) return refusal;
    }
    for (const auto& beside : {options.saveRecipe, options.reportFile})
        if (!beside.empty())
            if (auto refusal = places.addOutput(beside)) return refusal;
    return std::nullopt;
}

// Prints the reports of the files in the order of the inputs, whichever is ready first; their lines
// as they come.
class Reports {
public:
    Reports(const RunOptions& options, std::optional<LineFile> lines)
        : options_(options), out_(isStream(options.output) ? std::cerr : std::cout),
          lines_(std::move(lines)), ready_(options.inputs.size()) {}

    void add(std::size_t input, std::vector<FileReport> reports) {
        std::string lines;
        bool isDone = true;
        for (const FileReport& report : reports) {
            note(report.status);
            isDone = isDone && report.status == exitDone;
            lines += report.line + "\n";
        }
        ++(isDone ? counts_.done : counts_.failed);
        if (!isDone) counts_.failedNames.add(escaped(options_.inputs[input].path.string()));
        if (lines_)
            if (auto added = lines_->add(lines); !added) {
                note(fail(exitFailed, added.problem()));
                lines_.reset();
            }
        if (options_.report == ReportForm::jsonLines) {
            out_ << lines << std::flush;
            for (const FileReport& report : reports)
                std::cerr << report.errors << std::flush;
        }
        ready_[input] = std::move(reports);
        for (; printed_ < ready_.size() && ready_[printed_]; ++printed_)
            print(printed_);
    }

    // An earlier run has done it.
    void passOver(std::size_t input) {
        ++counts_.done;
        ++counts_.before;
        ready_[input].emplace();
    }
    bool isPassedOver(std::size_t input) const { return ready_[input].has_value(); }

    // After an interruption: what came after a file that was not begun.
    void printRest() {
        for (; printed_ < ready_.size(); ++printed_)
            if (ready_[printed_]) print(printed_);
    }

    ExitStatus finish() {
        if (options_.report == ReportForm::json) {
            std::vector<std::vector<FileReport>> made;
            for (auto& reports : ready_)
                if (reports) made.push_back(std::move(*reports));
            printJson(made, ready_.size() == 1, out_);
        }
        counts_.notBegun = ready_.size() - counts_.done - counts_.failed;
        if (ready_.size() > 1 && !options_.quiet) std::cerr << counts_.text() << "\n";
        return status_;
    }

private:
    void note(ExitStatus status) {
        if (status != exitDone && status_ != exitFailed) status_ = status;
    }

    void print(std::size_t input) const {
        if (options_.report == ReportForm::jsonLines) return;
        const bool isText = options_.report == ReportForm::text && !options_.quiet;
        if (ready_[input]->empty() && isText)
            out_ << escaped(options_.inputs[input].path.string()) << ": done before\n";
        for (const FileReport& report : *ready_[input]) {
            std::cerr << report.errors << std::flush;
            if (isText) out_ << report.text;
        }
        out_ << std::flush;
    }

    const RunOptions& options_;
    std::ostream& out_; // not where the scene goes
    std::optional<LineFile> lines_;
    std::vector<std::optional<std::vector<FileReport>>> ready_; // by input
    std::size_t printed_ = 0;
    RunCounts counts_;
    ExitStatus status_ = exitDone;
};

using Outcomes = std::vector<FileOutcome>;

struct Run {
    const RunOptions& options;
    const ReportFacts facts;
    Reports& reports;

    // Of an input that could not be worked on, or not to the end.
    std::vector<FileReport> stopped(std::size_t input, std::string code, Problem problem) const {
        return reportsOf(
            {failedOutcome(options.inputs[input], std::move(code), std::move(problem))}, facts);
    }
    std::vector<FileReport> endSession(Session& session, Outcomes outcomes) const {
        if (auto ended = session.module->shutDown(); !ended)
            outcomes.back().fail(exitFailed, "shutdown", ended.problem());
        return reportsOf(std::move(outcomes), facts);
    }
    void inWorkers() const;
    void here() const;
};

// Each file is worked on in a process of its own, so that not even a crash stops the others.
void Run::inWorkers() const {
    std::vector<std::size_t> pieces; // the inputs that are to be worked on
    for (std::size_t i = 0; i < options.inputs.size(); ++i)
        if (!reports.isPassedOver(i)) pieces.push_back(i);
    Progress progress(std::cerr, isatty(STDERR_FILENO) != 0, pieces.size());
    Workers workers;
    const auto work = [&](std::size_t i, const Workers::EndWith& endWith) {
        auto session = Session::open(options);
        if (!session) return packed(stopped(i, "start", session.problem()));
        session.value()->user.giveUp = [&](const Problem& problem) {
            endWith(packed(stopped(i, "plug-in", problem)));
        };
        auto outcomes = runFile(options, *session.value(), options.inputs[i]);
        return packed(endSession(*session.value(), std::move(outcomes)));
    };
    workers.work = [&](std::size_t piece, const Workers::EndWith& endWith) {
        try {
            return work(pieces[piece], endWith);
        } catch (const std::bad_alloc&) {
            return packed(stopped(pieces[piece], "memory", outOfMemory()));
        }
    };
    const bool several = options.inputs.size() > 1 && !options.quiet;
    const auto name = [&](std::size_t piece) {
        return options.inputs[pieces[piece]].path.string();
    };
    workers.started = [&](std::size_t piece) {
        if (several) progress.started(name(piece));
    };
    workers.ended = [&](std::size_t piece, const Result<std::string>& answer) {
        if (several) progress.finished(name(piece));
        const std::size_t i = pieces[piece];
        reports.add(i, answer ? unpacked(answer.value())
                              : stopped(i, interruptedBy() != 0 ? "interrupted" : "crash",
                                        answer.problem()));
        if (several) progress.show();
    };
    const std::size_t jobs = options.jobs > 0 ? options.jobs : std::thread::hardware_concurrency();
    runWorkers(pieces.size(), std::max<std::size_t>(jobs, 1), workers);
    reports.printRest();
}

void Run::here() const {
    endWhenInterrupted();
    auto session = Session::open(options);
    for (std::size_t i = 0; i < options.inputs.size(); ++i) {
        if (reports.isPassedOver(i)) continue;
        if (!session) {
            reports.add(i, stopped(i, "start", session.problem()));
            continue;
        }
        auto outcomes = runFile(options, *session.value(), options.inputs[i]);
        const bool isLast = i + 1 == options.inputs.size();
        reports.add(i, isLast ? endSession(*session.value(), std::move(outcomes))
                              : reportsOf(std::move(outcomes), facts));
    }
    reports.printRest();
}

// What is done to each file, as a digest: a file that was worked on with the same one need not be
// worked on again.
std::string workOf(const RunOptions& options) {
    std::string text = recipeText({options.steps, options.reading.edits});
    const auto add = [&](const std::string& part) { text += "\n" + part; };
    add(options.reading.rate ? options.reading.rate->text() : "");
    for (const std::string& clip : options.clips)
        add(inQuotes(clip));
    add(options.server);
    add(options.motionsFolder.string());
    add(options.dryRun ? "dry" : "");
    add(options.outputFormat ? std::string(options.outputFormat->name) : "");
    add(digestOfFile(options.plugin).value_or(""));
    add(digestOfFile("/proc/self/exe").value_or(""));
    return digestOf(text);
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
        if (auto saved = saveRecipe(options.saveRecipe, {options.steps, options.reading.edits});
            !saved)
            return fail(exitFailed, saved.problem());

    std::optional<LineFile> lines;
    FinishedWork finished;
    if (!options.reportFile.empty()) {
        if (options.resume) {
            auto read = FinishedWork::read(options.reportFile);
            if (!read) return fail(exitFailed, read.problem());
            finished = std::move(*read);
        }
        auto opened = LineFile::open(options.reportFile);
        if (!opened) return fail(exitFailed, opened.problem());
        lines.emplace(std::move(*opened));
    }
    const std::string work = makesLines(options) ? workOf(options) : std::string();
    Reports reports(options, std::move(lines));
    for (std::size_t i = 0; options.resume && i < options.inputs.size(); ++i)
        if (const Input& input = options.inputs[i];
            finished.has(input.path, options.dryRun ? "" : outputOf(options, input), work))
            reports.passOver(i);
    const Run run{options, {options.dryRun, options.quiet, work}, reports};
    options.inProcess ? run.here() : run.inWorkers();
    return reports.finish();
}

} // namespace cadencora::stage
