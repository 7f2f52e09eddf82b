#include "stage/cli/commands/plot.h"

#include "stage/base/file.h"
#include "stage/base/text.h"
#include "stage/cli/many/interruption.h"
#include "stage/plot/plot.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace cadencora::stage {

CLI::App* addPlot(CLI::App& app, PlotOptions& options) {
    CLI::App* plot = app.add_subcommand("plot", "Draw animation curves as an SVG picture");
    plot->add_option("FILE", options.input, "Input file")->required();
    plot->add_option("--channel", options.channels,
                     "Draw this channel: \"Hips/Rotation.H\" (repeat for several)")
        ->required()
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    plot->add_option("-o,--output", options.output, "Write to this file (default: print)")
        ->check(notEmpty());
    plot->add_option("--before", options.before,
                     "Draw the channels as they are in this file faintly below");
    plot->add_option("--from", options.from, "First frame (default: all frames)");
    plot->add_option("--to", options.to, "Last frame");
    addReading(*plot, options.reading);
    plot->footer("Example:\n"
                 "  cadencora plot after.bvh --before walk.bvh --channel Hips/Rotation.H -o a.svg");
    return plot;
}

ExitStatus plot(const PlotOptions& options) {
    for (const std::string& input : {options.input, options.before})
        if (!options.output.empty() && !input.empty() && isSamePlace(input, options.output))
            return fail(exitUsage, {"the picture would replace an input", options.output, {}});
    endWhenInterrupted();
    Loaded loaded, before;
    if (const auto status = readInput(options.input, options.reading, loaded); status != exitDone)
        return status;
    if (!options.before.empty())
        if (const auto status = readInput(options.before, options.reading, before);
            status != exitDone)
            return status;
    auto svg = plotSvg({.scene = loaded.scene,
                        .channels = options.channels,
                        .before = options.before.empty() ? nullptr : &before.scene,
                        .from = options.from,
                        .to = options.to});
    if (!svg) {
        // The options are wrong for this file, so the message names the file.
        Problem problem = svg.problem();
        problem.where = options.input;
        return fail(exitUsage, problem);
    }
    if (options.output.empty()) {
        std::cout << *svg;
        return exitDone;
    }
    const auto written = writeFile(options.output, *svg);
    if (!written) return fail(exitFailed, written.problem());
    std::cout << "wrote " << escaped(options.output) << "\n";
    return exitDone;
}

} // namespace cadencora::stage
