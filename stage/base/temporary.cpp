#include "stage/base/temporary.h"

#include "stage/base/folder.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cadencora::stage {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view filePrefix = ".cadencora-", folderPrefix = "cadencora-scratch-";
constexpr std::string_view pluginMark = ".cadencora-"; // followed by a number, after a file's name

// The machine's name as part of a file name.
const std::string& machine() {
    static const std::string name = [] {
        std::array<char, 256> buffer{};
        if (gethostname(buffer.data(), buffer.size() - 1) != 0) return std::string("unnamed");
        std::string text = std::string(buffer.data()).substr(0, 60);
        for (char& c : text)
            if (c == '/' || static_cast<unsigned char>(c) <= ' ') c = '_';
        return text;
    }();
    return name;
}

struct Registry {
    std::mutex mutex, renaming;
    pid_t owner = getpid();
    std::set<fs::path> made;  // by this process, and still there
    std::set<fs::path> swept; // folders that were looked through
    std::vector<fs::path> leftByOthers;
};

// Locked while the result lives.
struct LockedRegistry {
    static Registry& all() {
        static Registry registry;
        return registry;
    }
    LockedRegistry() : lock(all().mutex) {
        if (all().owner == getpid()) return;
        all().owner = getpid(); // in a forked child
        all().made.clear();
    }
    Registry* operator->() const { return &all(); }
    std::unique_lock<std::mutex> lock;
};

// The machine in the name of something temporary. Empty for a name of another kind.
std::string_view machineIn(std::string_view name, std::string_view prefix) {
    constexpr std::size_t unique = 7; // "-XXXXXX"
    if (!name.starts_with(prefix) || name.size() <= prefix.size() + unique) return {};
    name.remove_prefix(prefix.size());
    if (name[name.size() - unique] != '-') return {};
    return name.substr(0, name.size() - unique);
}

// Removes it if the process that made it is gone, which its lock tells.
void removeIfFree(const fs::path& path) {
    const int descriptor =
        open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return;
    struct stat status {};
    const bool isOurs = fstat(descriptor, &status) == 0 && status.st_uid == geteuid() &&
                        (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
    if (isOurs && flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    close(descriptor);
}

void sweep(const fs::path& folder, std::string_view prefix) {
    std::error_code error;
    const fs::path real = fs::weakly_canonical(folder, error);
    if (!LockedRegistry()->swept.insert(real).second) return;
    for (const fs::path& entry : entriesOf(folder)) {
        const std::string name = entry.filename().string();
        const std::string_view maker = machineIn(name, prefix);
        if (maker.empty()) continue;
        if (maker == machine())
            removeIfFree(entry);
        else if (prefix == filePrefix)
            LockedRegistry()->leftByOthers.push_back(entry);
    }
}

// Locks what was just made. False: another run has taken it for left behind in the meantime.
bool holds(int descriptor) {
    if (flock(descriptor, LOCK_EX) != 0) return true; // no locks here: nobody else has one either
    struct stat status {};
    return fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

std::string nameIn(const fs::path& folder, std::string_view prefix) {
    return (folder / (std::string(prefix) + machine() + "-XXXXXX")).string();
}

Problem notMade(const char* what, std::string where) {
    return {what, std::move(where), std::strerror(errno)};
}

// A path as /proc shows it for a file that a plug-in writes beside the final place.
bool isMadeByPlugin(std::string_view path) {
    const std::size_t at = path.rfind(pluginMark);
    if (at == std::string_view::npos || at + pluginMark.size() == path.size()) return false;
    return path.substr(at + pluginMark.size()).find_first_not_of("0123456789") ==
           std::string_view::npos;
}

} // namespace

Result<Temporary> makeTemporaryFile(const fs::path& folder) {
    const fs::path place = folder.empty() ? fs::path(".") : folder;
    sweep(place, filePrefix);
    for (;;) {
        std::string path = nameIn(place, filePrefix);
        const int descriptor = mkostemp(path.data(), O_CLOEXEC);
        if (descriptor < 0) return notMade("cannot make a file", place.string());
        if (holds(descriptor)) {
            LockedRegistry()->made.insert(path);
            return Temporary{descriptor, path};
        }
        close(descriptor);
    }
}

Result<Temporary> makeTemporaryFolder() {
    std::error_code error;
    const fs::path place = fs::temp_directory_path(error);
    if (error) return Problem{"there is no place for temporary files", {}, error.message()};
    sweep(place, folderPrefix);
    for (;;) {
        std::string path = nameIn(place, folderPrefix);
        if (!mkdtemp(path.data())) return notMade("cannot make a directory", path);
        const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor >= 0 && holds(descriptor)) {
            LockedRegistry()->made.insert(path);
            return Temporary{descriptor, path};
        }
        if (descriptor < 0 && errno != ENOENT) return notMade("cannot open the directory", path);
        if (descriptor >= 0) close(descriptor);
    }
}

void forgetTemporary(const fs::path& path) {
    LockedRegistry()->made.erase(path);
}

std::unique_lock<std::mutex> lockRenaming() {
    return std::unique_lock(LockedRegistry::all().renaming);
}

void removeTemporaries() {
    LockedRegistry::all().renaming.lock(); // for ever
    std::set<fs::path> made;
    {
        const LockedRegistry registry;
        made.swap(registry->made);
    }
    for (const fs::path& descriptor : entriesOf("/proc/self/fd")) {
        std::error_code gone;
        const fs::path open = fs::read_symlink(descriptor, gone);
        if (!gone && isMadeByPlugin(open.native())) made.insert(open);
    }
    std::error_code ignored;
    for (const fs::path& path : made)
        fs::remove_all(path, ignored);
}

std::vector<fs::path> takeLeftByOthers() {
    return std::exchange(LockedRegistry()->leftByOthers, {});
}

Result<TemporaryDirectory> TemporaryDirectory::create() {
    auto made = makeTemporaryFolder();
    if (!made) return made.problem();
    return TemporaryDirectory(std::move(made.value()));
}

TemporaryDirectory::~TemporaryDirectory() {
    if (held_.descriptor < 0) return;
    std::error_code ignored;
    fs::remove_all(held_.path, ignored);
    forgetTemporary(held_.path);
    close(held_.descriptor);
}

} // namespace cadencora::stage
