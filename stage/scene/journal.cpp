#include "stage/scene/journal.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <limits>

namespace cadencora::stage {

namespace {

ChannelChange compare(const Envelope& before, const Envelope& after) {
    return {.channel = ChannelId::none,
            .keys = after.keys.differencesFrom(before.keys),
            .settingsChanged = before.before != after.before || before.after != after.after ||
                               !identical(before.rest, after.rest)};
}

} // namespace

EditScope::EditScope(Scene& scene, std::string name) : scene_(scene) {
    static std::atomic<std::uint64_t> scopes{0};
    serial_ = ++scopes;
    entry_.name = std::move(name);
    entry_.lastFrame = scene.lastFrame;
    entry_.previewLast = scene.previewLast;
}

void EditScope::keep(EnvelopeId id, Envelope& envelope) {
    if (envelope.keptBy == Envelope::inNoJournal) return;
    constexpr std::size_t few = 16; // a small edit is done with room for so many
    if (entry_.envelopes.empty()) entry_.envelopes.reserve(few);
    entry_.envelopes.push_back({id, envelope});
    envelope.keptBy = serial_;
}

void EditScope::keepChannels(GroupId group) {
    if (groups_.insert(group).second)
        entry_.groups.push_back({group, scene_.group(group).channels});
}

ChannelId EditScope::addChannel(GroupId group, std::string channelName, double rest) {
    keepChannels(group);
    const ChannelId id = scene_.addChannel(group, std::move(channelName), rest);
    added_.insert(id);
    return id;
}

void EditScope::removeChannel(ChannelId id) {
    const Channel channel = scene_.channel(id);
    keepChannels(channel.group);
    auto& listed = scene_.groups_[Scene::index(channel.group)].channels;
    listed.erase(listed.begin() + static_cast<std::ptrdiff_t>(channel.indexInGroup));
    scene_.numberChannels(channel.group);
    if (added_.erase(id) == 0) { // an undo brings its keys back
        envelope(channel.envelope).keys.clear();
        return;
    }
    const auto copy = std::find_if(entry_.envelopes.rbegin(), entry_.envelopes.rend(),
                                   [&](const auto& kept) { return kept.id == channel.envelope; });
    if (copy != entry_.envelopes.rend()) entry_.envelopes.erase(std::next(copy).base());
    scene_.envelopes_[Scene::index(id)].reset();
    scene_.channels_[Scene::index(id)].name.clear();
}

ChangeReport EditScope::report() const {
    // By envelope: its copy, if one was kept. Which channel an envelope belongs to is asked for
    // once per report, not kept in each envelope.
    std::vector<const Envelope*> before(entry_.envelopes.empty() ? 0 : scene_.channelCount() + 1);
    for (const auto& copy : entry_.envelopes)
        before[static_cast<std::size_t>(copy.id)] = &copy.other;

    ChangeReport report;
    double first = 0, last = 0;
    ItemId lastItem = ItemId::none;
    const auto visit = [&](ChannelId id) {
        const Channel& channel = scene_.channel(id);
        const Envelope* copy = before[static_cast<std::size_t>(channel.envelope)];
        if (!copy) return;
        ChannelChange change = compare(*copy, scene_.envelope(channel.envelope));
        const KeyStore::Differences& keys = change.keys;
        if (keys.count() == 0 && !change.settingsChanged) return;
        change.channel = id;
        if (keys.count() > 0) {
            const bool none = report.keysAdded + report.keysRemoved + report.keysChanged == 0;
            first = none ? keys.first : std::min(first, keys.first);
            last = none ? keys.last : std::max(last, keys.last);
        }
        report.keysAdded += keys.added;
        report.keysRemoved += keys.removed;
        report.keysChanged += keys.changed;
        report.channels.push_back(change);
        if (const ItemId item = scene_.group(channel.group).item; item != lastItem) {
            ++report.items;
            lastItem = item;
        }
    };
    if (!before.empty())
        for (std::size_t i = 0; i < scene_.itemCount(); ++i)
            visitChannels(scene_, scene_.item(Scene::itemAt(i)).group, visit);

    const auto addMissing = [](const std::vector<ChannelId>& from, const std::vector<ChannelId>& in,
                               std::vector<ChannelId>& missing) {
        const std::unordered_set<ChannelId> known(in.begin(), in.end());
        std::ranges::copy_if(from, std::back_inserter(missing),
                             [&](ChannelId id) { return !known.contains(id); });
    };
    for (const auto& list : entry_.groups) {
        const auto& now = scene_.group(list.id).channels;
        addMissing(now, list.other, report.channelsAdded);
        addMissing(list.other, now, report.channelsRemoved);
    }
    if (report.keysAdded + report.keysRemoved + report.keysChanged > 0) {
        report.firstFrame = scene_.rate.frameOf(first);
        report.lastFrame = scene_.rate.frameOf(last);
    }
    return report;
}

ChangeReport Journal::commit(EditScope& scope) {
    for (const auto& copy : scope.entry_.envelopes)
        scope.scene_.mutableEnvelope(copy.id).keptBy = 0;
    ChangeReport report = scope.report();
    if (report.empty()) return report;
    JournalEntry& entry = scope.entry_;
    for (const auto& copy : entry.envelopes)
        entry.bytes += copy.other.keys.bytesBeside(scope.scene_.envelope(copy.id).keys);
    coverLastKeys(scope.scene_, report);
    done_.push_back(std::move(entry));
    for (const JournalEntry& undone : undone_)
        bytes_ -= undone.bytes;
    undone_.clear();
    bytes_ += done_.back().bytes;
    keepToBudget();
    return report;
}

void Journal::setBudget(std::size_t bytes) {
    budget_ = bytes;
    keepToBudget();
}

void Journal::keepToBudget() {
    const std::size_t fewest = budget_ > 0 ? 1 : 0;
    std::size_t gone = 0;
    for (; bytes_ > budget_ && done_.size() - gone > fewest; ++gone)
        bytes_ -= done_[gone].bytes;
    done_.erase(done_.begin(), done_.begin() + static_cast<std::ptrdiff_t>(gone));
    givenUp_ += gone;
}

void Journal::rollBack(EditScope&& scope) {
    exchange(scope.scene_, scope.entry_);
}

void Journal::coverLastKeys(Scene& scene, const ChangeReport& report) {
    double last = 0; // seconds
    for (const ChannelChange& change : report.channels) {
        const KeyStore& keys = scene.envelope(scene.channel(change.channel).envelope).keys;
        if (!keys.empty()) last = std::max(last, keys.last().time());
    }
    const bool previewToEnd = scene.previewLast >= scene.lastFrame;
    scene.lastFrame = std::max(scene.lastFrame, scene.frameCovering(last));
    if (previewToEnd) scene.previewLast = std::max(scene.previewLast, scene.lastFrame);
}

void Journal::exchange(Scene& scene, JournalEntry& entry) {
    std::swap(scene.lastFrame, entry.lastFrame);
    std::swap(scene.previewLast, entry.previewLast);
    for (auto& copy : entry.envelopes)
        std::swap(scene.mutableEnvelope(copy.id), copy.other);
    for (auto& list : entry.groups) {
        scene.groups_[Scene::index(list.id)].channels.swap(list.other);
        scene.numberChannels(list.id);
    }
}

const std::string* Journal::undoName() const {
    return done_.empty() ? nullptr : &done_.back().name;
}
const std::string* Journal::redoName() const {
    return undone_.empty() ? nullptr : &undone_.back().name;
}

bool Journal::undo(Scene& scene) {
    if (done_.empty()) return false;
    exchange(scene, done_.back());
    undone_.push_back(std::move(done_.back()));
    done_.pop_back();
    return true;
}

bool Journal::redo(Scene& scene) {
    if (undone_.empty()) return false;
    exchange(scene, undone_.back());
    done_.push_back(std::move(undone_.back()));
    undone_.pop_back();
    return true;
}

void Journal::clear() {
    done_.clear();
    undone_.clear();
    bytes_ = givenUp_ = 0;
}

} // namespace cadencora::stage
