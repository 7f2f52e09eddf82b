// Times the plug-in's commands through the loaded cadencora.so, from the press of the button to the
// change report: dialogs, host calls and the edit journal included.
//
// Scenes hold I items x 9 channels x K keys. Three shapes with the same number of keys show how the
// cost per key grows with the length of a curve.

#include "bench/floor.h"
#include "stage/module/module.h"
#include "stage/services/host.h"
#include "stage/user/scripted_user.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace cadencora::stage {
namespace {

struct Shape {
    int items, keys;
    std::size_t total() const {
        return static_cast<std::size_t>(items) * motionChannelCount *
               static_cast<std::size_t>(keys);
    }
};

// Keys on every frame; with `offFrame`, every other key a third of a frame early.
Scene makeScene(Shape shape, bool offFrame) {
    Scene scene;
    scene.name = "bench";
    for (int i = 0; i < shape.items; ++i) {
        const ItemId item = scene.addItem(ItemType::object, "Item" + std::to_string(i));
        for (std::size_t c = 0; c < motionChannelCount; ++c) {
            KeyStore& keys = scene.mutableMotion(item, static_cast<MotionChannel>(c)).keys;
            for (int k = 0; k < shape.keys; ++k) {
                const bool early = offFrame && k % 2 == 1;
                const double time =
                    early ? (k - 1 / 3.0) / scene.rate.perSecond() : scene.rate.timeOf(k);
                keys.append(time, k % 100 * 0.01, stage::Shape::linear);
            }
        }
    }
    scene.lastFrame = scene.previewLast = shape.keys;
    return scene;
}

struct Command {
    const char* name;
    Step (*step)(Shape shape);
    bool offFrame;
    double (*keys)(Shape shape); // what the cost is divided by
};

Step wholeScene(const char* press, std::vector<Step::Setting> settings = {}) {
    Step step;
    step.press = press;
    step.settings = {{"Use selected objects only", "off"}};
    step.settings.insert(step.settings.end(), settings.begin(), settings.end());
    return step;
}

// Frames of the range that the commands with options work on: a quarter to three quarters.
Step middleHalf(Shape shape, const char* press, std::vector<Step::Setting> settings = {}) {
    settings.push_back({"Start", std::to_string(shape.keys / 4)});
    settings.push_back({"End", std::to_string(shape.keys / 4 * 3)});
    return wholeScene(press, std::move(settings));
}

double allKeys(Shape shape) {
    return static_cast<double>(shape.total());
}
double halfOfTheKeys(Shape shape) {
    return allKeys(shape) / 2;
}

Step moveRotateScale(Shape shape, const char* method) {
    return middleHalf(shape, "MoveRotateScale", {{"Method", method}});
}

Step jitter(Shape shape, const char* method) {
    return middleHalf(shape, "Randomize/Jitter Keys", {{"Method", method}, {"Max Value", "0.01"}});
}

constexpr int randomKeys = 1000; // per channel

const Command commands[] = {
    {"destroy_middle_half", [](Shape shape) { return middleHalf(shape, "Destroy Keys"); }, false,
     halfOfTheKeys},
    {"defractionalize_half_off_frame", [](Shape) { return wholeScene("Defractionalize"); }, true,
     allKeys},
    {"cycle_last_quarter_5_times", // per new key, after the last one
     [](Shape shape) {
         return wholeScene("Cycle (Bake) Keys", {{"Start", std::to_string(shape.keys / 4 * 3)},
                                                 {"End", std::to_string(shape.keys)},
                                                 {"Repeats", "5"}});
     },
     false, [](Shape shape) { return allKeys(shape) / 4 * 5; }},
    {"cycle_in_place_5_times", // per key placed, over keys that stand there
     [](Shape shape) {
         return wholeScene("Cycle (Bake) Keys",
                           {{"End", std::to_string(shape.keys / 8)}, {"Repeats", "5"}});
     },
     false, [](Shape shape) { return allKeys(shape) / 8 * 5; }},
    {"add", [](Shape shape) { return moveRotateScale(shape, "Add"); }, false, halfOfTheKeys},
    {"multiply",
     [](Shape shape) {
         Step step = moveRotateScale(shape, "Multiply");
         for (const auto channel : motionChannelNames)
             step.settings.push_back({std::string(channel), "1.5"});
         return step;
     },
     false, halfOfTheKeys},
    {"overwrite", [](Shape shape) { return moveRotateScale(shape, "Overwrite"); }, false,
     halfOfTheKeys},
    {"jitter_value", [](Shape shape) { return jitter(shape, "Value"); }, false, halfOfTheKeys},
    {"jitter_time", [](Shape shape) { return jitter(shape, "Time"); }, false, halfOfTheKeys},
    {"random_keys_1000_per_channel", // per new key
     [](Shape) {
         return wholeScene("Create Random Keys", {{"Max Keys", std::to_string(randomKeys)}});
     },
     false,
     [](Shape shape) {
         return static_cast<double>(shape.items * motionChannelCount) * randomKeys;
     }},
};

const Module& plugin() {
    static const Module module = [] {
        auto opened = Module::open(CADENCORA_PLUGIN_FILE);
        if (!opened) {
            std::fprintf(stderr, "%s\n", opened.problem().text().c_str());
            std::exit(1);
        }
        return std::move(opened).value();
    }();
    return module;
}

void runCommand(benchmark::State& state, const Command& command) {
    const Shape shape{static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
    const Step step = command.step(shape);
    ScriptedUser user;
    Host host(makeScene(shape, command.offFrame), user);
    user.lookAt(host.scene());
    if (auto active = plugin().activate(&Host::lookup, Host::layoutGeneric()); !active) {
        state.SkipWithError(active.problem().text().c_str());
        return;
    }
    double seconds = 0;
    for (auto _ : state) {
        Result<> performed = done();
        const auto start = std::chrono::steady_clock::now();
        const ChangeReport changes =
            host.event(step.press, [&] { performed = user.perform(step); });
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(took.count());
        seconds += took.count();
        if (!performed || user.sawError() || changes.empty() || !host.misuses.empty()) {
            state.SkipWithError("the command did not do its work");
            return;
        }
        host.undo();
    }
    const double keys = command.keys(shape) * static_cast<double>(state.iterations());
    state.counters["ns_per_key"] = seconds * 1e9 / keys;
}

// Scenes made and handed to a host, for the memory they take per key.
void memory(benchmark::State& state) {
    const Shape shape{static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
    std::size_t bytes = 0;
    for (auto _ : state) {
        const Scene scene = makeScene(shape, false);
        bytes = 0;
        for (std::size_t e = 1; e <= scene.channelCount(); ++e)
            bytes += scene.envelope(static_cast<EnvelopeId>(e)).keys.bytes();
    }
    state.counters["bytes_per_key"] =
        static_cast<double>(bytes) / static_cast<double>(shape.total());
}

void addShapes(benchmark::internal::Benchmark* benchmark) {
    for (const auto& [items, keys] : {std::pair{100, 1000}, {10, 10000}, {1, 100000}})
        benchmark->Args({items, keys});
    benchmark->ArgNames({"items", "keys"})->Unit(benchmark::kMillisecond);
}

} // namespace
} // namespace cadencora::stage

int main(int argc, char** argv) {
    using namespace cadencora::stage;
    for (const Command& command : commands)
        addShapes(benchmark::RegisterBenchmark(command.name, runCommand, command)->UseManualTime());
    addShapes(benchmark::RegisterBenchmark("make_scene", memory));
    cadencora::floor::registerBenchmarks();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
