// `plot`: draws animation curves of a file as an SVG picture.
#pragma once

#include "stage/cli/commands/reading.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cadencora::stage {

struct PlotOptions {
    std::string input, before, output; // no output: standard output
    ReadingArguments reading;
    std::vector<std::string> channels;
    std::optional<std::int64_t> from, to; // frames
};

// Adds the command, which parses into `options`; they must live as long as `app`.
CLI::App* addPlot(CLI::App& app, PlotOptions& options);

ExitStatus plot(const PlotOptions& options);

} // namespace cadencora::stage
