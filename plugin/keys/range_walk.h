// The walk over the keys of a time range, shared by all operations that change a whole channel.
//
// Calls the host's envelope service and the operation's own step.
#pragma once

#include "plugin/keys/single_keys.h"

#include <cmath>

namespace cadencora {

// Applies `step` to each key with start <= time <= end: seconds, exact, both ends included. The
// step gets the key, its time and its value, may create and destroy keys, and answers the key to
// visit next. Answers 1 if the envelope had a key at all and start <= end, else 0.
template <class Step>
int walkRange(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, double start,
              double end, Step step) {
    if (start > end) return 0;
    host::Key key = envelopes->findKey(envelope, start);
    if (!key) key = envelopes->nextKey(envelope, nullptr);
    const int visited = key ? 1 : 0;
    while (key) {
        double time = NAN; // a key whose time the host does not tell is in no range
        double value = 0;
        getKeyData(envelopes, envelope, key, &time, &value);
        if (time > end) break;
        key = time >= start ? step(key, time, value) : envelopes->nextKey(envelope, key);
    }
    return visited;
}

} // namespace cadencora
