// `run`: opens files, presses buttons as a scripted user, reports what changed, writes the files.
#pragma once

#include "stage/cli/commands/inputs.h"
#include "stage/cli/report/run_report.h"
#include "stage/formats/registry.h"
#include "stage/module/module.h"
#include "stage/user/scripted_user.h"

#include <filesystem>
#include <optional>

namespace cadencora::stage {

enum class ReportForm { text, json, jsonLines };

struct RunOptions {
    std::vector<Input> inputs;
    std::vector<Step> steps;
    std::filesystem::path output;         // of a single input; empty: none
    const Format* outputFormat = nullptr; // null: as the output's name says, or the input's
    std::filesystem::path outputFolder;   // keeps the inputs' file names; empty: none
    ReadOptions reading;
    std::vector<std::string> clips; // names and patterns; empty: the first
    bool dryRun = false;
    std::filesystem::path saveRecipe; // where the steps are written; empty: nowhere
    std::size_t jobs = 1; // inputs worked on at a time; 0: as many as there are processors
    ReportForm report = ReportForm::text;
    std::filesystem::path reportFile; // gets a line for each file or clip; empty: none
    bool resume = false;              // what the report file says is finished is passed over
    bool quiet = false;               // only what went wrong is printed
    std::filesystem::path plugin;
    std::string server; // of the plug-in's; empty: the first
    // Work in this process, without those that keep a plug-in's crash away: for debuggers.
    bool inProcess = false;
    std::filesystem::path motionsFolder; // of "Directory Info"
};

// Runs all files, prints the report on standard output and errors on standard error.
ExitStatus run(const RunOptions& options);

// Whether reports are made that tell an input's and an output's bytes.
inline bool makesLines(const RunOptions& options) {
    return options.report == ReportForm::jsonLines || !options.reportFile.empty();
}

} // namespace cadencora::stage
