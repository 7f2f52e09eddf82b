// "Animation Envelopes": envelopes and their keys.

#include "stage/base/text.h"
#include "stage/formats/native/motion_file.h"
#include "stage/scene/keys/settle.h"
#include "stage/services/gate.h"
#include "stage/services/tables.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace cadencora::stage {

namespace {

constexpr SlotName service = "Animation Envelopes";

// A name that no channel of the group has: the wanted one, else "NAME#2" and on.
std::string freeName(const Scene& scene, GroupId group, std::string_view wanted) {
    std::string name(wanted);
    for (int k = 2; scene.findChannel(group, name) != ChannelId::none; ++k)
        name = std::string(wanted) + "#" + std::to_string(k);
    return name;
}

host::Envelope createEnvelope(Host& host, OrNone<GroupId> group, std::string_view name, int type) {
    if (type != host::floatEnvelope) throw MisuseError{"envelope type " + std::to_string(type)};
    if (group.id == GroupId::none)
        return reinterpret_cast<host::Envelope>(handleWord(ownEnvelopeKind, host.addOwnEnvelope()));
    EditScope& edit = host.edit();
    const ChannelId made = edit.addChannel(group.id, freeName(host.scene(), group.id, name), 0);
    host.mutableScene().markAsOfPlugin(made);
    return encode(host.scene().channel(made).envelope);
}

void destroyEnvelope(Host& host, host::Envelope raw) {
    const auto word = reinterpret_cast<std::uintptr_t>(raw);
    if (kindOf(word) == ownEnvelopeKind && host.ownEnvelope(numberOf(word)))
        return host.destroyOwnEnvelope(numberOf(word));
    const ChannelId channel = Scene::channelOf(Wire<EnvelopeId>::in(host, raw));
    if (!host.scene().channel(channel).isOfPlugin)
        throw MisuseError{"the envelope was not made by createEnvelope"};
    host.edit().removeChannel(channel);
    host.forgetEnvelope();
}

void copyEnvelope(Host& host, EnvelopeRef to, EnvelopeRef from) {
    if (&to.envelope != &from.envelope) assign(edited(host, to), from.envelope);
}

void loadEnvelope(Host& host, EnvelopeRef envelope, host::LoadState state) {
    const auto file = host.files.loads.find(reinterpret_cast<std::uintptr_t>(state));
    if (file == host.files.loads.end()) throw MisuseError{"not an open load state"};
    LoadFile& load = file->second;
    if (load.next == load.envelopes.size())
        throw MisuseError{"no envelope is left in " + inQuotes(load.path.string()) +
                          ", which has " + std::to_string(load.next)};
    Envelope& target = edited(host, envelope);
    assign(target, load.envelopes[load.next++]);
    settleOnFrames(target.keys, host.scene().rate);
}

void saveEnvelope(Host& host, EnvelopeRef envelope, host::SaveState state) {
    const auto file = host.files.saves.find(reinterpret_cast<std::uintptr_t>(state));
    if (file == host.files.saves.end()) throw MisuseError{"not an open save state"};
    file->second.text += envelopeText(envelope.envelope);
}

// Settled, so that a key made with the curve's value is on the curve.
double evaluate(Host& host, EnvelopeRef envelope, double time) {
    return envelope->evaluate(host.scene().rate.settled(time));
}

// The key that a plug-in means by a time: exactly there; else on the frame that the time misses by
// a rounding, as sums of times do. Empty: there is none.
KeyStore::Cursor keyMeant(const KeyStore& keys, double time, double settled) {
    KeyStore::Cursor onFrame;
    const double last = std::max(time, settled);
    for (auto key = keys.atOrAfter(std::min(time, settled)); key && key.time() <= last;
         key.advance()) {
        if (key.time() == time) return key;
        if (key.time() == settled) onFrame = key;
    }
    return onFrame;
}

// The time that a key gets which a plug-in puts there.
double keyTime(const Host& host, const KeyStore& keys, double time) {
    const double settled = host.scene().rate.settled(time);
    if (settled == time) return time;
    const KeyStore::Cursor there = keyMeant(keys, time, settled);
    return there ? there.time() : settled;
}

KeyHandle createKey(Host& host, EnvelopeRef envelope, double time, double value) {
    if (!std::isfinite(time) || !std::isfinite(value))
        throw MisuseError{"a key needs a finite time and value"};
    Envelope& target = edited(host, envelope);
    return target.keys.handle(target.placeKey(keyTime(host, target.keys, time), value));
}

// The refusals are functions of their own, so that the usual calls stay short: they are made for
// every attribute of every key.
[[noreturn, gnu::cold, gnu::noinline]] void wrongKey(KeyHandle key) {
    throw MisuseError{key == KeyHandle::none ? "null key"
                                             : "the key is not of this envelope, or was destroyed"};
}

[[gnu::always_inline]] inline KeyStore::Cursor requireKey(const KeyStore& keys, KeyHandle key) {
    const KeyStore::Cursor cursor = keys.at(key);
    if (!cursor) [[unlikely]]
        wrongKey(key);
    return cursor;
}

void destroyKey(Host& host, EnvelopeRef envelope, KeyHandle key) {
    requireKey(envelope->keys, key);
    edited(host, envelope).keys.erase(key);
}

KeyHandle findKey(Host& host, EnvelopeRef envelope, double time) {
    KeyStore& keys = envelope.envelope.keys;
    const double settled = host.scene().rate.settled(time);
    if (settled == time || !std::isfinite(time)) return keys.find(time);
    const KeyStore::Cursor found = keyMeant(keys, time, settled);
    return found ? keys.handle(found) : KeyHandle::none;
}

KeyHandle nextKey(Host&, EnvelopeRef envelope, KeyHandle key) {
    KeyStore& keys = envelope.envelope.keys;
    if (key == KeyHandle::none) return keys.first();
    requireKey(keys, key);
    return keys.next(key);
}

template <class T>
T read(const void* in) {
    T value;
    std::memcpy(&value, in, sizeof value); // the caller's storage may lie at any address
    return value;
}

[[noreturn, gnu::cold, gnu::noinline]] void wrongAttribute(int attribute) {
    throw MisuseError{"key attribute " + std::to_string(attribute)};
}

[[noreturn, gnu::cold, gnu::noinline]] void nullAttribute() {
    throw MisuseError{"null attribute"};
}

Parameter parameterOf(int attribute) {
    if (attribute < host::keyParameterFirst || attribute > host::keyParameterLast) [[unlikely]]
        wrongAttribute(attribute);
    return static_cast<Parameter>(attribute - host::keyParameterFirst);
}

int keySet(Host& host, EnvelopeRef envelope, KeyHandle key, int attribute, const void* in) {
    if (!in) [[unlikely]]
        nullAttribute();
    const KeyStore::Cursor cursor = requireKey(envelope->keys, key);
    if (!host.faults.refusedAttributes.empty() && host.faults.refusedAttributes.contains(attribute))
        return 0;
    KeyStore& keys = edited(host, envelope).keys;
    if (attribute == host::keyShape) {
        const int shape = read<int>(in);
        if (!isShape(shape)) return 0;
        keys.setShape(cursor, static_cast<Shape>(shape));
        return 1;
    }
    const double number = read<double>(in);
    if (!std::isfinite(number)) return 0;
    switch (attribute) {
    case host::keyValue:
        keys.setValue(cursor, number);
        return 1;
    case host::keyTime:
        return keys.setTime(key, keyTime(host, keys, number)) ? 1 : 0;
    default:
        keys.setParameter(cursor, parameterOf(attribute), number);
        return 1;
    }
}

int keyGet(Host& host, EnvelopeRef envelope, KeyHandle key, int attribute, void* out) {
    if (!out) [[unlikely]]
        nullAttribute();
    const KeyStore::Cursor cursor = requireKey(envelope->keys, key);
    if (!host.faults.unavailableAttributes.empty() &&
        host.faults.unavailableAttributes.contains(attribute))
        return 0;
    const auto write = [&](auto value) { std::memcpy(out, &value, sizeof value); };
    switch (attribute) {
    case host::keyValue:
        write(cursor.value());
        break;
    case host::keyTime:
        write(cursor.time());
        break;
    case host::keyShape:
        write(static_cast<int>(cursor.shape()));
        break;
    default:
        write(cursor.parameter(parameterOf(attribute)));
    }
    return 1;
}

// The fast paths of the three calls that walks and copies consist of. Handles are checked as ever:
// the envelope's is one of the last that passed, the key's is looked up.
struct KnownKey {
    Envelope* envelope = nullptr;
    KeyStore::Cursor cursor; // empty: the fast path does not apply
};

[[gnu::always_inline]] inline KnownKey knownKey(Host& host, host::Envelope raw, host::Key key) {
    const LastEnvelopes::Entry* last = host.lastEnvelopes.find(raw);
    if (!last) return {};
    return {last->envelope, last->envelope->keys.at(Wire<KeyHandle>::in(host, key))};
}

bool isParameter(int attribute) {
    return attribute >= host::keyParameterFirst && attribute <= host::keyParameterLast;
}

bool fastNextKey(Host& host, host::Envelope envelope, host::Key key, host::Key& result) {
    const KnownKey known = knownKey(host, envelope, key);
    if (!known.cursor) return false;
    KeyHandle next;
    if (!known.envelope->keys.nextInPlace(known.cursor, next)) return false;
    result = Wire<KeyHandle>::out(next);
    return true;
}

bool fastKeyGet(Host& host, host::Envelope envelope, host::Key key, int attribute, void* out,
                int& result) {
    const KeyStore::Cursor cursor = knownKey(host, envelope, key).cursor;
    if (!cursor || !out || !host.faults.unavailableAttributes.empty()) return false;
    result = 1;
    double number;
    if (isParameter(attribute)) {
        number = cursor.parameter(static_cast<Parameter>(attribute - host::keyParameterFirst));
    } else if (attribute == host::keyValue) {
        number = cursor.value();
    } else if (attribute == host::keyTime) {
        number = cursor.time();
    } else if (attribute == host::keyShape) {
        const int shape = static_cast<int>(cursor.shape());
        std::memcpy(out, &shape, sizeof shape);
        return true;
    } else {
        return false;
    }
    std::memcpy(out, &number, sizeof number);
    return true;
}

bool fastKeySet(Host& host, host::Envelope envelope, host::Key key, int attribute, const void* in,
                int& result) {
    const auto [edited, cursor] = knownKey(host, envelope, key);
    if (!cursor || !in || !host.faults.refusedAttributes.empty() || edited->keptBy == 0)
        return false;
    result = 1;
    if (attribute == host::keyShape) {
        const int shape = read<int>(in);
        return isShape(shape) && edited->keys.setShapeInPlace(cursor, static_cast<Shape>(shape));
    }
    const double number = read<double>(in);
    if (!std::isfinite(number)) return false;
    if (isParameter(attribute))
        return edited->keys.setParameterInPlace(
            cursor, static_cast<Parameter>(attribute - host::keyParameterFirst), number);
    return attribute == host::keyValue && edited->keys.setValueInPlace(cursor, number);
}

Behaviour Envelope::*settingOf(int tag) {
    if (tag == host::behaviourBefore) return &Envelope::before;
    if (tag == host::behaviourAfter) return &Envelope::after;
    throw MisuseError{"envelope setting " + std::to_string(tag)};
}

int setEnvelopeValue(Host& host, EnvelopeRef envelope, OrNone<GroupId>, int tag, int* value) {
    if (!value) throw MisuseError{"null setting"};
    Behaviour Envelope::*const setting = settingOf(tag);
    if (!isBehaviour(*value)) return 0;
    edited(host, envelope).*setting = static_cast<Behaviour>(*value);
    return 1;
}

int getEnvelopeValue(Host&, EnvelopeRef envelope, OrNone<GroupId>, int tag, int* value) {
    if (!value) throw MisuseError{"null setting"};
    *value = static_cast<int>(envelope.envelope.*settingOf(tag));
    return 1;
}

} // namespace

host::EnvelopeFuncs& envelopeFuncs() {
    static host::EnvelopeFuncs table{
        .createEnvelope = gate<service, "createEnvelope", &createEnvelope>,
        .destroyEnvelope = gate<service, "destroyEnvelope", &destroyEnvelope>,
        .slot2 = nullptr,
        .slot3 = nullptr,
        .copyEnvelope = gate<service, "copyEnvelope", &copyEnvelope>,
        .loadEnvelope = gate<service, "loadEnvelope", &loadEnvelope>,
        .saveEnvelope = gate<service, "saveEnvelope", &saveEnvelope>,
        .evaluate = gate<service, "evaluate", &evaluate>,
        .slot8 = nullptr,
        .slot9 = nullptr,
        .createKey = gate<service, "createKey", &createKey>,
        .destroyKey = gate<service, "destroyKey", &destroyKey>,
        .findKey = gate<service, "findKey", &findKey>,
        .nextKey = fastGate<&fastNextKey, gate<service, "nextKey", &nextKey>>,
        .slot14 = nullptr,
        .keySet = fastGate<&fastKeySet, gate<service, "keySet", &keySet>>,
        .keyGet = fastGate<&fastKeyGet, gate<service, "keyGet", &keyGet>>,
        .slot17 = nullptr,
        .setEnvelopeValue = gate<service, "setEnvelopeValue", &setEnvelopeValue>,
        .getEnvelopeValue = gate<service, "getEnvelopeValue", &getEnvelopeValue>,
    };
    return table;
}

} // namespace cadencora::stage
