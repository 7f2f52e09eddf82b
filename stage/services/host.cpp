#include "stage/services/host.h"

#include "stage/base/text.h"
#include "stage/panels/actions.h"
#include "stage/services/gate.h"
#include "stage/services/tables.h"

#include <algorithm>
#include <array>
#include <cassert>
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
    if (found == services.end() || host.faults().withheldServices.contains(name)) {
        host.missingServices.insert(std::string(name));
        return nullptr;
    }
    // The other records are the same at all times, and the plug-in looks them up often.
    if (name == host::sceneInfoName || name == host::interfaceInfoName) host.refreshRecords();
    return found->record();
}

} // namespace

Host::Host(Scene scene, FrontEnd& frontEnd, HostOptions options)
    : scene_(std::move(scene)), frontEnd_(frontEnd), options_(std::move(options)),
      panels_(frontEnd.metrics()), previous_(active_) {
    active_ = this;
    forgetEnvelope();
    journal_.setBudget(options_.undoBudget);
}

Host::~Host() {
    closePanels();
    passNumbers();
    forgetEnvelope();
    if (active_ == this) active_ = previous_;
}

// The next scene's numbers come after those of this one. An item's handle has 32 bits, for command
// lines: after 268 million items in one process the numbers start again.
void Host::passNumbers() {
    constexpr std::uint64_t mostItems = std::uint64_t{1} << 28;
    offsets_.items += scene_.itemCount();
    if (offsets_.items > mostItems / 2) offsets_.items = 0;
    offsets_.groups += scene_.groupCount();
    offsets_.channels += scene_.channelCount();
}

void Host::closePanels() {
    for (PanelModel& panel : panels_.panels()) {
        if (panel.destroyed) continue;
        panel.state = PanelState::closed;
        frontEnd_.panelClosed(panel);
    }
}

void Host::load(Scene scene) {
    assert(!scope_);
    closePanels();
    panels_.forgetItems();
    passNumbers();
    scene_ = std::move(scene);
    journal_.clear();
    forgetEnvelope();
    files.savedMotionPath.clear();
    files.written.clear();
    refreshRecords();
}

void Host::exchangeClip(ClipMotion& motion, Journal& journal) {
    assert(!scope_);
    const std::size_t budget = journal_.budget();
    scene_.exchange(motion);
    std::swap(journal_, journal);
    journal_.setBudget(budget);
    forgetEnvelope();
    refreshRecords();
}

std::uint64_t Host::addOwnEnvelope() {
    ownEnvelopes_[++lastOwnEnvelope_].keptBy = Envelope::inNoJournal;
    return lastOwnEnvelope_;
}

Envelope* Host::ownEnvelope(std::uint64_t number) {
    const auto found = ownEnvelopes_.find(number);
    return found == ownEnvelopes_.end() ? nullptr : &found->second;
}

void Host::destroyOwnEnvelope(std::uint64_t number) {
    ownEnvelopes_.erase(number);
    forgetEnvelope();
}

void* Host::lookup(const char* service, int use) {
    return gate<"service lookup", "global", &lookUp>(service, use);
}

void* Host::layoutGeneric() {
    return &layoutGenericRecord();
}

void Host::reportThrown(const HandlerThrew& thrown) {
    threw_ = true;
    report({"the plug-in threw an exception", inQuotes(thrown.control), thrown.what});
}

// No exception of a plug-in goes on into the stage, or into a toolkit below it.
void Host::guarded(const std::function<void()>& action) {
    try {
        action();
    } catch (const HandlerThrew& thrown) {
        reportThrown(thrown);
    } catch (const std::bad_alloc&) {
        threw_ = true;
        report(outOfMemory());
    }
}

ChangeReport Host::event(std::string name, const std::function<void()>& action,
                         const std::function<bool()>& keep) {
    if (scope_) { // an event inside an event, such as a button of an open dialog
        guarded(action);
        return {};
    }
    const std::string scopeName = inQuotes(name);
    scope_.emplace(scene_, std::move(name));
    threw_ = false;
    guarded(action);
    ChangeReport report;
    bool kept = !threw_ && keep();
    if (kept) {
        try {
            report = journal_.commit(*scope_);
        } catch (const std::bad_alloc&) {
            problems.push_back(outOfMemory(scopeName));
            kept = false;
        }
    }
    if (!kept) Journal::rollBack(std::move(*scope_));
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
    std::map<std::string, std::pair<std::size_t, int>> known; // by text: the place, and how often
    for (const Misuse& misuse : std::exchange(misuses, {})) {
        Problem problem{"the plug-in misused a service: " + misuse.reason,
                        misuse.service + "." + misuse.slot,
                        {}};
        auto& [place, times] = known.try_emplace(problem.text(), taken.size(), 0).first->second;
        if (++times == 1)
            taken.push_back(std::move(problem));
        else
            taken[place].detail = std::to_string(times) + " times";
    }
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
    } catch (const HandlerThrew& thrown) {
        reportThrown(thrown);
    } catch (const std::bad_alloc&) {
        threw_ = true; // the event cannot be kept
        report(outOfMemory());
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
