// Which files a run works on: files, folders, lists of names, and one machine's share of them.
//
// Calls the formats for the names that they know.
#pragma once

#include "stage/base/result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

struct Input {
    std::filesystem::path path;
    std::filesystem::path nameInOutput; // below the output folder: "takes/walk.bvh"
};

// Every count-th input, from the number-th on.
struct Shard {
    std::size_t number = 1, count = 1;
};

struct InputArguments {
    std::vector<std::string> named; // files and folders
    std::string list;               // a file of names, one on each line; "-": standard input
    std::string outputFolder;       // what is in it is no input
    std::optional<Shard> shard;     // of the inputs in the order of their names
};

// "K/N", where K is 1 to N.
Result<Shard> parseShard(std::string_view text);

// A folder stands for the files of known formats in it and in the folders below, by name. Links are
// followed, each folder is searched once, and names that begin with a dot are passed over. Refuses
// a folder without such files; whether a named file is there is not looked at.
Result<std::vector<Input>> inputsOf(const InputArguments& arguments);

} // namespace cadencora::stage
