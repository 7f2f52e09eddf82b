// What earlier runs have finished, by the lines of their report file, and the adding of lines.
//
// Calls stage/base; the lines are made by the reports.
#pragma once

#include "stage/base/result.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

class FinishedWork {
public:
    // Lines that are no reports, such as one that was cut off, count for nothing; neither does a
    // file that is not there.
    static Result<FinishedWork> read(const std::filesystem::path& reportFile);

    // True where the last lines about an input say that all of it was done, by this work, into this
    // output (empty: none), and all files that were read and written are as they were then.
    bool has(const std::filesystem::path& input, const std::filesystem::path& output,
             const std::string& work) const;

private:
    struct File {
        std::string path, digest; // empty: it was not there
    };
    struct Line {
        bool isDone = false;
        std::size_t of = 1; // lines about the input
        std::string output, work;
        std::vector<File> files; // read and written
    };
    void take(std::string_view line);

    std::map<std::string, std::vector<Line>> lines_; // by input, the last ones
};

// A file of lines that several processes may add to: each call adds its lines whole.
class LineFile {
public:
    static Result<LineFile> open(const std::filesystem::path& path);
    LineFile(LineFile&& other) noexcept;
    LineFile& operator=(LineFile&&) = delete;
    ~LineFile();

    Result<> add(std::string_view lines); // with their line ends

private:
    LineFile(std::filesystem::path path, int descriptor);

    std::filesystem::path path_;
    int descriptor_;
};

} // namespace cadencora::stage
