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

struct ReadingArguments {
    std::string rate, clip; // as typed; empty: not given
};

// For the names of outputs: an empty one is a mistake, such as that of a variable in a script.
CLI::Validator notEmpty();

// Adds --fps and --clip, which parse into `arguments`; they must live as long as `app`.
void addReading(CLI::App& app, ReadingArguments& arguments);

Result<ReadOptions> readOptionsOf(const ReadingArguments& arguments);

// With the file's warnings on standard error.
Result<Loaded> readInput(const std::filesystem::path& path, const ReadOptions& options);

} // namespace cadencora::stage
