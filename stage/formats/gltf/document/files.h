// The files that a glTF document names beside itself: buffers and images.
//
// Nothing outside the document's own directory tree is read or written.
#pragma once

#include "stage/base/result.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace cadencora::stage::gltf {

// The relative path that a URI of a document names. Refuses what is not a plain path below the
// document: URLs, absolute paths, "..", bytes that no name holds.
Result<std::filesystem::path> relativePath(std::string_view uri, const std::string& where);

// The bytes of a file of at most `limit` bytes below `directory`, after links are followed.
Result<std::string> readFileBeside(const std::filesystem::path& directory, std::string_view uri,
                                   const std::string& where, std::uintmax_t limit);

// Writes the file unless it exists with these bytes. Refuses to replace a file that differs.
// Answers the path of a file that was not there before; empty: it was.
Result<std::filesystem::path> placeFileBeside(const std::filesystem::path& directory,
                                              std::string_view uri, const std::string& where,
                                              std::string_view bytes);

} // namespace cadencora::stage::gltf
