// "Animation Envelopes": curves and their keys. Times are seconds; a key is at one exact time.
#pragma once

#include "plugin/host/types.h"

#include <cstddef>

namespace cadencora::host {

constexpr const char* envelopeFuncsName = "Animation Envelopes";

// Key attributes of keySet and keyGet.
enum KeyAttribute : int {
    keyValue = 0, // double
    keyTime = 1,  // double, seconds
    keyShape = 2, // int: the shape of the span that arrives at the key
    keyParameterFirst = 3,
    keyParameterLast = 9 // 3 to 9: further attributes of eight bytes each
};

constexpr int heldShape = 4; // attribute 2: the previous key's value is held until this key

// Settings of setEnvelopeValue and getEnvelopeValue.
enum EnvelopeSetting : int { behaviourBefore = 1, behaviourAfter = 2 };

constexpr int floatEnvelope = 2; // the type argument of createEnvelope

struct EnvelopeFuncs {
    // slot 0: a new envelope in a group, owned by the caller until destroyEnvelope; null on failure
    Envelope (*createEnvelope)(Group group, const char* name, int type);
    void (*destroyEnvelope)(Envelope envelope); // slot 1
    Reserved slot2, slot3;
    void (*copyEnvelope)(Envelope to, Envelope from);         // slot 4: keys and settings
    void (*loadEnvelope)(Envelope envelope, LoadState state); // slot 5
    void (*saveEnvelope)(Envelope envelope, SaveState state); // slot 6
    double (*evaluate)(Envelope envelope, double time);       // slot 7
    Reserved slot8, slot9;
    Key (*createKey)(Envelope envelope, double time, double value); // slot 10: null if refused
    void (*destroyKey)(Envelope envelope, Key key);                 // slot 11
    Key (*findKey)(Envelope envelope, double time); // slot 12: exact time, else null
    Key (*nextKey)(Envelope envelope, Key key);     // slot 13: null gives the first key
    Reserved slot14;
    int (*keySet)(Envelope envelope, Key key, int attribute, const void* in); // slot 15: 0 refused
    int (*keyGet)(Envelope envelope, Key key, int attribute, void* out); // slot 16: 0 unavailable
    Reserved slot17;
    int (*setEnvelopeValue)(Envelope envelope, Group group, int tag, int* value); // slot 18
    int (*getEnvelopeValue)(Envelope envelope, Group group, int tag, int* value); // slot 19
};

static_assert(offsetof(EnvelopeFuncs, copyEnvelope) == slot(4));
static_assert(offsetof(EnvelopeFuncs, evaluate) == slot(7));
static_assert(offsetof(EnvelopeFuncs, createKey) == slot(10));
static_assert(offsetof(EnvelopeFuncs, nextKey) == slot(13));
static_assert(offsetof(EnvelopeFuncs, keySet) == slot(15));
static_assert(offsetof(EnvelopeFuncs, setEnvelopeValue) == slot(18));
static_assert(offsetof(EnvelopeFuncs, getEnvelopeValue) == slot(19));

} // namespace cadencora::host
