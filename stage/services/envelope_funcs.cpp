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

// The key that findKey finds.
KeyStore::Cursor keyAt(const KeyStore& keys, double time, double settled) {
    if (settled != time && std::isfinite(time)) return keyMeant(keys, time, settled);
    const KeyStore::Cursor next = keys.atOrAfter(time);
    return next && next.time() == time ? next : KeyStore::Cursor();
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

// The key that a quick call is about, where it is one that an earlier call has found. Null: only
// the full manner can tell.
[[gnu::always_inline]] inline const LastKeys::Entry* known(const LastKeys::Entry& first,
                                                           const LastKeys::Entry& second,
                                                           const LastKeys::Entry& third,
                                                           host::Envelope envelope, host::Key key) {
    if (first.isOf(envelope, key)) [[likely]]
        return &first;
    if (second.isOf(envelope, key)) [[likely]]
        return &second;
    return third.isOf(envelope, key) ? &third : nullptr;
}

// Where a body has to refuse: in full it throws, by `wrong`, and quick it leaves that to the full
// one.
template <Manner manner, class Wrong>
bool refuse(const Wrong& wrong) {
    if constexpr (manner == Manner::full) wrong();
    return false;
}

template <Manner manner>
[[gnu::always_inline]] inline bool getAttribute(const KeyStore::Cursor& key, int attribute,
                                                void* out, int& result) {
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
    if (isParameter(attribute)) { // first: most of what copies of keys set
        const double number = read<double>(in);
        const Parameter which = parameterOf(attribute);
        if (isQuick && keys.staysZero(key, which, number)) return true;
        result = std::isfinite(number) ? 1 : 0;
        if (result == 0) return true;
        if constexpr (isQuick) return keys.setParameterInPlace(key, which, number);
        keys.setParameter(key, which, number);
        return true;
    }
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
    } else if (attribute != host::keyTime) {
        return refuse<manner>([=] { wrongAttribute(attribute); });
    } else {
        if constexpr (isQuick) return false; // other keys may move
        Host::lastKeys.forget();
        result = keys.setTime(handle, keyTime(host, keys, number)) ? 1 : 0;
    }
    return true;
}

// Settled, so that a key made with the curve's value is on the curve.
double curveAt(const Host& host, const Envelope& envelope, double time) {
    return envelope.evaluate(host.scene().rate.settled(time));
}

// Full

// The quick calls do not ask about the faults that tests wish for: then nothing is remembered.
bool isFaulty(const Host& host) {
    return !host.faults().refusedAttributes.empty() || !host.faults().unavailableAttributes.empty();
}

// For the quick calls after this one.
void remember(const Host& host, LastKeys::Entry& entry, const EnvelopeRef& envelope,
              const KeyStore::Cursor& key, KeyHandle handle) {
    if (isFaulty(host)) return;
    entry = {envelope.handle, Wire<KeyHandle>::out(handle), &envelope.envelope, key};
}

double evaluate(Host& host, EnvelopeRef envelope, double time) {
    return curveAt(host, envelope.envelope, time);
}

KeyHandle findKey(Host& host, EnvelopeRef envelope, double time) {
    KeyStore& keys = envelope.envelope.keys;
    const KeyStore::Cursor found = keyAt(keys, time, host.scene().rate.settled(time));
    if (!found) return KeyHandle::none;
    const KeyHandle handle = keys.handle(found);
    remember(host, Host::lastKeys.written, envelope, found, handle);
    return handle;
}

KeyHandle createKey(Host& host, EnvelopeRef envelope, double time, double value) {
    if (!std::isfinite(time) || !std::isfinite(value))
        throw MisuseError{"a key needs a finite time and value"};
    Envelope& target = edited(host, envelope);
    const KeyStore::Cursor made = target.placeKey(keyTime(host, target.keys, time), value);
    const KeyHandle handle = target.keys.handle(made);
    remember(host, Host::lastKeys.written, envelope, made, handle);
    return handle;
}

KeyHandle nextKey(Host& host, EnvelopeRef envelope, KeyHandle key) {
    KeyStore& keys = envelope.envelope.keys;
    if (key != KeyHandle::none) requireKey(keys, key);
    const KeyHandle next = key == KeyHandle::none ? keys.first() : keys.next(key);
    if (next != KeyHandle::none)
        remember(host, Host::lastKeys.walked, envelope, keys.at(next), next);
    return next;
}

int keyGet(Host& host, EnvelopeRef envelope, KeyHandle key, int attribute, void* out) {
    const KeyStore::Cursor cursor = requireKey(envelope->keys, key);
    remember(host, Host::lastKeys.walked, envelope, cursor, key);
    if (host.faults().unavailableAttributes.contains(attribute)) return 0;
    int result = 0;
    getAttribute<Manner::full>(cursor, attribute, out, result);
    return result;
}

int keySet(Host& host, EnvelopeRef envelope, KeyHandle key, int attribute, const void* in) {
    const KeyStore::Cursor cursor = requireKey(envelope->keys, key);
    remember(host, Host::lastKeys.written, envelope, cursor, key);
    if (host.faults().refusedAttributes.contains(attribute)) return 0;
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

bool quickEvaluate(host::Envelope envelope, double time, double& result) {
    const LastEnvelopes::Entry* of = Host::lastEnvelopes.find(envelope);
    if (!of) return false;
    result = curveAt(*Host::active(), *of->envelope, time);
    return true;
}

bool quickFindKey(host::Envelope envelope, double time, host::Key& result) {
    const LastEnvelopes::Entry* of = Host::lastEnvelopes.find(envelope);
    if (!of) return false;
    LastKeys::Entry& written = Host::lastKeys.written;
    if (written.envelope == of->envelope && written.cursor.time() == time) {
        result = written.handle;
        return true;
    }
    const double settled = Host::active()->scene().rate.settled(time);
    const KeyStore::Cursor found = keyAt(of->envelope->keys, time, settled);
    result = nullptr;
    if (!found) {
        Host::lastKeys.missed = {of->envelope, time, settled};
        return true;
    }
    KeyHandle handle;
    if (!of->envelope->keys.handleInPlace(found, handle)) return false;
    result = Wire<KeyHandle>::out(handle);
    written = {envelope, result, of->envelope, found};
    return true;
}

bool quickCreateKey(host::Envelope envelope, double time, double value, host::Key& result) {
    const LastEnvelopes::Entry* of = Host::lastEnvelopes.find(envelope);
    if (!of || of->envelope->keptBy == 0) return false; // the journal has to keep it first
    if (!std::isfinite(time) || !std::isfinite(value)) return false;
    Envelope& target = *of->envelope;
    const LastKeys::Missed missed = std::exchange(Host::lastKeys.missed, {});
    const double keyed = missed.envelope == &target && missed.time == time
                             ? missed.settled
                             : keyTime(*Host::active(), target.keys, time);
    const KeyStore::Place place = target.keys.placeAt(keyed);
    const bool movesKeys = !KeyStore::insertsAlone(place);
    const KeyStore::Cursor made = target.placeInPlace(place, keyed, value);
    if (!made) return false;
    KeyHandle handle = KeyHandle::none;
    target.keys.handleInPlace(made, handle);
    result = Wire<KeyHandle>::out(handle);
    Host::lastKeys.written = {envelope, result, of->envelope, made};
    if (movesKeys) {
        Host::lastKeys.walked.lookAgain(of->envelope);
        Host::lastKeys.passed.lookAgain(of->envelope);
    }
    return true;
}

bool quickNextKey(host::Envelope envelope, host::Key key, host::Key& result) {
    LastKeys& last = Host::lastKeys;
    const LastKeys::Entry* at = known(last.walked, last.written, last.passed, envelope, key);
    if (!at) return false;
    KeyStore::Cursor cursor = at->cursor;
    KeyHandle next;
    if (!at->envelope->keys.nextInPlace(cursor, next)) return false;
    result = Wire<KeyHandle>::out(next);
    last.walked = {envelope, result, at->envelope, cursor};
    return true;
}

bool quickKeyGet(host::Envelope envelope, host::Key key, int attribute, void* out, int& result) {
    const LastKeys& last = Host::lastKeys;
    const LastKeys::Entry* at = known(last.walked, last.passed, last.written, envelope, key);
    return at && getAttribute<Manner::quick>(at->cursor, attribute, out, result);
}

// The same for a key that a walk has passed: it is looked up.
bool passedKeyGet(host::Envelope envelope, host::Key key, int attribute, void* out, int& result) {
    const LastEnvelopes::Entry* of = Host::lastEnvelopes.find(envelope);
    if (!of || isFaulty(*Host::active())) return false;
    const KeyStore::Cursor cursor =
        of->envelope->keys.at(static_cast<KeyHandle>(reinterpret_cast<std::uintptr_t>(key)));
    if (!cursor) return false;
    Host::lastKeys.passed = {envelope, key, of->envelope, cursor};
    return getAttribute<Manner::quick>(cursor, attribute, out, result);
}

bool quickKeySet(host::Envelope envelope, host::Key key, int attribute, const void* in,
                 int& result) {
    const LastKeys& last = Host::lastKeys;
    const LastKeys::Entry* at = known(last.written, last.walked, last.passed, envelope, key);
    if (!at || at->envelope->keptBy == 0) return false;
    return setAttribute<Manner::quick>(*Host::active(), at->envelope->keys, at->cursor,
                                       KeyHandle::none, attribute, in, result);
}

bool quickDestroyKey(host::Envelope envelope, host::Key key) {
    const LastEnvelopes::Entry* of = Host::lastEnvelopes.find(envelope);
    if (!of || of->envelope->keptBy == 0) return false;
    LastKeys& last = Host::lastKeys;
    for (LastKeys::Entry* entry : {&last.walked, &last.passed, &last.written})
        if (entry->handle == key) entry->forget();
    const KeyStore::Erased erased = of->envelope->keys.eraseInPlace(
        static_cast<KeyHandle>(reinterpret_cast<std::uintptr_t>(key)));
    if (erased == KeyStore::Erased::withMoves) last.lookAgain(of->envelope);
    return erased != KeyStore::Erased::no;
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

// Of slots under which no key comes, goes or moves, except a change of a key's time, which sees to
// the last keys itself.
template <SlotName slot, auto function>
constexpr auto steadyGate = gate<service, slot, function, LastKeysAfter::kept>;

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
        .evaluate = fastGate<&quickEvaluate, steadyGate<"evaluate", &evaluate>>,
        .slot8 = nullptr,
        .slot9 = nullptr,
        .createKey = fastGate<&quickCreateKey, gate<service, "createKey", &createKey>>,
        .destroyKey = fastGate<&quickDestroyKey, gate<service, "destroyKey", &destroyKey>>,
        .findKey = fastGate<&quickFindKey, steadyGate<"findKey", &findKey>>,
        .nextKey = fastGate<&quickNextKey, steadyGate<"nextKey", &nextKey>>,
        .slot14 = nullptr,
        .keySet = fastGate<&quickKeySet, steadyGate<"keySet", &keySet>>,
        .keyGet = fastGate<&quickKeyGet, fastGate<&passedKeyGet, steadyGate<"keyGet", &keyGet>>>,
        .slot17 = nullptr,
        .setEnvelopeValue = gate<service, "setEnvelopeValue", &setEnvelopeValue>,
        .getEnvelopeValue = gate<service, "getEnvelopeValue", &getEnvelopeValue>,
    };
    return table;
}

} // namespace cadencora::stage
