#include "stage/cli/commands/reading.h"

#include "stage/base/text.h"
#include "stage/cli/report/exit_status.h"

#include <CLI/CLI.hpp>

namespace cadencora::stage {

void addReading(CLI::App& app, ReadingArguments& arguments) {
    app.add_option("--fps", arguments.rate,
                   "Set the frame rate; keys keep their times (30, 23.976, 24000/1001)");
    app.add_option("--clip", arguments.clip,
                   "Open this animation of a file that holds several (default: the first)");
}

CLI::Validator notEmpty() {
    return {[](const std::string& text) {
                return text.empty() ? std::string("the name is empty") : std::string();
            },
            "", "not empty"};
}

Result<ReadOptions> readOptionsOf(const ReadingArguments& arguments) {
    ReadOptions options;
    if (!arguments.clip.empty()) options.clip = arguments.clip;
    if (arguments.rate.empty()) return options;
    options.rate = FrameRate::parse(arguments.rate);
    if (options.rate) return options;
    return Problem{"not a frame rate: " + inQuotes(arguments.rate), "--fps",
                   "expected a number such as 30, 23.976 or 24000/1001"};
}

Result<Loaded> readInput(const std::filesystem::path& path, const ReadOptions& options) {
    auto loaded = readScene(path, options);
    if (loaded)
        for (const std::string& warning : loaded->warnings)
            warn(warning);
    return loaded;
}

} // namespace cadencora::stage
