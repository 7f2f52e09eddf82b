// The table of formats: files that hold whole scenes are read and written by their extension.
#pragma once

#include "stage/formats/format.h"

namespace cadencora::stage {

std::span<const Format> formats();

// The format that a path's extension names, in any case; null where it names none.
const Format* formatOf(const std::filesystem::path& path);

// "known are .bvh (BVH), ...": for messages about an unknown extension.
std::string knownExtensions();

Result<Loaded> readScene(const std::filesystem::path& path, const ReadOptions& options = {});
Result<Written> writeScene(const Scene& scene, const std::filesystem::path& path,
                           const WriteOptions& options = {});

} // namespace cadencora::stage
