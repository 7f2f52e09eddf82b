#include "stage/cli/commands/finished.h"

#include "stage/base/digest.h"
#include "stage/base/file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace cadencora::stage {

namespace {

using Json = nlohmann::json;

Problem cannotWrite(const std::filesystem::path& path) {
    return {"cannot write the report file", path.string(), std::strerror(errno)};
}

} // namespace

Result<FinishedWork> FinishedWork::read(const std::filesystem::path& reportFile) {
    FinishedWork work;
    std::error_code ignored;
    if (!std::filesystem::exists(reportFile, ignored)) return work;
    const auto text = readFile(reportFile);
    if (!text) return text.problem();
    std::string_view rest = text.value();
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        work.take(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return work;
}

void FinishedWork::take(std::string_view text) {
    const Json json = Json::parse(text, nullptr, false);
    if (!json.is_object()) return;
    try {
        Line line;
        line.isDone = json.at("status") == "done";
        line.of = json.at("of");
        if (json.at("output").is_string()) line.output = json.at("output");
        line.work = json.at("work");
        for (const Json& file : json.at("wrote"))
            line.files.push_back({file.at("file"), file.at("xxh3")});
        // An input that was written onto is what was written.
        for (const Json& file : json.at("read"))
            if (std::ranges::find(line.files, file.at("file").get<std::string>(), &File::path) ==
                line.files.end())
                line.files.push_back({file.at("file"), file.at("xxh3")});
        auto& lines = lines_[json.at("input")];
        if (json.at("place") == 0) lines.clear();
        lines.push_back(std::move(line));
    } catch (const Json::exception&) { // it is no report
    }
}

bool FinishedWork::has(const std::filesystem::path& input, const std::filesystem::path& output,
                       const std::string& work) const {
    const auto found = lines_.find(input.string());
    if (found == lines_.end() || found->second.size() != found->second.front().of) return false;
    return std::ranges::all_of(found->second, [&](const Line& line) {
        return line.isDone && line.work == work && line.output == output.string() &&
               std::ranges::all_of(line.files, [](const File& file) {
                   return digestOfFile(file.path).value_or("") == file.digest;
               });
    });
}

LineFile::LineFile(std::filesystem::path path, int descriptor)
    : path_(std::move(path)), descriptor_(descriptor) {}

LineFile::LineFile(LineFile&& other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)) {}

LineFile::~LineFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

Result<LineFile> LineFile::open(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) return cannotWrite(path);
    LineFile file(path, descriptor);
    // A line that was cut off gets its end, so that it does not spoil the next one.
    struct stat status {};
    char last = '\n';
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
        pread(descriptor, &last, 1, status.st_size - 1) == 1 && last != '\n')
        if (auto added = file.add("\n"); !added) return added.problem();
    return file;
}

Result<> LineFile::add(std::string_view lines) {
    while (!lines.empty()) {
        const ssize_t written = write(descriptor_, lines.data(), lines.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return cannotWrite(path_);
        lines.remove_prefix(static_cast<std::size_t>(written));
    }
    return done();
}

} // namespace cadencora::stage
