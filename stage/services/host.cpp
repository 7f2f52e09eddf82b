#include "stage/services/host.h"

#include "stage/services/gate.h"
#include "stage/services/tables.h"

#include <algorithm>
#include <array>
#include <limits>

namespace cadencora::stage {

namespace {

struct Service {
    std::string_view name;
    void* (*record)();
};

constexpr std::array services{
    Service{host::messageFuncsName, [] { return static_cast<void*>(&messageFuncs()); }},
    Service{host::panelFuncsName, [] { return static_cast<void*>(&panelFuncs()); }},
    Service{host::itemInfoName, [] { return static_cast<void*>(&itemInfo()); }},
    Service{host::sceneInfoName, [] { return static_cast<void*>(&sceneInfo()); }},
    Service{host::interfaceInfoName, [] { return static_cast<void*>(&interfaceInfo()); }},
    Service{host::channelInfoName, [] { return static_cast<void*>(&channelInfo()); }},
    Service{host::envelopeFuncsName, [] { return static_cast<void*>(&envelopeFuncs()); }},
    Service{host::fileIOFuncsName, [] { return static_cast<void*>(&fileIOFuncs()); }},
    Service{host::dirInfoName, [] { return reinterpret_cast<void*>(dirInfo()); }},
};

std::int32_t frameWord(std::int64_t frame) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(
        frame, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

void* lookUp(Host& host, std::string_view name, int) {
    const auto found = std::ranges::find(services, name, &Service::name);
    if (found == services.end() || host.faults.withheldServices.contains(name)) return nullptr;
    host.refreshRecords();
    return found->record();
}

} // namespace

Host::Host(Scene scene, FrontEnd& frontEnd, HostOptions options)
    : scene_(std::move(scene)), frontEnd_(frontEnd), options_(std::move(options)),
      panels_(frontEnd.metrics()), previous_(active_) {
    makeActive();
}

Host::~Host() {
    if (active_ == this) active_ = previous_;
}

void* Host::lookup(const char* service, int use) {
    return gate<"service lookup", "global", &lookUp>(service, use);
}

void* Host::layoutGeneric() {
    return &layoutGenericRecord();
}

ChangeReport Host::event(std::string name, const std::function<void()>& action,
                         const std::function<bool()>& keep) {
    if (scope_) { // an event inside an event, such as a button of an open dialog
        action();
        return {};
    }
    scope_.emplace(scene_, std::move(name));
    action();
    ChangeReport report;
    if (keep()) {
        report = journal_.commit(std::move(*scope_));
    } else {
        Journal::rollBack(std::move(*scope_));
    }
    scope_.reset();
    forgetEnvelope();
    files.savedMotionPath.clear();
    return report;
}

bool Host::undo() {
    if (scope_) return false;
    forgetEnvelope();
    return journal_.undo(scene_);
}

bool Host::redo() {
    if (scope_) return false;
    forgetEnvelope();
    return journal_.redo(scene_);
}

void Host::select(std::vector<ItemId> items) {
    scene_.selection = std::move(items);
    refreshRecords();
}

void Host::report(Problem problem) {
    if (std::ranges::find(problems, problem) == problems.end())
        problems.push_back(std::move(problem));
}

std::vector<Problem> Host::takeProblems() {
    std::vector<Problem> taken = std::exchange(problems, {});
    for (const Misuse& misuse : std::exchange(misuses, {}))
        taken.push_back({"the plug-in misused a service: " + misuse.reason,
                         misuse.service + "." + misuse.slot,
                         {}});
    return taken;
}

void Host::recordMisuse(std::string_view service, std::string_view slot, std::string reason) {
    // A plug-in that repeats a mistake in a loop must not fill the memory.
    constexpr std::size_t most = 1000;
    if (misuses.size() < most)
        misuses.push_back({std::string(service), std::string(slot), std::move(reason)});
}

void Host::recordThrown(const char* service, const char* slot) noexcept {
    try {
        throw;
    } catch (const MisuseError& misuse) {
        recordMisuse(service, slot, misuse.reason);
    } catch (const std::exception& failure) {
        recordMisuse(service, slot, failure.what());
    } catch (...) {
        recordMisuse(service, slot, "unknown failure");
    }
}

void Host::refreshRecords() {
    host::SceneInfo& scene = sceneInfo();
    scene.lastFrame = frameWord(scene_.lastFrame);
    scene.framesPerSecond = scene_.rate.perSecond();

    selectedHandles_.clear();
    for (const ItemId item : scene_.selection)
        selectedHandles_.push_back(encode(item));
    selectedHandles_.push_back(nullptr);
    host::InterfaceInfo& interface = interfaceInfo();
    interface.currentTime = scene_.currentTime;
    interface.selectedItems = selectedHandles_.data();
    interface.previewFirstFrame = frameWord(scene_.previewFirst);
    interface.previewLastFrame = frameWord(scene_.previewLast);
}

} // namespace cadencora::stage
