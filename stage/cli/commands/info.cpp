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
    std::vector<ClipFacts> clips;
    const auto add = [&](const Loaded& clip) {
        const Scene& scene = clip.scene;
        clips.push_back({clip.clip, scene.lastFrame, scene.rate.text(), scene.keyCount()});
    };
    ReadOptions reading; // of the other clips: the edits are in what the scene remembers
    if (!options.reading.rate.empty()) reading.rate = FrameRate::parse(options.reading.rate);
    for (const std::string& name : loaded.clips) {
        if (name == loaded.clip) {
            add(loaded);
            continue;
        }
        reading.clip = name;
        const auto clip = readClip(*loaded.scene.source, *loaded.format, options.input, reading);
        if (!clip) return fail(exitFailed, clip.problem());
        add(clip.value());
    }
    options.json ? printInfoJson(loaded, clips, std::cout) : printInfo(loaded, clips, std::cout);
    return exitDone;
}

} // namespace cadencora::stage
