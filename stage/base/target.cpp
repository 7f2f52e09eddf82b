#include "stage/base/target.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace cadencora::stage {

namespace fs = std::filesystem;

namespace {

using Kind = WriteTarget::Kind;

constexpr int mostLinks = 40; // as the system follows

const char* kindName(mode_t mode) {
    if (S_ISDIR(mode)) return "it is a directory";
    if (S_ISFIFO(mode)) return "it is a pipe";
    if (S_ISSOCK(mode)) return "it is a socket";
    return "it is a device";
}

bool isStandardOutput(const fs::path& path) {
    return path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

bool isStandardOutput(const struct stat& file) {
    struct stat output {};
    return fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == file.st_dev &&
           output.st_ino == file.st_ino;
}

} // namespace

Result<WriteTarget> writeTarget(const fs::path& path) {
    const auto refuse = [&](std::string why) {
        return Problem{"cannot write the file", path.string(), std::move(why)};
    };
    if (path.empty()) return refuse("the name is empty");
    if (isStandardOutput(path)) return WriteTarget{path, Kind::standardOutput};
    std::error_code error;
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        if (S_ISREG(status.st_mode)) {
            fs::path real = fs::canonical(path, error);
            return WriteTarget{error ? path : std::move(real), Kind::file};
        }
        if (isStandardOutput(status)) return WriteTarget{path, Kind::standardOutput};
        if (S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3))
            return WriteTarget{path, Kind::nullDevice};
        return refuse(kindName(status.st_mode));
    }
    if (errno != ENOENT) return refuse(std::strerror(errno));
    fs::path target = path; // or where a link points at which is not there yet
    for (int links = 0; fs::is_symlink(target, error); ++links) {
        const fs::path next = fs::read_symlink(target, error);
        if (error || links == mostLinks) return refuse("its links cannot be followed");
        target = target.parent_path() / next;
    }
    if (target.filename().empty()) return refuse("the path has no file name");
    return WriteTarget{std::move(target), Kind::file};
}

fs::path placeOf(const fs::path& path) {
    std::error_code ignored;
    const auto target = writeTarget(path);
    const fs::path file = fs::absolute(target ? target.value().path : path, ignored);
    return fs::weakly_canonical(file.parent_path(), ignored) / file.filename();
}

bool isSamePlace(const fs::path& a, const fs::path& b) {
    return placeOf(a) == placeOf(b);
}

} // namespace cadencora::stage
