// "Channel Info 2": the groups and channels of items, and their values.

#include "stage/services/gate.h"
#include "stage/services/tables.h"

namespace cadencora::stage {

namespace {

constexpr SlotName service = "Channel Info 2";

// The element after the given one; the first where none is given; `none` after the last.
template <class Id>
Id following(const std::vector<Id>& list, Id given, std::size_t index) {
    const std::size_t next = given == Id::none ? 0 : index + 1;
    return next < list.size() ? list[next] : Id::none;
}

GroupId nextGroup(Host& host, GroupId parent, OrNone<GroupId> group) {
    const Scene& scene = host.scene();
    if (group.id == GroupId::none) return following(scene.group(parent).groups, group.id, 0);
    if (scene.group(group.id).parent != parent)
        throw MisuseError{"the group is not a sub-group of that parent"};
    return following(scene.group(parent).groups, group.id, scene.group(group.id).indexInParent);
}

ChannelId nextChannel(Host& host, GroupId group, OrNone<ChannelId> channel) {
    const Scene& scene = host.scene();
    if (channel.id == ChannelId::none) return following(scene.group(group).channels, channel.id, 0);
    if (scene.channel(channel.id).group != group)
        throw MisuseError{"the channel is not of that group"};
    return following(scene.group(group).channels, channel.id,
                     scene.channel(channel.id).indexInGroup);
}

const char* groupName(Host& host, GroupId group) {
    return host.scene().group(group).name.c_str();
}

const char* channelName(Host& host, ChannelId channel) {
    return host.scene().channel(channel).name.c_str();
}

double channelEvaluate(Host& host, ChannelId channel, double time) {
    const Scene& scene = host.scene();
    return scene.envelope(scene.channel(channel).envelope).evaluate(scene.rate.settled(time));
}

EnvelopeId channelEnvelope(Host& host, ChannelId channel) {
    return host.scene().channel(channel).envelope;
}

} // namespace

host::ChannelInfo& channelInfo() {
    static host::ChannelInfo table{
        .nextGroup = gate<service, "nextGroup", &nextGroup>,
        .nextChannel = gate<service, "nextChannel", &nextChannel>,
        .groupName = gate<service, "groupName", &groupName>,
        .channelName = gate<service, "channelName", &channelName>,
        .slot4 = nullptr,
        .slot5 = nullptr,
        .slot6 = nullptr,
        .channelEvaluate = gate<service, "channelEvaluate", &channelEvaluate>,
        .channelEnvelope = gate<service, "channelEnvelope", &channelEnvelope>,
    };
    return table;
}

} // namespace cadencora::stage
