#include "stage/cli/commands/inputs.h"

#include "stage/base/file.h"
#include "stage/base/folder.h"
#include "stage/base/text.h"
#include "stage/cli/commands/reading.h"
#include "stage/formats/registry.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace cadencora::stage {

namespace {

namespace fs = std::filesystem;

fs::path realPath(const fs::path& path) {
    std::error_code error;
    fs::path real = fs::weakly_canonical(path, error);
    return error ? path : real;
}

// The files of known formats in a folder.
class Search {
public:
    explicit Search(const fs::path& outputFolder) {
        if (!outputFolder.empty()) searched_.insert(realPath(outputFolder));
    }

    void in(const fs::path& folder, const fs::path& below, std::vector<Input>& found) {
        if (!searched_.insert(realPath(folder)).second) return;
        auto entries = entriesOf(folder);
        std::ranges::sort(entries);
        for (const fs::path& entry : entries) {
            const fs::path name = entry.filename();
            if (name.native().starts_with('.')) continue;
            std::error_code ignored;
            if (fs::is_directory(entry, ignored))
                in(entry, below / name, found);
            else if (formatOf(name))
                found.push_back({entry, below / name});
        }
    }

private:
    std::set<fs::path> searched_; // folders
};

Result<std::vector<std::string>> namesIn(const std::string& list) {
    const auto text = isStream(list) ? readStandardInput(defaultFileLimit) : readFile(list);
    if (!text) return text.problem();
    std::vector<std::string> names;
    std::istringstream lines(text.value());
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (!line.empty()) names.push_back(std::move(line));
    }
    return names;
}

} // namespace

Result<Shard> parseShard(std::string_view text) {
    const auto slash = text.find('/');
    if (slash != std::string_view::npos) {
        const auto number = parseInteger(text.substr(0, slash));
        const auto count = parseInteger(text.substr(slash + 1));
        if (number && count && *number >= 1 && *number <= *count)
            return Shard{static_cast<std::size_t>(*number), static_cast<std::size_t>(*count)};
    }
    return Problem{"not a shard: " + inQuotes(text), "--shard",
                   "expected K/N, such as 3/8, where K is 1 to N"};
}

Result<std::vector<Input>> inputsOf(const InputArguments& arguments) {
    std::vector<std::string> names = arguments.named;
    if (!arguments.list.empty()) {
        auto listed = namesIn(arguments.list);
        if (!listed) return listed.problem();
        names.insert(names.end(), listed->begin(), listed->end());
    }
    std::vector<Input> inputs;
    Search search(arguments.outputFolder);
    for (const std::string& name : names) {
        std::error_code ignored;
        if (!fs::is_directory(name, ignored)) {
            inputs.push_back({name, fs::path(name).filename()});
            continue;
        }
        const std::size_t before = inputs.size();
        search.in(name, {}, inputs);
        if (inputs.size() == before)
            return Problem{"no file in this folder is of a known format", name, knownExtensions()};
    }
    if (inputs.empty())
        return Problem{"there is no input", arguments.list,
                       "name files or folders, or a list by --files-from"};
    if (!arguments.shard) return inputs;
    std::ranges::stable_sort(inputs, {}, &Input::path);
    std::vector<Input> share;
    for (std::size_t i = arguments.shard->number - 1; i < inputs.size();
         i += arguments.shard->count)
        share.push_back(std::move(inputs[i]));
    return share;
}

} // namespace cadencora::stage
