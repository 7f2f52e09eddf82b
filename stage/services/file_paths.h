// Where the paths lead that a plug-in hands to the file services.
#pragma once

#include "stage/base/result.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace cadencora::stage {

// "DIR:NAME": the longest prefix before a colon that is an existing directory, and one file name
// in it. Separators, control characters, percent signs and a leading dot in the name are written
// as "%2F", so that no name leaves its directory and different names stay different. A text
// without a colon is a plain path.
Result<std::filesystem::path> resolvePath(std::string_view text);

// One file name made of any text, by the escapes above.
std::string escapedFileName(std::string_view name);

} // namespace cadencora::stage
