#include "plugin/keys/morph_channels.h"

#include "plugin/host/channel_walk.h"
#include "plugin/keys/single_keys.h"

namespace cadencora {

template <class Step>
static int walkMorphChannels(const host::EnvelopeFuncs* envelopes,
                             const host::ChannelInfo* channels, const host::ItemInfo* items,
                             host::Item item, Step step) {
    if (!envelopes || !channels || !items || !item) return 0;
    const host::Group group = items->channelGroup(item);
    if (!group || items->firstChild(item)) return 0;
    for (host::Group morphs = channels->nextGroup(group, nullptr); morphs;
         morphs = channels->nextGroup(group, morphs))
        walkGroup(channels, morphs, [&](host::Channel channel) {
            if (const host::Envelope envelope = channels->channelEnvelope(channel))
                step(channel, envelope);
        });
    return 1;
}

int keyAllMorphChannels(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                        const host::ItemInfo* items, host::Item item, double time) {
    return walkMorphChannels(
        envelopes, channels, items, item, [=](host::Channel channel, host::Envelope envelope) {
            if (!envelopes->findKey(envelope, time))
                findAndSetKey(envelopes, envelope, time, channels->channelEvaluate(channel, time));
        });
}

int unkeyAllMorphChannels(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                          const host::ItemInfo* items, host::Item item, double time) {
    return walkMorphChannels(envelopes, channels, items, item,
                             [=](host::Channel, host::Envelope envelope) {
                                 if (const host::Key key = envelopes->findKey(envelope, time))
                                     envelopes->destroyKey(envelope, key);
                             });
}

int resetAllMorphChannels(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                          const host::ItemInfo* items, host::Item item, double time) {
    return walkMorphChannels(envelopes, channels, items, item,
                             [=](host::Channel channel, host::Envelope envelope) {
                                 if (channels->channelEvaluate(channel, time) != 0.0)
                                     findAndSetKey(envelopes, envelope, time, 0.0);
                             });
}

} // namespace cadencora
