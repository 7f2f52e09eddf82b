// Keying, unkeying and resetting all morph channels of an item at one time.
//
// A morph channel is any channel of a direct sub-group of the item's channel group. Calls the
// host's services and single keys; nothing is reported to the user.
#pragma once

#include "plugin/host/channel_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/item_info.h"

namespace cadencora {

// All three answer 1 when the item was processed, 0 when it was refused: a null service or item,
// no channel group, or an item that has children. Times are seconds.

// Keys each channel that has no key at the time with the channel's value there.
int keyAllMorphChannels(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                        const host::ItemInfo* items, host::Item item, double time);

// Destroys the key that is exactly at the time.
int unkeyAllMorphChannels(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                          const host::ItemInfo* items, host::Item item, double time);

// Keys each channel whose value at the time is not exactly 0.0 to 0.0.
int resetAllMorphChannels(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                          const host::ItemInfo* items, host::Item item, double time);

} // namespace cadencora
