#include "stage/base/file.h"

#include "stage/base/text.h"

#include <cerrno>
#include <cstdlib>
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
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return fail(reason(errno));
    struct stat status {};
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

AtomicFile::AtomicFile(int descriptor, std::filesystem::path path, std::filesystem::path aside)
    : descriptor_(descriptor), path_(std::move(path)), aside_(std::move(aside)) {}

AtomicFile::AtomicFile(AtomicFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), error_(other.error_),
      path_(std::move(other.path_)), aside_(std::move(other.aside_)),
      buffer_(std::move(other.buffer_)) {}

AtomicFile& AtomicFile::operator=(AtomicFile&& other) noexcept {
    if (this != &other) {
        discard();
        descriptor_ = std::exchange(other.descriptor_, -1);
        error_ = other.error_;
        path_ = std::move(other.path_);
        aside_ = std::move(other.aside_);
        buffer_ = std::move(other.buffer_);
    }
    return *this;
}

AtomicFile::~AtomicFile() {
    discard();
}

Result<AtomicFile> AtomicFile::create(const std::filesystem::path& path) {
    std::error_code ignored;
    // Writing through a link changes what it points at, as an editor would.
    std::filesystem::path target = path;
    if (std::filesystem::is_symlink(path, ignored)) {
        const auto real = std::filesystem::weakly_canonical(path, ignored);
        if (!ignored) target = real;
    }
    if (std::filesystem::is_directory(target, ignored))
        return Problem{"cannot write the file", path.string(), "it is a directory"};
    if (target.filename().empty())
        return Problem{"cannot write the file", path.string(), "the path has no file name"};
    std::string aside = (target.parent_path() / ".cadencora-XXXXXX").string();
    const int descriptor = mkostemp(aside.data(), O_CLOEXEC);
    if (descriptor < 0) return Problem{"cannot write the file", path.string(), reason(errno)};
    // An existing file keeps its permissions; a new one gets the usual ones.
    struct stat old {};
    const mode_t mode = stat(target.c_str(), &old) == 0 ? (old.st_mode & 07777) : newFileMode();
    if (fchmod(descriptor, mode) != 0) { /* the data matters more than the mode */
    }
    return AtomicFile(descriptor, std::move(target), aside);
}

void AtomicFile::write(std::string_view bytes) {
    buffer_ += bytes;
    if (buffer_.size() >= bufferSize) flush();
}

void AtomicFile::flush() {
    std::string_view rest = buffer_;
    while (error_ == 0 && !rest.empty()) {
        const ssize_t n = ::write(descriptor_, rest.data(), rest.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error_ = errno;
        } else {
            rest.remove_prefix(static_cast<std::size_t>(n));
        }
    }
    buffer_.clear();
}

Result<> AtomicFile::commit(Sync sync) {
    flush();
    if (error_ == 0 && sync == Sync::wait && fsync(descriptor_) != 0 && errno != EINVAL)
        error_ = errno;
    if (close(std::exchange(descriptor_, -1)) != 0 && error_ == 0) error_ = errno;
    if (error_ == 0 && rename(aside_.c_str(), path_.c_str()) != 0) error_ = errno;
    if (error_ == 0) return done();
    unlink(aside_.c_str());
    return Problem{"cannot write the file", path_.string(), reason(error_)};
}

void AtomicFile::discard() {
    if (descriptor_ < 0) return;
    close(std::exchange(descriptor_, -1));
    unlink(aside_.c_str());
}

Result<TemporaryDirectory> TemporaryDirectory::create() {
    std::error_code error;
    const auto place = std::filesystem::temp_directory_path(error);
    if (error) return Problem{"there is no place for temporary files", {}, error.message()};
    std::string path = (place / "cadencora-XXXXXX").string();
    if (!mkdtemp(path.data())) return Problem{"cannot make a directory", path, reason(errno)};
    return TemporaryDirectory(path);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

Result<> checkWritable(const std::filesystem::path& path) {
    const auto fail = [&](std::string detail) {
        return Problem{"cannot write the file", path.string(), std::move(detail)};
    };
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) return fail("it is a directory");
    const auto place = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
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
