// How the commands read their input files: the options --fps and --clip, and the warnings.
//
// Calls the formats; prints on standard error.
#pragma once

#include "stage/cli/report/exit_status.h"
#include "stage/formats/registry.h"

namespace CLI {
class App;
class Validator;
} // namespace CLI

namespace cadencora::stage {

// "-": standard input or output.
inline bool isStream(const std::filesystem::path& path) {
    return path == "-";
}

struct ReadingArguments {
    std::string rate, names; // as typed; empty: not given
    double scale = 0;        // 0: not given
    std::vector<std::string> clips;
};

// For the names of outputs: an empty one is a mistake, such as that of a variable in a script.
CLI::Validator notEmpty();

// What comes through standard input, of so many bytes at most.
Result<std::string> readStandardInput(std::uintmax_t limit);

// A format by its name on the command line, "bvh". Null where it has no such name.
const Format* formatNamed(const std::string& name);

// Adds --format NAME, which parses into `name`, for an output that is a stream. Any other has a
// name that says its format: `output` is looked at when the arguments have been parsed.
void addFormat(CLI::App& app, std::string& name, const std::string& output);

// A file, or standard input, whose content tells its format.
Result<Loaded> openScene(const std::filesystem::path& path, const ReadOptions& options);

// Adds --fps, --scale, --rename and --clip, one or several of it, which parse into `arguments`;
// they must live as long as `app`.
void addReading(CLI::App& app, ReadingArguments& arguments, bool severalClips = false);

Result<ReadOptions> readOptionsOf(const ReadingArguments& arguments);

// Opens a file, and of its clips the one that the arguments name, also by a pattern. Its warnings
// go to standard error, and why it cannot be opened, which the status then tells.
ExitStatus readInput(const std::filesystem::path& path, const ReadingArguments& arguments,
                     Loaded& loaded);

} // namespace cadencora::stage
