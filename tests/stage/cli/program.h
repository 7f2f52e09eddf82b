// Runs the headless program as a process.
#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace cadencora::stage {

struct ProgramResult {
    int status = -1; // of exit; -1 where a signal ended it
    std::string output, errors;
};

inline std::string fileText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string shellQuoted(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// `errors` names a scratch file for standard error.
inline ProgramResult runProgramFile(const std::vector<std::string>& arguments,
                                    const std::filesystem::path& errors) {
    std::string line = shellQuoted(std::string(CADENCORA_BIN_DIR) + "/cadencora");
    for (const std::string& argument : arguments)
        line += " " + shellQuoted(argument);
    line += " 2>" + shellQuoted(errors.string()) + " </dev/null";
    ProgramResult result;
    FILE* pipe = popen(line.c_str(), "r");
    if (!pipe) return result;
    std::array<char, 4096> buffer;
    while (const std::size_t n = std::fread(buffer.data(), 1, buffer.size(), pipe))
        result.output.append(buffer.data(), n);
    const int status = pclose(pipe);
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    result.errors = fileText(errors);
    return result;
}

} // namespace cadencora::stage
