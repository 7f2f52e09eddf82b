// Whole files: read with a limit on their size, written aside and renamed when complete.
#pragma once

#include "stage/base/target.h"
#include "stage/base/temporary.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace cadencora::stage {

constexpr std::uintmax_t defaultFileLimit = std::uintmax_t{4} << 30; // bytes

// The bytes of a regular file of at most `limit` bytes. Nothing else is opened: a pipe may never
// end.
Result<std::string> readFile(const std::filesystem::path& path,
                             std::uintmax_t limit = defaultFileLimit);

// A file under construction beside its final place. Until commit() the old file, if any, stays as
// it is; without commit() no trace is left. The new file has the permissions of the old one, and
// for root its owner. What is no file (target.h) is written to on the way.
class AtomicFile {
public:
    // Fails where the directory is missing or may not be written, or where writeTarget() refuses.
    static Result<AtomicFile> create(const std::filesystem::path& path);

    AtomicFile(AtomicFile&& other) noexcept;
    AtomicFile& operator=(AtomicFile&& other) noexcept;
    ~AtomicFile();

    // Adds bytes; what cannot be written is reported by commit().
    void write(std::string_view bytes);

    // Puts the finished file in its place: whole, or not at all. `Sync::wait` waits until the disk
    // has it, and its name, so that this holds through a power failure too.
    enum class Sync { wait, later };
    Result<> commit(Sync sync = Sync::wait);

private:
    AtomicFile(WriteTarget target, Temporary aside)
        : target_(std::move(target)), aside_(std::move(aside)) {}
    bool isStream() const { return target_.kind != WriteTarget::Kind::file; }
    void flush();
    int place(Sync sync);
    void discard();

    WriteTarget target_;
    Temporary aside_; // of a stream: a descriptor without a file
    int error_ = 0;   // errno of the first failure
    std::string buffer_;
};

// What would keep a file from being written there, as far as can be known without trying.
Result<> checkWritable(const std::filesystem::path& path);

// Writes a whole file aside and renames it.
Result<> writeFile(const std::filesystem::path& path, std::string_view bytes);

} // namespace cadencora::stage
