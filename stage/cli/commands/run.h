// `run`: opens files, presses buttons as a scripted user, reports what changed, writes the files.
#pragma once

#include "stage/cli/exit_status.h"
#include "stage/formats/registry.h"
#include "stage/module/module.h"
#include "stage/scene/journal.h"
#include "stage/user/scripted_user.h"

#include <filesystem>
#include <optional>

namespace cadencora::stage {

enum class ReportForm { text, json };

struct RunOptions {
    std::vector<std::filesystem::path> inputs;
    std::vector<Step> steps;
    std::filesystem::path output;       // of a single input; empty: none
    std::filesystem::path outputFolder; // keeps the inputs' file names; empty: none
    ReadOptions reading;
    bool dryRun = false;
    std::filesystem::path saveRecipe; // where the steps are written; empty: nowhere
    std::size_t jobs = 1; // inputs worked on at a time; 0: as many as there are processors
    ReportForm report = ReportForm::text;
    std::filesystem::path plugin;
    std::filesystem::path motionsFolder; // of "Directory Info"
};

// What came of one step.
struct StepOutcome {
    std::string press;
    std::vector<std::string> dialogs; // their titles, in the order of opening
    std::vector<Message> messages;
    ChangeReport changes;
};

// What came of one file.
struct FileOutcome {
    std::filesystem::path input;
    std::string summary; // "31 items, 50304 keys, 120 frames per second"
    std::vector<StepOutcome> steps;
    std::vector<Problem> problems;
    std::vector<std::string> warnings;
    std::filesystem::path written; // empty: nothing
    ExitStatus status = exitDone;
};

// What is to be printed of one file.
struct FileReport {
    std::string file;
    ExitStatus status = exitDone;
    std::string text, errors, json; // of JSON an object
};

// Runs all files, prints the report on standard output and errors on standard error.
ExitStatus run(const RunOptions& options);

} // namespace cadencora::stage
