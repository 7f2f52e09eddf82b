#include "stage/base/folder.h"

namespace cadencora::stage {

namespace fs = std::filesystem;

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (auto entry = fs::directory_iterator(folder, error);
         !error && entry != fs::directory_iterator(); entry.increment(error))
        entries.push_back(entry->path());
    return entries;
}

} // namespace cadencora::stage
