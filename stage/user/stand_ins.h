// Files for a dry run: a plug-in opens by itself the files that it writes, so it is given the paths
// of copies, which are removed when the run is over.
//
// Calls only stage/base.
#pragma once

#include "stage/base/file.h"

#include <map>
#include <optional>

namespace cadencora::stage {

class StandIns {
public:
    // The path to hand over in place of a file's: always the same one for a file, so that what a
    // step writes a later one reads. Where opening the real file would fail, or is no file's
    // business, the path itself.
    Result<std::string> of(const std::string& path);

    // A line of a message: the real path where the line is the path of a copy.
    std::string named(const std::string& text) const;

private:
    std::optional<TemporaryDirectory> folder_; // once needed
    std::map<std::filesystem::path, std::string> copies_;
    std::map<std::string, std::string> named_; // by the copy: the path as the user wrote it first
};

} // namespace cadencora::stage
