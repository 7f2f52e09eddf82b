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
// a rounding, as sums of times do. Empty where there is no such key.
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

KeyHandle findKey(Host& host, EnvelopeRef envelope, double time) {
    KeyStore& keys = envelope.envelope.keys;
    const double settled = host.scene().rate.settled(time);
    if (settled == time || !std::isfinite(time)) return keys.find(time);
    const KeyStore::Cursor found = keyMeant(keys, time, settled);
    return found ? keys.handle(found) : KeyHandle::none;
}

// The slots that walks and copies consist of. Each has one body, which is called in one of two
// manners. Quick: it neither throws nor takes memory, so it needs no guard; where it would have to,
// it answers false, and has done nothing. Full: behind the gate, where it may do both, and always
// answers true.
enum class Manner { quick, full };

template <class T>
T read(const void* in) {
    T value;
    std::memcpy(&value, in, sizeof value); // the caller's storage may lie at any address
    return value;
}

// The refusals are functions of their own, so that the usual calls stay short.
[[noreturn, gnu::cold, gnu::noinline]] void wrongKey(KeyHandle key) {
    throw MisuseError{key == KeyHandle::none ? "null key"
                                             : "the key is not of this envelope, or was destroyed"};
}

[[noreturn, gnu::cold, gnu::noinline]] void wrongAttribute(int attribute) {
    throw MisuseError{"key attribute " + std::to_string(attribute)};
}

[[noreturn, gnu::cold, gnu::noinline]] void nullAttribute() {
    throw MisuseError{"null attribute"};
}

bool isParameter(int attribute) {
    return attribute >= host::keyParameterFirst && attribute <= host::keyParameterLast;
}

Parameter parameterOf(int attribute) {
    return static_cast<Parameter>(attribute - host::keyParameterFirst);
}

KeyStore::Cursor requireKey(const KeyStore& keys, KeyHandle key) {
    const KeyStore::Cursor cursor = keys.at(key);
    if (!cursor) wrongKey(key);
    return cursor;
}

// The key that a quick call is about, its handles checked: it is the one of an earlier call, or it
// is looked up and remembered in `first`. Null: only the full manner can tell.
[[gnu::always_inline]] inline LastKeys::Entry* known(Host& host, LastKeys::Entry& first,
                                                     LastKeys::Entry& second,
                                                     host::Envelope envelope, host::Key key) {
    const auto isIt = [&](const LastKeys::Entry& entry) {
        return entry.handle == key && entry.envelopeHandle == envelope && entry.cursor;
    };
    if (isIt(first)) [[likely]]
        return &first;
    if (isIt(second)) return &second;
    const LastEnvelopes::Entry* last = host.lastEnvelopes.find(envelope);
    if (!last) return nullptr;
    const KeyStore::Cursor cursor = last->envelope->keys.at(Wire<KeyHandle>::in(host, key));
    if (!cursor) return nullptr;
    first = {envelope, key, last->envelope, cursor};
    return &first;
}

// Where a body has to refuse: in full it throws, by `wrong`, and quick it leaves that to the full
// one.
template <Manner manner, class Wrong>
bool refuse(const Wrong& wrong) {
    if constexpr (manner == Manner::full) wrong();
    return false;
}

template <Manner manner>
bool getAttribute(const KeyStore::Cursor& key, int attribute, void* out, int& result) {
    if (!out) [[unlikely]]
        return refuse<manner>(nullAttribute);
    result = 1;
    double number;
    if (attribute == host::keyValue) {
        number = key.value();
    } else if (isParameter(attribute)) {
        number = key.parameter(parameterOf(attribute));
    } else if (attribute == host::keyTime) {
        number = key.time();
    } else if (attribute == host::keyShape) {
        const int shape = static_cast<int>(key.shape());
        std::memcpy(out, &shape, sizeof shape);
        return true;
    } else {
        return refuse<manner>([=] { wrongAttribute(attribute); });
    }
    std::memcpy(out, &number, sizeof number);
    return true;
}

// The envelope is in the journal already.
template <Manner manner>
bool setAttribute(Host& host, KeyStore& keys, const KeyStore::Cursor& key, KeyHandle handle,
                  int attribute, const void* in, int& result) {
    constexpr bool isQuick = manner == Manner::quick;
    if (!in) [[unlikely]]
        return refuse<manner>(nullAttribute);
    result = 1;
    if (attribute == host::keyShape) {
        const int shape = read<int>(in);
        result = isShape(shape) ? 1 : 0;
        if (result == 0) return true;
        if constexpr (isQuick) return keys.setShapeInPlace(key, static_cast<Shape>(shape));
        keys.setShape(key, static_cast<Shape>(shape));
        return true;
    }
    const double number = read<double>(in);
    result = std::isfinite(number) ? 1 : 0;
    if (result == 0) return true;
    if (attribute == host::keyValue) {
        if constexpr (isQuick) return keys.setValueInPlace(key, number);
        keys.setValue(key, number);
    } else if (isParameter(attribute)) {
        if constexpr (isQuick) return keys.setParameterInPlace(key, parameterOf(attribute), number);
        keys.setParameter(key, parameterOf(attribute), number);
    } else if (attribute != host::keyTime) {
        return refuse<manner>([=] { wrongAttribute(attribute); });
    } else {
        if constexpr (isQuick) return false; // other keys may move
        result = keys.setTime(handle, keyTime(host, keys, number)) ? 1 : 0;
    }
    return true;
}

// Full

KeyHandle nextKey(Host&, EnvelopeRef envelope, KeyHandle key) {
    KeyStore& keys = envelope.envelope.keys;
    if (key == KeyHandle::none) return keys.first();
    requireKey(keys, key);
    return keys.next(key);
}

int keyGet(Host& host, EnvelopeRef envelope, KeyHandle key, int attribute, void* out) {
    const KeyStore::Cursor cursor = requireKey(envelope->keys, key);
    if (host.faults.unavailableAttributes.contains(attribute)) return 0;
    int result = 0;
    getAttribute<Manner::full>(cursor, attribute, out, result);
    return result;
}

int keySet(Host& host, EnvelopeRef envelope, KeyHandle key, int attribute, const void* in) {
    const KeyStore::Cursor cursor = requireKey(envelope->keys, key);
    if (host.faults.refusedAttributes.contains(attribute)) return 0;
    int result = 0;
    setAttribute<Manner::full>(host, edited(host, envelope).keys, cursor, key, attribute, in,
                               result);
    return result;
}

void destroyKey(Host& host, EnvelopeRef envelope, KeyHandle key) {
    requireKey(envelope->keys, key);
    edited(host, envelope).keys.erase(key);
}

// Quick

bool quickNextKey(Host& host, host::Envelope envelope, host::Key key, host::Key& result) {
    LastKeys& last = host.lastKeys;
    LastKeys::Entry* at = known(host, last.walked, last.written, envelope, key);
    if (!at) return false;
    KeyStore::Cursor cursor = at->cursor;
    KeyHandle next;
    if (!at->envelope->keys.nextInPlace(cursor, next)) return false;
    result = Wire<KeyHandle>::out(next);
    last.walked = {envelope, result, at->envelope, cursor};
    return true;
}

bool quickKeyGet(Host& host, host::Envelope envelope, host::Key key, int attribute, void* out,
                 int& result) {
    if (!host.faults.unavailableAttributes.empty()) return false;
    LastKeys& last = host.lastKeys;
    const LastKeys::Entry* at = known(host, last.walked, last.written, envelope, key);
    return at && getAttribute<Manner::quick>(at->cursor, attribute, out, result);
}

bool quickKeySet(Host& host, host::Envelope envelope, host::Key key, int attribute, const void* in,
                 int& result) {
    if (!host.faults.refusedAttributes.empty()) return false;
    LastKeys& last = host.lastKeys;
    const LastKeys::Entry* at = known(host, last.written, last.walked, envelope, key);
    if (!at || at->envelope->keptBy == 0) return false; // the journal has to keep it first
    return setAttribute<Manner::quick>(host, at->envelope->keys, at->cursor,
                                       Wire<KeyHandle>::in(host, key), attribute, in, result);
}

bool quickDestroyKey(Host& host, host::Envelope envelope, host::Key key) {
    const LastEnvelopes::Entry* of = host.lastEnvelopes.find(envelope);
    if (!of || of->envelope->keptBy == 0) return false;
    KeyStore& keys = of->envelope->keys;
    const KeyHandle handle = Wire<KeyHandle>::in(host, key);
    if (!keys.at(handle) || !keys.eraseInPlace(handle)) return false;
    // Other keys may have moved; the walk has fetched the next one before.
    LastKeys& last = host.lastKeys;
    last.written.cursor = {};
    last.walked.cursor = last.walked.envelopeHandle == envelope
                             ? keys.at(Wire<KeyHandle>::in(host, last.walked.handle))
                             : KeyStore::Cursor();
    return true;
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
        .destroyKey = fastGate<&quickDestroyKey, gate<service, "destroyKey", &destroyKey>>,
        .findKey = gate<service, "findKey", &findKey>,
        .nextKey = fastGate<&quickNextKey, gate<service, "nextKey", &nextKey>>,
        .slot14 = nullptr,
        .keySet = fastGate<&quickKeySet, gate<service, "keySet", &keySet>>,
        .keyGet = fastGate<&quickKeyGet, gate<service, "keyGet", &keyGet>>,
        .slot17 = nullptr,
        .setEnvelopeValue = gate<service, "setEnvelopeValue", &setEnvelopeValue>,
        .getEnvelopeValue = gate<service, "getEnvelopeValue", &getEnvelopeValue>,
    };
    return table;
}

} // namespace cadencora::stage
