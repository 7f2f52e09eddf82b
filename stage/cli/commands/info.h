// `info`: says what a file holds.
#pragma once

#include "stage/cli/commands/reading.h"

#include <string>

namespace cadencora::stage {

struct InfoOptions {
    std::string input;
    bool json = false;
    ReadingArguments reading;
};

// Adds the command, which parses into `options`; they must live as long as `app`.
CLI::App* addInfo(CLI::App& app, InfoOptions& options);

ExitStatus info(const InfoOptions& options);

} // namespace cadencora::stage
