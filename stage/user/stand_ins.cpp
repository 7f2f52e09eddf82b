#include "stage/user/stand_ins.h"

namespace cadencora::stage {

Result<std::string> StandIns::of(const std::string& path) {
    std::error_code ignored;
    const std::filesystem::path file = std::filesystem::weakly_canonical(path, ignored);
    if (const auto known = copies_.find(file); known != copies_.end()) return known->second;
    const bool exists = std::filesystem::exists(file, ignored);
    if (exists ? !std::filesystem::is_regular_file(file, ignored)
               : path.empty() || !checkWritable(file))
        return path;

    if (!folder_) {
        auto folder = TemporaryDirectory::create();
        if (!folder) return folder.problem();
        folder_ = std::move(folder.value());
    }
    const auto copy = folder_->path() / std::to_string(copies_.size());
    std::error_code error;
    if (exists) std::filesystem::copy_file(file, copy, error); // with its permissions
    if (error) return Problem{"cannot copy the file for a dry run", path, error.message()};
    named_[copy.string()] = path;
    return copies_[file] = copy.string();
}

std::string StandIns::named(const std::string& text) const {
    const auto known = named_.find(text);
    return known == named_.end() ? text : known->second;
}

} // namespace cadencora::stage
