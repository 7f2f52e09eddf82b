#include "stage/panels/stand_ins.h"

#include <unistd.h>

namespace cadencora::stage {

Result<std::string> StandIns::of(const std::string& path) {
    if (const auto known = copies_.find(path); known != copies_.end()) return known->second;
    std::error_code ignored;
    const std::filesystem::path file(path);
    const auto place = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    const bool exists = std::filesystem::exists(file, ignored);
    if (exists ? !std::filesystem::is_regular_file(file, ignored)
               : file.empty() || access(place.c_str(), W_OK) != 0)
        return path;

    if (!folder_) {
        auto folder = ScratchFolder::create();
        if (!folder) return folder.problem();
        folder_ = std::move(folder.value());
    }
    const auto copy = folder_->path() / std::to_string(copies_.size());
    std::error_code error;
    if (exists) std::filesystem::copy_file(file, copy, error); // with its permissions
    if (error) return Problem{"cannot copy the file for a dry run", path, error.message()};
    return copies_[path] = copy.string();
}

std::string StandIns::named(std::string text) const {
    for (const auto& [path, copy] : copies_)
        if (text == copy) return path;
    return text;
}

} // namespace cadencora::stage
