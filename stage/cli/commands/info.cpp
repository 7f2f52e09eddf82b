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
    Loaded loaded;
    if (const auto status = readInput(options.input, options.reading, loaded); status != exitDone)
        return status;
    const auto reading = readOptionsOf(options.reading);
    std::vector<ClipFacts> clips;
    for (const std::string& name : loaded.clips) {
        ReadOptions one = reading.value();
        one.clip = name;
        const auto clip = readClip(*loaded.scene.source, *loaded.format, options.input, one);
        if (!clip) return fail(exitFailed, clip.problem());
        const Scene& scene = clip.value().scene;
        clips.push_back({name, scene.lastFrame, scene.rate.text(), scene.keyCount()});
    }
    options.json ? printInfoJson(loaded, clips, std::cout) : printInfo(loaded, clips, std::cout);
    return exitDone;
}

} // namespace cadencora::stage
