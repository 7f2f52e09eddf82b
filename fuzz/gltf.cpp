// Fuzzes the readers of .gltf and .glb files.

#include "stage/formats/gltf/gltf.h"
#include "fuzz/reading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cadencora::stage;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto read = gltf::isGlb(bytes) ? gltf::readGlb : gltf::readGltf;
    const auto loaded = read(bytes, "input.gltf", fuzzOptions());
    if (!loaded) return 0;
    checkScene(loaded.value().scene);
    ReadOptions options = fuzzOptions();
    constexpr std::size_t most = 4; // further clips
    for (std::size_t i = 1; i < std::min(most + 1, loaded.value().clips.size()); ++i) {
        options.clip = loaded.value().clips[i];
        if (const auto clip = gltf::readClip(*loaded.value().scene.source, options))
            checkScene(clip.value().scene);
    }
    options = fuzzOptions();
    options.edits = {.scale = 0.5, .names = {{"A", "B"}}};
    if (const auto edited = read(bytes, "input.gltf", options)) checkScene(edited.value().scene);
    return 0;
}
