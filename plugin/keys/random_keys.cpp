#include "plugin/keys/random_keys.h"

#include "plugin/host/channel_walk.h"
#include "plugin/keys/channel_kinds.h"
#include "plugin/keys/random_fraction.h"
#include "plugin/keys/single_keys.h"

namespace cadencora {

static void keyPresentValue(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                            double time) {
    findAndSetKey(envelopes, envelope, time, envelopes->evaluate(envelope, time));
}

int createRandomKeysChannel(const void*, const host::EnvelopeFuncs* envelopes,
                            host::Envelope envelope, double start, double end, int count,
                            int method) {
    if (start > end || count <= 0 || (method != randomTimes && method != evenSpread)) return 0;
    const double span = end - start;
    const double step = span / count;
    for (int i = 0; i < count; ++i) {
        const double r = randomFraction();
        const double offset = method == randomTimes ? r * span : r * step + i * step;
        keyPresentValue(envelopes, envelope, offset + start);
    }
    return 1;
}

bool isOfSelectedKind(const host::ChannelInfo* channels, host::Channel channel, int selection) {
    switch (selection) {
    case boneRotation:
        return isRotationChannel(channels, channel) != 0;
    case objectPosition:
        return isPositionChannel(channels, channel) != 0;
    default:
        return false;
    }
}

int createRandomKeysChannelGroup(const host::ChannelInfo* channels,
                                 const host::EnvelopeFuncs* envelopes, host::Group group,
                                 double start, double end, int count, int method, int selection) {
    if (start > end || (method != groupedRandom && method != groupedEven)) return 0;
    const double span = end - start;
    const double step = span / count;
    for (int i = 0; i < count; ++i) {
        const double r = randomFraction();
        const double offset = method == groupedRandom ? r * span : step * i + r * step;
        walkGroup(channels, group, [&](host::Channel channel) {
            if (selection != allChannels && !isOfSelectedKind(channels, channel, selection)) return;
            if (const host::Envelope envelope = channels->channelEnvelope(channel))
                keyPresentValue(envelopes, envelope, start + offset);
        });
    }
    return 0;
}

} // namespace cadencora
