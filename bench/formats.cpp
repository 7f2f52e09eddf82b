// Times reading and writing files, in nanoseconds per key: a motion capture of 60 joints.

#include "stage/formats/format.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <filesystem>

namespace cadencora::stage {
namespace {

constexpr int joints = 60;

// A chain of bones with three rotations each and a moving root, in the order of most captures.
Scene makeCapture(int frames) {
    Scene scene;
    scene.name = "capture";
    scene.rate = *FrameRate::of(120);
    const ItemId body = scene.addItem(ItemType::object, "capture");
    ItemId parent = body;
    for (int j = 0; j < joints; ++j) {
        parent = scene.addItem(ItemType::bone, "Joint" + std::to_string(j), parent, body);
        JointLayout& layout = scene.item(parent).joint;
        if (j == 0) layout.channels = {positionX, positionY, positionZ};
        layout.channels.insert(layout.channels.end(), {bank, heading, pitch});
        if (j + 1 == joints) layout.endSites = {{0, 1, 0}};
        for (const MotionChannel channel : layout.channels)
            for (int f = 0; f < frames; ++f)
                scene.mutableMotion(parent, channel)
                    .keys.append(scene.rate.timeOf(f),
                                 0.4 * std::sin(0.01 * f + static_cast<double>(channel) + j),
                                 Shape::linear);
    }
    scene.lastFrame = scene.previewLast = frames - 1;
    return scene;
}

// Runs `work`, which answers whether it went well, and reports its cost per key.
template <class Work>
void timePerKey(benchmark::State& state, std::size_t keys, const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state)
        if (!work()) state.SkipWithError("the file could not be read or written");
    const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
    state.counters["ns_per_key"] =
        took.count() / static_cast<double>(keys) / static_cast<double>(state.iterations());
}

struct ScratchFile {
    std::filesystem::path path = std::filesystem::temp_directory_path() / "cadencora-bench.bvh";
    ~ScratchFile() { std::filesystem::remove(path); }
};

void writeBvh(benchmark::State& state) {
    const ScratchFile file;
    const Scene scene = makeCapture(static_cast<int>(state.range(0)));
    timePerKey(state, scene.keyCount(), [&] { return writeScene(scene, file.path).ok(); });
}

void readBvh(benchmark::State& state) {
    const ScratchFile file;
    const Scene scene = makeCapture(static_cast<int>(state.range(0)));
    if (!writeScene(scene, file.path)) state.SkipWithError("cannot write");
    timePerKey(state, scene.keyCount(), [&] { return readScene(file.path).ok(); });
}

// What was read carries the file's own angles along, which writing then finds again.
void rewriteBvh(benchmark::State& state) {
    const ScratchFile file;
    auto written = writeScene(makeCapture(static_cast<int>(state.range(0))), file.path);
    const auto loaded = readScene(file.path);
    if (!written || !loaded) {
        state.SkipWithError("cannot prepare the file");
        return;
    }
    const Scene& scene = loaded.value().scene;
    timePerKey(state, scene.keyCount(), [&] { return writeScene(scene, file.path).ok(); });
}

BENCHMARK(writeBvh)->Arg(1000)->Arg(10000)->ArgName("frames")->Unit(benchmark::kMillisecond);
BENCHMARK(readBvh)->Arg(1000)->Arg(10000)->ArgName("frames")->Unit(benchmark::kMillisecond);
BENCHMARK(rewriteBvh)->Arg(1000)->Arg(10000)->ArgName("frames")->Unit(benchmark::kMillisecond);

} // namespace
} // namespace cadencora::stage
