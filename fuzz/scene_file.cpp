// Fuzzes the reader of scene files.

#include "stage/formats/native/scene_file.h"
#include "fuzz/reading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cadencora::stage;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto loaded = readSceneFile(text, "input.stage", fuzzOptions());
    if (loaded) checkScene(loaded.value().scene);
    return 0;
}
