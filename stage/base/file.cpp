#include "stage/base/file.h"

#include "stage/base/text.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cadencora::stage {

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 18;

std::string reason(int error) {
    return std::strerror(error);
}

// The permissions that a newly created file would have.
mode_t newFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

Result<std::string> readFile(const std::filesystem::path& path, std::uintmax_t limit) {
    const auto fail = [&](std::string detail) {
        return Problem{"cannot read the file", path.string(), std::move(detail)};
    };
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return fail(reason(errno));
    if (!S_ISREG(status.st_mode)) return fail("not a regular file");
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return fail(reason(errno));
    int error = fstat(descriptor, &status) == 0 ? 0 : errno;
    std::string detail;
    std::string bytes;
    if (error == 0 && !S_ISREG(status.st_mode)) {
        detail = "not a regular file";
    } else if (error == 0 && static_cast<std::uintmax_t>(status.st_size) > limit) {
        detail = std::to_string(status.st_size) + " bytes, the limit is " + std::to_string(limit);
    } else if (error == 0) {
        bytes.resize(static_cast<std::size_t>(status.st_size));
        std::size_t got = 0;
        while (got < bytes.size()) {
            const ssize_t n = read(descriptor, bytes.data() + got, bytes.size() - got);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) error = errno;
            if (n <= 0) break;
            got += static_cast<std::size_t>(n);
        }
        bytes.resize(got);
    }
    close(descriptor);
    if (error != 0) return fail(reason(error));
    if (!detail.empty()) return fail(detail);
    return bytes;
}

AtomicFile::AtomicFile(AtomicFile&& other) noexcept
    : target_(std::move(other.target_)), aside_(std::exchange(other.aside_, {})),
      error_(other.error_), buffer_(std::move(other.buffer_)) {}

AtomicFile& AtomicFile::operator=(AtomicFile&& other) noexcept {
    if (this != &other) {
        discard();
        target_ = std::move(other.target_);
        aside_ = std::exchange(other.aside_, {});
        error_ = other.error_;
        buffer_ = std::move(other.buffer_);
    }
    return *this;
}

AtomicFile::~AtomicFile() {
    discard();
}

Result<AtomicFile> AtomicFile::create(const std::filesystem::path& path) {
    const auto fail = [&](std::string why) {
        return Problem{"cannot write the file", path.string(), std::move(why)};
    };
    auto target = writeTarget(path);
    if (!target) return target.problem();
    if (target->kind != WriteTarget::Kind::file) {
        const int descriptor = target->kind == WriteTarget::Kind::nullDevice
                                   ? open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY)
                                   : fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        if (descriptor < 0) return fail(reason(errno));
        return AtomicFile(std::move(*target), Temporary{descriptor, {}});
    }
    auto aside = makeTemporaryFile(target->path.parent_path());
    if (!aside) return fail(aside.problem().detail);
    AtomicFile file(std::move(*target), std::move(*aside));
    const int descriptor = file.aside_.descriptor;
    struct stat old {};
    const bool isNew = stat(file.target_.path.c_str(), &old) != 0;
    if (!isNew && fchown(descriptor, old.st_uid, old.st_gid) != 0) {
        // Only root can keep another's owner; the data matters more.
    }
    if (fchmod(descriptor, isNew ? newFileMode() : old.st_mode & 07777) != 0) {
        // Some file systems have no permissions.
    }
    return file;
}

void AtomicFile::write(std::string_view bytes) {
    buffer_ += bytes;
    if (buffer_.size() >= bufferSize) flush();
}

void AtomicFile::flush() {
    std::string_view rest = buffer_;
    while (error_ == 0 && !rest.empty()) {
        const ssize_t n = ::write(aside_.descriptor, rest.data(), rest.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error_ = errno;
        } else {
            rest.remove_prefix(static_cast<std::size_t>(n));
        }
    }
    buffer_.clear();
}

// Whether two open files have the same bytes; false where that cannot be told.
static bool haveSameBytes(int one, int other) {
    struct stat first {
    }, second{};
    if (fstat(one, &first) != 0 || fstat(other, &second) != 0 || !S_ISREG(second.st_mode) ||
        first.st_size != second.st_size)
        return false;
    std::string a(bufferSize, '\0'), b(bufferSize, '\0');
    for (off_t at = 0; at < first.st_size;) {
        const ssize_t n = pread(one, a.data(), a.size(), at);
        const ssize_t m = pread(other, b.data(), b.size(), at);
        if (n <= 0 || n != m || std::memcmp(a.data(), b.data(), static_cast<std::size_t>(n)) != 0)
            return false;
        at += n;
    }
    return true;
}

// Answers errno, or 0. What is there already stays, and so does its date. A file stays open, and
// locked, until it has its name: a second descriptor brings out what only closing tells.
int AtomicFile::place(Sync sync) {
    if (isStream()) return 0;
    const int descriptor = aside_.descriptor;
    const int old = open(target_.path.c_str(), O_RDONLY | O_CLOEXEC);
    if (old >= 0) {
        const bool isThere = haveSameBytes(descriptor, old) &&
                             (sync == Sync::later || fsync(old) == 0 || errno == EINVAL);
        close(old);
        if (isThere) return 0;
    }
    if (sync == Sync::wait && fsync(descriptor) != 0 && errno != EINVAL) return errno;
    const int second = dup(descriptor);
    if (second < 0 || close(second) != 0) return errno;
    const auto lock = lockRenaming();
    if (rename(aside_.path.c_str(), target_.path.c_str()) != 0) return errno;
    forgetTemporary(std::exchange(aside_.path, {}));
    return 0;
}

Result<> AtomicFile::commit(Sync sync) {
    const auto fail = [&](std::string why) {
        return Problem{"cannot write the file", target_.path.string(), std::move(why)};
    };
    flush();
    if (error_ == 0) error_ = place(sync);
    discard();
    if (error_ != 0) return fail(reason(error_));
    if (sync == Sync::later || isStream()) return done();
    const auto folder = target_.path.has_parent_path() ? target_.path.parent_path() : ".";
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return done(); // a folder that may be written but not read
    const int error = fsync(descriptor) == 0 || errno == EINVAL ? 0 : errno;
    close(descriptor);
    if (error == 0) return done();
    return fail("it is there, but its folder could not be brought to the disk: " + reason(error));
}

void AtomicFile::discard() {
    if (aside_.descriptor < 0) return;
    if (!aside_.path.empty()) {
        unlink(aside_.path.c_str());
        forgetTemporary(aside_.path);
    }
    close(aside_.descriptor);
    aside_ = {};
}

Result<> checkWritable(const std::filesystem::path& path) {
    const auto fail = [&](std::string detail) {
        return Problem{"cannot write the file", path.string(), std::move(detail)};
    };
    const auto target = writeTarget(path);
    if (!target) return target.problem();
    if (target.value().kind != WriteTarget::Kind::file) return done();
    const auto& file = target.value().path;
    const auto place = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    if (access(place.c_str(), W_OK) != 0) return fail(reason(errno));
    return done();
}

Result<> writeFile(const std::filesystem::path& path, std::string_view bytes) {
    auto file = AtomicFile::create(path);
    if (!file) return file.problem();
    file->write(bytes);
    return file->commit();
}

} // namespace cadencora::stage
