#include "stage/cli/commands/convert.h"

#include "stage/base/text.h"
#include "stage/cli/many/interruption.h"
#include "stage/scene/summary.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace cadencora::stage {

CLI::App* addConvert(CLI::App& app, ConvertOptions& options) {
    CLI::App* convert = app.add_subcommand("convert", "Write a file in another format");
    convert->add_option("IN", options.input, "Input file")->required();
    convert->add_option("OUT", options.output, "Output file")->required()->check(notEmpty());
    addReading(*convert, options.reading);
    return convert;
}

ExitStatus convert(const ConvertOptions& options) {
    const auto reading = readOptionsOf(options.reading);
    if (!reading) return fail(exitUsage, reading.problem());
    endWhenInterrupted();
    const auto loaded = readInput(options.input, reading.value());
    if (!loaded) return fail(exitFailed, loaded.problem());
    const Scene& scene = loaded.value().scene;
    const auto written = writeScene(scene, options.output);
    if (!written) return fail(exitFailed, written.problem());
    for (const std::string& warning : written.value().warnings)
        warn(warning);
    std::cout << "wrote " << escaped(options.output) << ": " << summary(scene) << "\n";
    return exitDone;
}

} // namespace cadencora::stage
