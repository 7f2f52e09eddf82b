// What is in a folder.
#pragma once

#include <filesystem>
#include <vector>

namespace cadencora::stage {

// The paths of its entries, in no order; as many as can be read.
std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& folder);

} // namespace cadencora::stage
