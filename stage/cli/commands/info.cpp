#include "stage/cli/commands/info.h"

#include "stage/cli/report/info_report.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace cadencora::stage {

CLI::App* addInfo(CLI::App& app, InfoOptions& options) {
    CLI::App* info = app.add_subcommand("info", "Say what a file holds");
    info->add_option("FILE", options.input, "Input file")->required();
    info->add_flag("--json", options.json, "Print JSON");
    addReading(*info, options.reading);
    return info;
}

ExitStatus info(const InfoOptions& options) {
    const auto reading = readOptionsOf(options.reading);
    if (!reading) return fail(exitUsage, reading.problem());
    const auto loaded = readInput(options.input, reading.value());
    if (!loaded) return fail(exitFailed, loaded.problem());
    options.json ? printInfoJson(loaded.value(), std::cout) : printInfo(loaded.value(), std::cout);
    return exitDone;
}

} // namespace cadencora::stage
