#include "plugin/keys/modify_channel.h"

#include "plugin/keys/random_fraction.h"
#include "plugin/keys/range_walk.h"

namespace cadencora {

// A step that moves the key to another time, where it overwrites a key already there. The walk goes
// on after the new place. A key that the host does not accept there stays, and so does one whose
// new time is its own for the host.
static host::Key moveKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                         host::Key key, double newTime, double value) {
    const host::Key moved = findAndCopyKey(envelopes, envelope, envelope, key, newTime, value);
    if (!moved) return envelopes->nextKey(envelope, key);
    if (moved != key) envelopes->destroyKey(envelope, key);
    return envelopes->nextKey(envelope, moved);
}

int modifyChannel(const void*, const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                  double start, double end, double amount, int mode) {
    const auto step = [=](host::Key key, double time, double value) {
        double newValue = value;
        double newTime = time;
        switch (mode) {
        case addMode:
            newValue = amount + value;
            break;
        case multiplyMode:
            newValue = amount * value;
            break;
        case overwriteMode:
            newValue = amount;
            break;
        case jitterValue:
            newValue = randomSignFraction() * amount + value;
            break;
        case jitterTime:
            newTime = randomSignFraction() * amount + time;
            break;
        case jitterBoth: {
            const double change = randomSignFraction() * amount;
            newValue = change + value;
            newTime = change + time;
            break;
        }
        default:
            return envelopes->nextKey(envelope, key);
        }
        if (newTime != time) return moveKey(envelopes, envelope, key, newTime, newValue);
        if (mode != jitterTime) envelopes->keySet(envelope, key, host::keyValue, &newValue);
        return envelopes->nextKey(envelope, key);
    };
    return walkRange(envelopes, envelope, start, end, step);
}

} // namespace cadencora
