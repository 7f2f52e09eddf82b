#include "stage/formats/gltf.h"
namespace cadencora::stage {
Result<Written> writeGltf(const Scene&, const std::filesystem::path&) {
    return Problem{};
}
Result<Written> writeGlb(const Scene&, const std::filesystem::path&) {
    return Problem{};
}
} // namespace cadencora::stage
