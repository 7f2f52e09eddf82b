// Which clips of a file a command works on.
#pragma once

#include "stage/formats/format.h"

namespace cadencora::stage {

// The clips that have one of the names or fit one of the patterns, each once, in the order of the
// file; without any wanted, the one that is open. The one animation of a file without clips has an
// empty name, which "*" fits. A Problem names what was not met, with the nearest names.
Result<std::vector<std::string>> chosenClips(const Loaded& loaded,
                                             const std::vector<std::string>& wanted,
                                             const std::filesystem::path& path);

} // namespace cadencora::stage
