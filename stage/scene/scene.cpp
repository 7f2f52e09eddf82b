#include "stage/scene/scene.h"

#include "stage/base/text.h"
#include "stage/scene/keys/settle.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace cadencora::stage {

const std::array<std::string_view, motionChannelCount> motionChannelNames{
    "Position.X", "Position.Y", "Position.Z", "Rotation.H", "Rotation.P",
    "Rotation.B", "Scale.X",    "Scale.Y",    "Scale.Z"};

std::string_view itemTypeName(ItemType type) {
    constexpr std::array<std::string_view, 4> names{"object", "light", "camera", "bone"};
    return names[static_cast<std::size_t>(type)];
}

ItemId Scene::addItem(ItemType type, std::string itemName, ItemId parent, ItemId owner) {
    assert((type == ItemType::bone) == (owner != ItemId::none));
    items_.emplace_back();
    const ItemId id = itemAt(items_.size() - 1);
    Item& added = items_.back();
    added.type = type;
    added.name = std::move(itemName);
    added.parent = parent;
    added.owner = owner;

    const auto append = [&](ItemId& first, ItemId& last, ItemId Item::*next) {
        (last == ItemId::none ? first : item(last).*next) = id;
        last = id;
    };
    if (parent != ItemId::none)
        append(item(parent).firstChild, item(parent).lastChild, &Item::nextSibling);
    const auto t = static_cast<std::size_t>(type);
    if (type == ItemType::bone) {
        append(item(owner).firstBone, item(owner).lastBone, &Item::nextOfType);
    } else {
        append(first_[t], last_[t], &Item::nextOfType);
    }

    groups_.push_back({added.name, id, GroupId::none, 0, {}, {}});
    added.group = static_cast<GroupId>(groups_.size());
    for (std::size_t c = 0; c < motionChannelCount; ++c)
        added.motion[c] =
            addChannel(added.group, std::string(motionChannelNames[c]), c >= scaleX ? 1.0 : 0.0);
    return id;
}

void Scene::rename(ItemId id, const std::string& newName) {
    Item& renamed = item(id);
    renamed.name = groups_[index(renamed.group)].name = newName;
    renamed.nameInFile.reset();
}

void Scene::makeNamesUnique() {
    std::unordered_map<std::string, std::size_t> next; // by name: the first k that was not tried
    std::vector<Item*> twins;
    for (Item& item : items_)
        if (!next.emplace(item.name, 2).second) twins.push_back(&item);
    for (Item* item : twins) {
        std::size_t& k = next[item->name];
        std::string unique;
        do
            unique = item->name + "#" + std::to_string(k++);
        while (next.contains(unique));
        item->nameInFile = std::exchange(item->name, unique);
        groups_[index(item->group)].name = unique;
        next.emplace(std::move(unique), 2);
    }
}

GroupId Scene::addGroup(GroupId parent, std::string groupName) {
    groups_.push_back(
        {std::move(groupName), group(parent).item, parent, group(parent).groups.size(), {}, {}});
    const auto id = static_cast<GroupId>(groups_.size());
    groups_[index(parent)].groups.push_back(id);
    return id;
}

ChannelId Scene::addChannel(GroupId group, std::string channelName, double rest) {
    auto& listed = groups_[index(group)].channels;
    const auto number = channels_.size() + 1;
    channels_.push_back(
        {std::move(channelName), group, listed.size(), static_cast<EnvelopeId>(number)});
    envelopes_.push_back(std::make_unique<Envelope>());
    envelopes_.back()->rest = rest;
    const auto id = static_cast<ChannelId>(number);
    listed.push_back(id);
    return id;
}

Scene Scene::snapshot() const {
    Scene copy;
    copy.name = name;
    copy.rate = rate;
    copy.lastFrame = lastFrame;
    copy.previewFirst = previewFirst;
    copy.previewLast = previewLast;
    copy.currentTime = currentTime;
    copy.selection = selection;
    copy.source = source;
    copy.items_ = items_;
    copy.groups_ = groups_;
    copy.channels_ = channels_;
    copy.first_ = first_;
    copy.last_ = last_;
    copy.envelopes_.reserve(envelopes_.size());
    for (const auto& envelope : envelopes_)
        copy.envelopes_.push_back(envelope ? std::make_unique<Envelope>(*envelope) : nullptr);
    return copy;
}

ClipMotion ClipMotion::copy() const {
    ClipMotion other{{},           channelLists, rate,        lastFrame,
                     previewFirst, previewLast,  currentTime, source};
    for (const auto& envelope : envelopes)
        other.envelopes.push_back(envelope ? std::make_unique<Envelope>(*envelope) : nullptr);
    return other;
}

// Channels that an edit has added come after those of the file.
bool Scene::isClipLike(const Scene& other) const {
    const auto sameItem = [](const Item& a, const Item& b) {
        return a.name == b.name && a.type == b.type && a.group == b.group && a.motion == b.motion;
    };
    const auto sameChannel = [](const Channel& a, const Channel& b) {
        return a.name == b.name && a.group == b.group;
    };
    const std::size_t shared = std::min(channels_.size(), other.channels_.size());
    return std::ranges::equal(items_, other.items_, sameItem) &&
           groups_.size() == other.groups_.size() &&
           std::equal(channels_.begin(), channels_.begin() + static_cast<std::ptrdiff_t>(shared),
                      other.channels_.begin(), sameChannel) &&
           other.channels_.size() <= channels_.size();
}

ClipMotion Scene::motionOf(Scene scene) {
    ClipMotion motion;
    motion.channelLists.resize(scene.groups_.size());
    scene.exchange(motion);
    return motion;
}

void Scene::exchange(ClipMotion& motion) {
    std::swap(envelopes_, motion.envelopes);
    envelopes_.resize(channels_.size()); // the other clip has none of what was added in this one
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        std::swap(groups_[i].channels, motion.channelLists[i]);
        numberChannels(static_cast<GroupId>(i + 1));
    }
    std::swap(rate, motion.rate);
    std::swap(lastFrame, motion.lastFrame);
    std::swap(previewFirst, motion.previewFirst);
    std::swap(previewLast, motion.previewLast);
    std::swap(currentTime, motion.currentTime);
    std::swap(source, motion.source);
}

void Scene::numberChannels(GroupId id) {
    const auto& listed = group(id).channels;
    for (std::size_t i = 0; i < listed.size(); ++i)
        channels_[index(listed[i])].indexInGroup = i;
}

std::size_t Scene::itemCount(ItemType type) const {
    return static_cast<std::size_t>(std::ranges::count(items_, type, &Item::type));
}

std::size_t Scene::keyCount() const {
    std::size_t count = 0;
    for (const auto& envelope : envelopes_)
        if (envelope) count += envelope->keys.size();
    return count;
}

ItemId Scene::findItem(std::string_view itemName) const {
    const auto found = std::ranges::find(items_, itemName, &Item::name);
    return found == items_.end() ? ItemId::none
                                 : itemAt(static_cast<std::size_t>(found - items_.begin()));
}

std::string Scene::namesLike(std::string_view wanted) const {
    std::vector<std::string> names;
    for (const Item& item : items_)
        names.push_back(item.name);
    return alternatives(wanted, std::move(names));
}

ChannelId Scene::findChannel(GroupId groupId, std::string_view channelName) const {
    for (const ChannelId id : group(groupId).channels)
        if (channel(id).name == channelName) return id;
    return ChannelId::none;
}

std::string Scene::channelPath(ChannelId id) const {
    std::string path = channel(id).name;
    for (GroupId g = channel(id).group; g != GroupId::none; g = group(g).parent) {
        const bool own = group(g).parent == GroupId::none;
        path.insert(0, (own ? item(group(g).item).name : group(g).name) + "/");
    }
    return path;
}

std::int64_t Scene::frameCovering(double time) const {
    constexpr double slack = 1e-9; // a time computed otherwise may miss its frame by a rounding
    return static_cast<std::int64_t>(std::min(std::ceil(rate.frameOf(time) - slack), 2e9));
}

std::int64_t Scene::frameOfLastKey() const {
    double last = 0;
    for (const auto& envelope : envelopes_)
        if (envelope && !envelope->keys.empty())
            last = std::max(last, envelope->keys.last().time());
    return frameCovering(last);
}

void Scene::setRate(FrameRate newRate) {
    const auto convert = [&](std::int64_t frame) {
        const double moved = newRate.frameOf(rate.timeOf(frame));
        return static_cast<std::int64_t>(std::clamp(std::ceil(moved - 1e-9), -2e9, 2e9));
    };
    const bool previewToEnd = previewLast >= lastFrame;
    lastFrame = convert(lastFrame);
    previewFirst = convert(previewFirst);
    previewLast = convert(previewLast);
    rate = newRate;
    for (auto& envelope : envelopes_)
        if (envelope) settleOnFrames(envelope->keys, rate);
    lastFrame = std::max(lastFrame, frameOfLastKey());
    if (previewToEnd) previewLast = std::max(previewLast, lastFrame);
}

} // namespace cadencora::stage
