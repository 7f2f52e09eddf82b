#include "stage/cli/commands/reading.h"

#include "stage/base/text.h"
#include "stage/cli/commands/clips.h"
#include "stage/cli/report/exit_status.h"
#include "stage/user/recipe.h"

#include <CLI/CLI.hpp>
#include <array>
#include <iostream>

namespace cadencora::stage {

void addReading(CLI::App& app, ReadingArguments& arguments, bool severalClips) {
    app.add_option("--fps", arguments.rate,
                   "Set the frame rate; keys keep their times (30, 23.976, 24000/1001)");
    app.add_option("--scale", arguments.scale,
                   "Multiply all lengths of the file by this as it is read (0.01: centimetres to "
                   "metres)")
        ->check(CLI::Validator(
            [](const std::string& text) {
                const auto number = parseNumber(text);
                return number && isScale(*number) ? std::string()
                                                  : "not a number above 0: " + inQuotes(text);
            },
            ""));
    app.add_option("--rename", arguments.names,
                   "Rename items by this file as it is read: {\"OLD\": \"NEW\", ...}")
        ->check(notEmpty());
    auto* clip =
        app.add_option("--clip", arguments.clips,
                       severalClips ? "Work on this animation of a file that holds several, or on "
                                      "all that fit a pattern such as '*' (repeat for several; "
                                      "default: the first)"
                                    : "Open this animation of a file that holds several, by name "
                                      "or pattern (default: the first)");
    clip->check(notEmpty())->expected(1)->allow_extra_args(false);
    if (severalClips) clip->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

const Format* formatNamed(const std::string& name) {
    return formatOf("scene." + name);
}

void addFormat(CLI::App& app, std::string& name, const std::string& output) {
    std::vector<std::string> names;
    for (const Format& format : formats())
        names.emplace_back(format.extensions.front().substr(1));
    app.add_option("--format", name, "Format of an output that is - (default: the input's)")
        ->check(CLI::IsMember(names));
    app.final_callback([&name, &output] {
        if (!name.empty() && !isStream(output))
            throw CLI::ValidationError("--format", "is for an output that is -");
    });
}

Result<std::string> readStandardInput(std::uintmax_t limit) {
    std::string bytes;
    std::array<char, 65536> buffer;
    while (std::cin.read(buffer.data(), buffer.size()) || std::cin.gcount() > 0) {
        bytes.append(buffer.data(), static_cast<std::size_t>(std::cin.gcount()));
        if (bytes.size() > limit)
            return Problem{"standard input is too long",
                           {},
                           "the limit is " + std::to_string(limit) + " bytes"};
    }
    return bytes;
}

Result<Loaded> openScene(const std::filesystem::path& path, const ReadOptions& options) {
    if (!isStream(path)) return readScene(path, options);
    const auto bytes = readStandardInput(options.limits.bytes);
    if (!bytes) return bytes.problem();
    const Format* format = formatOfContent(bytes.value());
    if (!format) return Problem{"standard input is of no known format", {}, knownExtensions()};
    return readScene(bytes.value(), "stdin" + std::string(format->extensions.front()), options);
}

CLI::Validator notEmpty() {
    return {[](const std::string& text) {
                return text.empty() ? std::string("the name is empty") : std::string();
            },
            "", "not empty"};
}

Result<ReadOptions> readOptionsOf(const ReadingArguments& arguments) {
    ReadOptions options;
    if (arguments.scale != 0) options.edits.scale = arguments.scale;
    if (!arguments.names.empty()) {
        auto names = readNames(arguments.names);
        if (!names) return names.problem();
        options.edits.names = std::move(*names);
    }
    if (arguments.rate.empty()) return options;
    options.rate = FrameRate::parse(arguments.rate);
    if (options.rate) return options;
    return Problem{"not a frame rate: " + inQuotes(arguments.rate), "--fps",
                   "expected a number such as 30, 23.976 or 24000/1001"};
}

ExitStatus readInput(const std::filesystem::path& path, const ReadingArguments& arguments,
                     Loaded& loaded) {
    auto options = readOptionsOf(arguments);
    if (!options) return fail(exitUsage, options.problem());
    auto read = openScene(path, options.value());
    if (!read) return fail(exitFailed, read.problem());
    auto clips = chosenClips(*read, arguments.clips, path);
    if (!clips) return fail(exitUsage, clips.problem());
    if (clips->size() > 1)
        return fail(exitUsage, {"several clips fit " + inQuotes(arguments.clips.front()),
                                path.string(), alternatives(arguments.clips.front(), *clips)});
    if (clips->front() != read->clip) {
        options->clip = clips->front();
        const auto source = read->scene.source;
        read = readClip(*source, *read->format, path, *options);
        if (!read) return fail(exitFailed, read.problem());
    }
    for (const std::string& warning : read->warnings)
        warn(warning);
    loaded = std::move(*read);
    return exitDone;
}

} // namespace cadencora::stage
