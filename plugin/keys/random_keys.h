// New keys at random times of a range. Every key gets the curve's value at its time.
//
// Calls the host's channel and envelope services, single keys and the standard random generator.
#pragma once

#include "plugin/host/channel_info.h"
#include "plugin/host/envelope_funcs.h"

namespace cadencora {

// How the times are drawn. Even: one key in each of as many equal slices as there are keys.
// Grouped: all channels of a group get their keys at the same times.
enum RandomMethod : int { randomTimes = 0, evenSpread = 1, groupedRandom = 2, groupedEven = 3 };

// Which channels are meant.
enum ChannelSelection : int { allChannels = 0, boneRotation = 1, objectPosition = 2 };

// Whether a selection other than all channels means this channel, by its name.
bool isOfSelectedKind(const host::ChannelInfo* channels, host::Channel channel, int selection);

// Sets `count` keys on one channel by method 0 or 1; start and end are seconds, the context is not
// used. Answers 1 if at least one key was set; 0 too for start > end and for other methods.
int createRandomKeysChannel(const void* context, const host::EnvelopeFuncs* envelopes,
                            host::Envelope envelope, double start, double end, int count,
                            int method);

// Sets keys at `count` shared times on the selected channels of a group by method 2 or 3. An
// unknown selection keys no channel. Always answers 0.
int createRandomKeysChannelGroup(const host::ChannelInfo* channels,
                                 const host::EnvelopeFuncs* envelopes, host::Group group,
                                 double start, double end, int count, int method, int selection);

} // namespace cadencora
