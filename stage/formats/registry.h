// The table of formats: files that hold whole scenes are read and written by their extension.
#pragma once

#include "stage/formats/format.h"

namespace cadencora::stage {

std::span<const Format> formats();

// The format that a path's extension names, in any case; null where it names none.
const Format* formatOf(const std::filesystem::path& path);

// The format whose files begin like these bytes. Null where no format knows them.
const Format* formatOfContent(std::string_view bytes);

// "known are .bvh (BVH), ...": for messages about an unknown extension.
std::string knownExtensions();

Result<Loaded> readScene(const std::filesystem::path& path, const ReadOptions& options = {});
// The same of bytes that are no file's; the path names their format, and the place in problems.
Result<Loaded> readScene(std::string_view bytes, const std::filesystem::path& path,
                         const ReadOptions& options);
// The clip that `options` names of a file of this format that a scene with this memory was read
// from. `path` is for problems.
Result<Loaded> readClip(const SourceMemory& source, const Format& format,
                        const std::filesystem::path& path, const ReadOptions& options);
Result<Written> writeScene(const Scene& scene, const std::filesystem::path& path,
                           const WriteOptions& options = {});

// For several clips of one file; null where the format of the path holds one animation.
std::unique_ptr<ClipsWriter> writeClips(const std::filesystem::path& path,
                                        const WriteOptions& options = {});

} // namespace cadencora::stage
