// Operations on all keys of a channel in a time range, and keying a channel by its name.
//
// Calls the host's services and single keys. A range is inclusive at both ends and compared
// exactly; times are seconds. Nothing is reported to the user.
#pragma once

#include "plugin/host/channel_info.h"
#include "plugin/host/envelope_funcs.h"
#include "plugin/host/item_info.h"

namespace cadencora {

// The range operations do not use their context. They answer 1 if the envelope had at least one
// key and start <= end, else 0.

// Destroys every key of the range.
int clearChannel(const void* context, const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                 double start, double end);

// Copies every key of the range to ((end - start) + time) + gap. A copy that lands in the range
// after the walk's place is copied again; a key where a copy lands is overwritten.
int copyShiftChannel(const void* context, const host::EnvelopeFuncs* envelopes,
                     host::Envelope envelope, double start, double end, double gap);

// Moves every key of the range onto its nearest whole frame. Of several keys that come onto one
// frame the last one remains. A key that cannot be moved stays.
int reKeyChannelToNearest(const void* context, const host::EnvelopeFuncs* envelopes,
                          host::Envelope envelope, double start, double end, double fps);

// Keys the first channel of exactly this name (case counts), directly in the item's group, and
// writes one attribute of the key. 0: a null service, no group, no such channel, no envelope.
int setChannelKeysWithTag(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                          const host::ItemInfo* items, host::Item item, const char* name,
                          double time, double value, int attribute, const void* content);

// The same on a group, without an attribute. `items` is only tested for null.
int setChannelKeys(const host::EnvelopeFuncs* envelopes, const host::ChannelInfo* channels,
                   const host::ItemInfo* items, host::Group group, const char* name, double time,
                   double value);

} // namespace cadencora
