#include "plugin/keys/whole_channels.h"

#include "plugin/host/channel_walk.h"
#include "plugin/keys/frame_time.h"
#include "plugin/keys/range_walk.h"

#include <cstring>

namespace cadencora {

int clearChannel(const void*, const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                 double start, double end) {
    return walkRange(envelopes, envelope, start, end, [=](host::Key key, double, double) {
        const host::Key next = envelopes->nextKey(envelope, key);
        envelopes->destroyKey(envelope, key);
        return next;
    });
}

int copyShiftChannel(const void*, const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                     double start, double end, double gap) {
    return walkRange(envelopes, envelope, start, end,
                     [=](host::Key key, double time, double value) {
                         const double copyTime = ((end - start) + time) + gap;
                         if (copyTime != time)
                             findAndCopyKey(envelopes, envelope, envelope, key, copyTime, value);
                         return envelopes->nextKey(envelope, key);
                     });
}

// The next key is fetched before the move: of several keys that go forward onto one frame each gets
// there, and the last one's value remains.
int reKeyChannelToNearest(const void*, const host::EnvelopeFuncs* envelopes,
                          host::Envelope envelope, double start, double end, double fps) {
    return walkRange(envelopes, envelope, start, end,
                     [=](host::Key key, double time, double value) {
                         const host::Key next = envelopes->nextKey(envelope, key);
                         const double frameTime = roundTime(time, fps);
                         if (frameTime == time) return next;
                         const host::Key moved =
                             findAndCopyKey(envelopes, envelope, envelope, key, frameTime, value);
                         if (moved && moved != key) envelopes->destroyKey(envelope, key);
                         return next;
                     });
}

// The envelope of the first channel of that name in the group, or null.
static host::Envelope findEnvelope(const host::ChannelInfo* channels, host::Group group,
                                   const char* name) {
    host::Envelope found = nullptr;
    walkGroup(channels, group, [&](host::Channel channel) {
        const char* channelName = channels->channelName(channel);
        if (!channelName || std::strcmp(channelName, name) != 0) return true;
        found = channels->channelEnvelope(channel);
        return false;
    });
    return found;
}

int setChannelKeysWithTag(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                          const host::ItemInfo* items, host::Item item, const char* name,
                          double time, double value, int attribute, const void* content) {
    if (!envelopes || !channels || !items) return 0;
    const host::Group group = items->channelGroup(item);
    if (!group) return 0;
    const host::Envelope envelope = findEnvelope(channels, group, name);
    if (!envelope) return 0;
    findAndSetKeyWithTag(envelopes, envelope, time, value, attribute, content);
    return 1;
}

int setChannelKeys(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                   const host::ItemInfo* items, host::Group group, const char* name, double time,
                   double value) {
    if (!envelopes || !channels || !items || !group) return 0;
    const host::Envelope envelope = findEnvelope(channels, group, name);
    if (!envelope) return 0;
    findAndSetKey(envelopes, envelope, time, value);
    return 1;
}

} // namespace cadencora
