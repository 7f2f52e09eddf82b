#include "stage/cli/commands/clips.h"

#include "stage/base/text.h"

#include <algorithm>

namespace cadencora::stage {

Result<std::vector<std::string>> chosenClips(const Loaded& loaded,
                                             const std::vector<std::string>& wanted,
                                             const std::filesystem::path& path) {
    if (wanted.empty()) return std::vector<std::string>{loaded.clip};
    const std::vector<std::string> names =
        loaded.clips.empty() ? std::vector<std::string>{""} : loaded.clips;
    std::vector<bool> isChosen(names.size());
    for (const std::string& one : wanted) {
        const bool isName = !one.empty() && std::ranges::find(names, one) != names.end();
        bool isMet = false;
        for (std::size_t i = 0; i < names.size(); ++i)
            if (isName ? names[i] == one : isPattern(one) && fitsPattern(names[i], one))
                isMet = isChosen[i] = true;
        if (!isMet)
            return Problem{(isPattern(one) ? "no clip's name fits " : "no clip is named ") +
                               inQuotes(one),
                           path.string(),
                           loaded.clips.empty() ? "the file holds one animation without a name"
                                                : alternatives(one, loaded.clips)};
    }
    std::vector<std::string> chosen;
    for (std::size_t i = 0; i < names.size(); ++i)
        if (isChosen[i]) chosen.push_back(names[i]);
    return chosen;
}

} // namespace cadencora::stage
