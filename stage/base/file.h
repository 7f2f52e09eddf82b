// Whole files: read with a limit on their size, written aside and renamed when complete.
#pragma once

#include "stage/base/result.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace cadencora::stage {

constexpr std::uintmax_t defaultFileLimit = std::uintmax_t{4} << 30; // bytes

// The bytes of a regular file of at most `limit` bytes.
Result<std::string> readFile(const std::filesystem::path& path,
                             std::uintmax_t limit = defaultFileLimit);

// A file under construction beside its final place. Until commit() the old file, if any, stays as
// it is; without commit() no trace is left.
class AtomicFile {
public:
    // Fails where the directory is missing or may not be written, or where `path` is a directory.
    static Result<AtomicFile> create(const std::filesystem::path& path);

    AtomicFile(AtomicFile&& other) noexcept;
    AtomicFile& operator=(AtomicFile&& other) noexcept;
    ~AtomicFile();

    // Adds bytes; what cannot be written is reported by commit().
    void write(std::string_view bytes);

    // Puts the finished file in its place: whole, or not at all. `Sync::wait` waits until the disk
    // has it, so that this holds through a power failure too.
    enum class Sync { wait, later };
    Result<> commit(Sync sync = Sync::wait);

private:
    AtomicFile(int descriptor, std::filesystem::path path, std::filesystem::path aside);
    void flush();
    void discard();

    int descriptor_ = -1;
    int error_ = 0; // errno of the first failure
    std::filesystem::path path_, aside_;
    std::string buffer_;
};

// A directory that only this process uses, in the system's place for temporary files. It is
// removed, with all its content, when the value is destroyed.
class TemporaryDirectory {
public:
    static Result<TemporaryDirectory> create();

    TemporaryDirectory(TemporaryDirectory&& other) noexcept
        : path_(std::exchange(other.path_, {})) {}
    TemporaryDirectory& operator=(TemporaryDirectory&& other) noexcept {
        std::swap(path_, other.path_);
        return *this;
    }
    ~TemporaryDirectory();

    const std::filesystem::path& path() const { return path_; }

private:
    explicit TemporaryDirectory(std::filesystem::path path) : path_(std::move(path)) {}
    std::filesystem::path path_;
};

// What would keep a file from being written there, as far as can be known without trying.
Result<> checkWritable(const std::filesystem::path& path);

// Writes a whole file aside and renames it.
Result<> writeFile(const std::filesystem::path& path, std::string_view bytes);

} // namespace cadencora::stage
