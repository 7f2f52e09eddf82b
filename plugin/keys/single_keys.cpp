#include "plugin/keys/single_keys.h"

namespace cadencora {

host::Key findOrCreateKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                          double time) {
    const host::Key key = envelopes->findKey(envelope, time);
    if (key) return key;
    return envelopes->createKey(envelope, time, envelopes->evaluate(envelope, time));
}

void findAndSetKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, double time,
                   double value) {
    const host::Key key = envelopes->findKey(envelope, time);
    if (key)
        envelopes->keySet(envelope, key, host::keyValue, &value);
    else
        envelopes->createKey(envelope, time, value);
}

// As findAndSetKey. A created key is looked up again, so that only a key which really stands at
// the time is written to afterwards.
static host::Key placeKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                          double time, double value) {
    const host::Key key = envelopes->findKey(envelope, time);
    if (key) {
        envelopes->keySet(envelope, key, host::keyValue, &value);
        return key;
    }
    envelopes->createKey(envelope, time, value);
    return envelopes->findKey(envelope, time);
}

int findAndSetKeyWithTag(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, double time,
                         double value, int attribute, const void* content) {
    const host::Key key = placeKey(envelopes, envelope, time, value);
    return key ? envelopes->keySet(envelope, key, attribute, content) : 0;
}

host::Key findAndCopyKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope,
                         host::Envelope sourceEnvelope, host::Key sourceKey, double time,
                         double value) {
    const host::Key key = placeKey(envelopes, envelope, time, value);
    copyKey(envelopes, envelope, key, sourceEnvelope, sourceKey, value);
    return key;
}

void copyKey(const host::EnvelopeFuncs* envelopes, host::Envelope envelope, host::Key targetKey,
             host::Envelope sourceEnvelope, host::Key sourceKey, double value) {
    if (!envelopes || !envelope || !targetKey) return;
    int shape = 0;
    if (!envelopes->keyGet(sourceEnvelope, sourceKey, host::keyShape, &shape) ||
        !envelopes->keySet(envelope, targetKey, host::keyShape, &shape))
        return;
    envelopes->keySet(envelope, targetKey, host::keyValue, &value);
    for (int attribute = host::keyParameterFirst; attribute <= host::keyParameterLast;
         ++attribute) {
        double content = 0; // eight bytes, whatever they mean to the host
        if (envelopes->keyGet(sourceEnvelope, sourceKey, attribute, &content))
            envelopes->keySet(envelope, targetKey, attribute, &content);
    }
}

} // namespace cadencora
