// Where a file is written that has a path: links followed, and nothing else than files taken.
#pragma once

#include "stage/base/result.h"

#include <filesystem>

namespace cadencora::stage {

struct WriteTarget {
    enum class Kind {
        file,          // there or not; replaced as a whole
        nullDevice,    // swallows what is written
        standardOutput // under any of its names
    };
    std::filesystem::path path; // of a file: no link
    Kind kind = Kind::file;
};

// Writing through a link changes what it points at, which need not exist. Refused are an empty
// name, folders, pipes, devices, and links in a circle.
Result<WriteTarget> writeTarget(const std::filesystem::path& path);

// Whether two paths lead to one file, whether it exists or not, links followed. Hard links are
// different files: writing to one leaves the other as it is.
bool isSamePlace(const std::filesystem::path& a, const std::filesystem::path& b);

// What isSamePlace compares.
std::filesystem::path placeOf(const std::filesystem::path& path);

} // namespace cadencora::stage
