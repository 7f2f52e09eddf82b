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
    addFormat(*convert, options.format, options.output);
    addReading(*convert, options.reading);
    return convert;
}

ExitStatus convert(const ConvertOptions& options) {
    endWhenInterrupted();
    Loaded loaded;
    if (const auto status = readInput(options.input, options.reading, loaded); status != exitDone)
        return status;
    const Scene& scene = loaded.scene;
    const bool isPiped = isStream(options.output);
    WriteOptions writing{.format = options.format.empty() ? nullptr : formatNamed(options.format),
                         .alone = isPiped,
                         .progress = {}};
    if (isPiped && !writing.format) writing.format = loaded.format;
    const auto written = writeScene(scene, isPiped ? "/dev/stdout" : options.output, writing);
    if (!written) return fail(exitFailed, written.problem());
    for (const std::string& warning : written.value().warnings)
        warn(warning);
    (isPiped ? std::cerr : std::cout)
        << "wrote " << escaped(options.output) << ": " << summary(scene) << "\n";
    return exitDone;
}

} // namespace cadencora::stage
