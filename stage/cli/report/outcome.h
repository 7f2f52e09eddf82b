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

// The result of one file.
struct FileOutcome {
    std::filesystem::path input;
    std::string summary; // "31 items, 50304 keys, 120 frames per second"
    std::vector<StepOutcome> steps;
    std::vector<Problem> problems;
    std::vector<std::string> warnings;
    std::filesystem::path written; // empty: nothing
    ExitStatus status = exitDone;
};

} // namespace cadencora::stage
