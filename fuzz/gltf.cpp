// Fuzzes the readers of .gltf and .glb files.

#include "stage/formats/gltf/gltf.h"
#include "fuzz/reading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cadencora::stage;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto read = gltf::isGlb(bytes) ? gltf::readGlb : gltf::readGltf;
    const auto loaded = read(bytes, "input.gltf", fuzzOptions());
    if (loaded) checkScene(loaded.value().scene);
    return 0;
}
