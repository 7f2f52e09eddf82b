// What the program makes for a while: files beside their final place, and scratch folders. They are
// named after the machine and locked while they are in use, so that what a killed run leaves behind
// is known for that, and removed by the next run that writes there.
//
// Safe on several threads. A forked child does not answer for what its parent has made.
#pragma once

#include "stage/base/result.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace cadencora::stage {

// A file or a folder of this process, open and locked. The owner closes the descriptor. It calls
// forgetTemporary() once the file is gone, or has its final name.
struct Temporary {
    int descriptor = -1;
    std::filesystem::path path;
};

// A new, empty file in a folder. What killed runs have left there is removed first, once for each
// folder.
Result<Temporary> makeTemporaryFile(const std::filesystem::path& folder);

// A new folder in the system's place for them, after the same.
Result<Temporary> makeTemporaryFolder();

void forgetTemporary(const std::filesystem::path& path);

// Held while a file gets its final name.
std::unique_lock<std::mutex> lockRenaming();

// For a process that is about to end in the middle of its work: removes all that it has made for a
// while, and what a plug-in has open under such a name. From then on no file gets its final name.
void removeTemporaries();

// What runs on other machines have left, or are about to rename, in folders that this process wrote
// to. It is left alone, since nothing here tells which. Each is answered once.
std::vector<std::filesystem::path> takeLeftByOthers();

// A folder that only this process uses. It is removed, with all its content, when the value is
// destroyed.
class TemporaryDirectory {
public:
    static Result<TemporaryDirectory> create();

    TemporaryDirectory(TemporaryDirectory&& other) noexcept
        : held_(std::exchange(other.held_, {})) {}
    TemporaryDirectory& operator=(TemporaryDirectory&& other) noexcept {
        std::swap(held_, other.held_);
        return *this;
    }
    ~TemporaryDirectory();

    const std::filesystem::path& path() const { return held_.path; }

private:
    explicit TemporaryDirectory(Temporary held) : held_(std::move(held)) {}
    Temporary held_;
};

} // namespace cadencora::stage
