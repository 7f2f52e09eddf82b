// What `run` has done: the records that its reports are made from.
#pragma once

#include "stage/cli/report/exit_status.h"
#include "stage/panels/front_end.h"
#include "stage/scene/journal.h"

#include <filesystem>
#include <string>
#include <vector>

namespace cadencora::stage {

// The result of one step.
struct StepOutcome {
    std::string press;
    std::vector<std::string> dialogs; // their titles, in the order of opening
    std::vector<Message> messages;
    ChangeReport changes;
    bool drewRandomNumbers = false; // from the C library, for what it changed
    bool kept = true; // false: what it did to the scene was taken back, as the step said
};

// With codes that scripts can test. The manual lists them.
struct CodedProblem {
    std::string code;
    Problem problem;
};
struct CodedWarning {
    std::string code, text;
    std::size_t clips = 1; // that have it, where it is printed once for all; 0: with another clip
};

// What a file was when it was read or written.
struct FileDigest {
    std::filesystem::path path;
    std::string digest;
};

// The result of one file, or of one clip of it.
struct FileOutcome {
    std::filesystem::path input;
    std::string clip;              // where several may be worked on, else empty
    std::size_t place = 0, of = 1; // among the clips of the file that are worked on
    std::string summary;           // "31 items, 50304 keys, 120 frames per second"
    std::vector<StepOutcome> steps;
    std::vector<CodedProblem> problems;
    std::vector<CodedWarning> warnings;
    std::filesystem::path written; // empty: nothing
    bool wasThere = false;         // what was to be written had these bytes already
    ExitStatus status = exitDone;
    // Of the input and what is beside it, and of the output, where the work may be resumed.
    std::vector<FileDigest> read, wrote;

    void fail(ExitStatus how, std::string code, Problem problem) {
        status = how;
        problems.push_back({std::move(code), std::move(problem)});
    }
    void warn(const std::string& code, std::vector<std::string> texts) {
        for (std::string& text : texts)
            warnings.push_back({code, std::move(text)});
    }
};

} // namespace cadencora::stage
