// Where the paths lead that a plug-in hands to the file services.
#pragma once

#include "stage/base/result.h"

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace cadencora::stage {

// "DIR:NAME": a directory, and one file name in it. The directory is the longest of the `chosen`
// ones that the text begins with, else the longest prefix before a colon that is an existing
// directory. Separators, control characters, percent signs and a leading dot in the name are
// written as "%2F", so that no name leaves its directory and different names stay different. A
// text without a colon is a plain path.
Result<std::filesystem::path> resolvePath(std::string_view text,
                                          const std::set<std::string, std::less<>>& chosen);

// One file name made of any text, by the escapes above.
std::string escapedFileName(std::string_view name);

} // namespace cadencora::stage
