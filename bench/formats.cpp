// Times reading and writing files, in nanoseconds per key: a motion capture of 60 joints, and 60
// nodes that are moved, turned and scaled.

#include "stage/formats/registry.h"

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
    std::filesystem::path path;
    explicit ScratchFile(const char* extension = ".bvh")
        : path(std::filesystem::temp_directory_path() /
               (std::string("cadencora-bench") + extension)) {}
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

// What was read keeps the file's own angles, which writing then uses again.
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

// Objects with linear keys on all nine motion channels.
Scene makeNodes(int frames) {
    Scene scene;
    scene.name = "nodes";
    for (int n = 0; n < joints; ++n) {
        const ItemId item = scene.addItem(ItemType::object, "Node" + std::to_string(n));
        for (std::size_t c = 0; c < motionChannelCount; ++c)
            for (int f = 0; f < frames; ++f)
                scene.mutableMotion(item, static_cast<MotionChannel>(c))
                    .keys.append(scene.rate.timeOf(f),
                                 1 + 0.4 * std::sin(0.01 * f + static_cast<double>(c) + n),
                                 Shape::linear);
    }
    scene.lastFrame = scene.previewLast = frames - 1;
    return scene;
}

// A document of its own: every curve is merged and checked.
void writeGlb(benchmark::State& state) {
    const ScratchFile file(".glb");
    const Scene scene = makeNodes(static_cast<int>(state.range(0)));
    timePerKey(state, scene.keyCount(), [&] { return writeScene(scene, file.path).ok(); });
}

void readGlb(benchmark::State& state) {
    const ScratchFile file(".glb");
    const Scene scene = makeNodes(static_cast<int>(state.range(0)));
    if (!writeScene(scene, file.path)) state.SkipWithError("cannot write");
    timePerKey(state, scene.keyCount(), [&] { return readScene(file.path).ok(); });
}

// What was read is compared with its file, curve by curve; where `edit`, one key of every node's
// rotation is another.
void rewriteGlb(benchmark::State& state, bool edit) {
    const ScratchFile file(".glb");
    auto written = writeScene(makeNodes(static_cast<int>(state.range(0))), file.path);
    auto loaded = readScene(file.path);
    if (!written || !loaded) {
        state.SkipWithError("cannot prepare the file");
        return;
    }
    Scene& scene = loaded->scene;
    for (std::size_t i = 0; edit && i < scene.itemCount(); ++i) {
        KeyStore& keys = scene.mutableMotion(Scene::itemAt(i), heading).keys;
        keys.setValue(keys.last(), 0.5);
    }
    timePerKey(state, scene.keyCount(), [&] { return writeScene(scene, file.path).ok(); });
}

BENCHMARK(writeGlb)->Arg(2000)->ArgName("frames")->Unit(benchmark::kMillisecond);
BENCHMARK(readGlb)->Arg(2000)->ArgName("frames")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rewriteGlb, untouched, false)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(rewriteGlb, turned, true)->Arg(2000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace cadencora::stage
