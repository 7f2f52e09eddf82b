// Changing the value or the time of every key of a range, by a fixed or a random amount.
//
// Calls the host's envelope service, single keys and the standard random generator.
#pragma once

#include "plugin/host/envelope_funcs.h"

namespace cadencora {

// Fixed modes, and jitter modes, where each key draws its own fraction of the amount.
enum ModifyMode : int {
    addMode = 0,
    multiplyMode = 1,
    overwriteMode = 2,
    jitterValue = 4,
    jitterTime = 5,
    jitterBoth = 6 // one fraction for both
};

// Modifies each key with start <= time <= end (seconds). The amount is in the channel's unit, for
// times in seconds. A key that moves takes the place of a key that it lands on; the walk goes on
// after its new place, so it may skip keys, or meet keys again. The context is not used. Answers
// 1 if the envelope had a key at all and start <= end, else 0; an unknown mode changes nothing.
int modifyChannel(const void* context, const host::EnvelopeFuncs* envelopes,
                  host::Envelope envelope, double start, double end, double amount, int mode);

} // namespace cadencora
