// Times the commands of "Transfer" through the loaded cadencora.so, from the acceptance of the last
// dialog to the change report: the work itself, without filling in the dialogs.

#include "stage/module/module.h"
#include "stage/services/host.h"
#include "stage/user/scripted_user.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <functional>

namespace cadencora::stage {
namespace {

using Clock = std::chrono::steady_clock;

struct TimedUser : ScriptedUser {
    Clock::time_point accepted; // the dialog closed last
    Clock::time_point returned; // the handler
    bool runModal(PanelModel& panel) override {
        const bool ok = ScriptedUser::runModal(panel);
        accepted = Clock::now();
        return ok;
    }
};

struct Stage {
    TemporaryDirectory folder = std::move(TemporaryDirectory::create().value());
    TimedUser user;
    Host host;

    explicit Stage(Scene scene) : host(std::move(scene), user) {
        user.lookAt(host.scene());
        static const auto module = Module::open(CADENCORA_PLUGIN_FILE);
        if (!module || !module.value().activate(&Host::lookup, Host::layoutGeneric())) std::abort();
    }

    bool perform(const Step& step) {
        Result<> performed = done();
        host.event(step.press, [&] {
            performed = user.perform(step);
            user.returned = Clock::now();
        });
        return performed.ok() && !user.sawError() && host.misuses.empty() && host.problems.empty();
    }

    // Runs a command over and over, undone each time; `per` is what one run's cost is divided by.
    // `prepare` may change the step before each run.
    void time(
        benchmark::State& state, const char* press, std::vector<Step::Setting> settings, double per,
        const char* counter, const std::function<void(Step&)>& prepare = [](Step&) {}) {
        Step step;
        step.press = press;
        step.settings = std::move(settings);
        double nanoseconds = 0, inHandler = 0;
        for (auto _ : state) {
            prepare(step);
            const bool good = perform(step);
            const std::chrono::duration<double, std::nano> took = Clock::now() - user.accepted;
            state.SetIterationTime(took.count() * 1e-9);
            nanoseconds += took.count();
            inHandler +=
                std::chrono::duration<double, std::nano>(user.returned - user.accepted).count();
            if (!good) state.SkipWithError("the command did not do its work");
            host.undo();
        }
        const double runs = per * static_cast<double>(state.iterations());
        state.counters[counter] = nanoseconds / runs;
        state.counters["in_handler"] = inHandler / runs; // without journal and change report
    }
};

Scene manyItems(int items, int keys) {
    Scene scene;
    for (int i = 0; i < items; ++i) {
        const ItemId item = scene.addItem(ItemType::object, "Item" + std::to_string(i));
        for (std::size_t c = 0; c < motionChannelCount; ++c)
            for (int k = 0; k < keys; ++k)
                scene.mutableMotion(item, static_cast<MotionChannel>(c))
                    .keys.append(scene.rate.timeOf(k), 0.001 * k + i, Shape::linear);
    }
    scene.lastFrame = scene.previewLast = keys;
    return scene;
}

const Step::Setting everything{"Use selected objects only", "off"};

void pose(benchmark::State& state, bool save) {
    constexpr int items = 20'000;
    Stage stage(manyItems(items, 1));
    const std::string path = (stage.folder.path() / "pose.lw_frame").string();
    Step saving;
    saving.press = "Save Single Frame data";
    saving.settings = {everything, {"File full path", path}};
    if (!stage.perform(saving)) return state.SkipWithError("no pose");
    stage.host.mutableScene().currentTime = 1;
    stage.time(state, save ? "Save Single Frame data" : "Load Single Frame data",
               {everything, {save ? "File full path" : "Load file full path", path}}, 1e6,
               "ms_for_20000_items");
}

void clip(benchmark::State& state, bool save) {
    constexpr int items = 100, keys = 1000;
    Stage stage(manyItems(items, keys));
    const std::string folder = stage.folder.path().string();
    Step saving;
    saving.press = "Save Clip data";
    saving.settings = {everything, {"New Motion directory", folder}};
    if (!stage.perform(saving)) return state.SkipWithError("no clip");
    // Each clip into a folder of its own: some file systems shun the places of files that were
    // replaced in the last seconds, and search ever longer.
    int folders = 0;
    const auto toFreshFolder = [&](Step& step) {
        const auto fresh = stage.folder.path() / std::to_string(folders++);
        std::filesystem::create_directory(fresh);
        step.settings.back().value = fresh.string();
    };
    const double all = items * motionChannelCount * keys;
    if (save)
        stage.time(state, "Save Clip data", {everything, {"New Motion directory", folder}}, all,
                   "ns_per_key", toFreshFolder);
    else
        stage.time(state, "Load Clip data", {everything, {"Motion directory", folder}}, all,
                   "ns_per_key");
}

// From the end of one chain of ten to the end of another, in the world.
void frameCopy(benchmark::State& state) {
    Scene scene;
    for (const char* name : {"Source", "Target"}) {
        ItemId item = ItemId::none;
        for (int i = 1; i <= 10; ++i)
            item = scene.addItem(ItemType::object, i == 10 ? name : "Link", item);
    }
    for (std::size_t i = 0; i < scene.itemCount(); ++i)
        for (std::size_t c = 0; c < motionChannelCount; ++c)
            for (int k = 0; k < 100; ++k)
                scene.mutableMotion(Scene::itemAt(i), static_cast<MotionChannel>(c))
                    .keys.append(scene.rate.timeOf(k), 0.5 + 0.01 * k, Shape::linear);
    scene.lastFrame = 100;
    scene.currentTime = 1.01; // between two keys
    Stage stage(std::move(scene));
    stage.time(state, "Node-to-Node Frame Copy", {{"Source", "Source"}, {"Target", "Target"}}, 1e3,
               "us_per_copy");
}

BENCHMARK_CAPTURE(pose, save, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pose, load, false)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clip, save, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(clip, load, false)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(frameCopy)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace cadencora::stage
