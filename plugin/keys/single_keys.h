// Single keys of one envelope: reading, finding, creating, setting and copying.
//
// Calls only the host's envelope service; every change of keys in the plug-in ends here. A key is
// found by its exact time: a key a hair away is another key. A key that the host refuses to create
// is not an error: nothing further is written and null or 0 comes back.
#pragma once

#include "plugin/host/envelope_funcs.h"

namespace cadencora {

// Reads value, then time (seconds). Answers the host's result for the time; what the host does not
// deliver is left as it was.
inline int getKeyData(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, host::Key key,
                      double* time, double* value) {
    envelopes->keyGet(envelope, key, host::keyValue, value);
    return envelopes->keyGet(envelope, key, host::keyTime, time);
}

// The key at the time, or a new one there with the curve's present value. Null if refused.
host::Key findOrCreateKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                          double time);

// Sets the value of the key at the time, or creates one; other attributes stay.
void findAndSetKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, double time,
                   double value);

// The same, then writes one attribute from `content` (an int for attribute 2, else eight bytes).
// Returns the host's result of that write, 0 when there is no key to write to.
int findAndSetKeyWithTag(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, double time,
                         double value, int attribute, const void* content);

// Places a key at the time in `envelope` with the value and the source key's other attributes; a
// key already there is overwritten. Both envelopes may be one. Returns the placed key, or null.
host::Key findAndCopyKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                         host::Envelope sourceEnvelope, host::Key sourceKey, double time,
                         double value);

// Copies shape, the given value and the shape parameters onto the target key, never the time.
// Stops before the value if the shape cannot be read or written. Null arguments: does nothing.
void copyKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, host::Key targetKey,
             host::Envelope sourceEnvelope, host::Key sourceKey, double value);

} // namespace cadencora
