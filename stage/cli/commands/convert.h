// `convert`: writes a file in another format.
#pragma once

#include "stage/cli/commands/reading.h"

#include <string>

namespace cadencora::stage {

struct ConvertOptions {
    std::string input, output, format;
    ReadingArguments reading;
};

// Adds the command, which parses into `options`; they must live as long as `app`.
CLI::App* addConvert(CLI::App& app, ConvertOptions& options);

ExitStatus convert(const ConvertOptions& options);

} // namespace cadencora::stage
