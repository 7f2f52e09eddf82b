// The gate between a plug-in's C calls and the services: one wrapper for every slot of every table.
//
// A service is a plain function over the stage's own types, its first argument the host. The gate
// gives it a C signature: it looks each handle up (a wrong one is a misuse), catches everything,
// records a misuse with service and slot, and answers the neutral value: null or zero.
#pragma once

#include "plugin/host/panel_funcs.h"
#include "stage/services/host.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace cadencora::stage {

// A null handle that means "none" or "from the start", where a service allows it.
template <class Id>
struct OrNone {
    Id id = Id::none;
};

// Handles are the scene's numbers, plus the host's offset, with their kind in the top four of the
// lower 32 bits, so that a handle of one kind is never taken for another, and "%x" prints an item's
// handle whole. Numbers beyond 28 bits go on in the upper word.
static_assert(sizeof(void*) == 8);
template <class Id>
struct HandleKind;
template <>
struct HandleKind<ItemId> {
    using Raw = host::Item;
    static constexpr std::uint32_t kind = 1;
    static constexpr const char* name = "item";
    static std::uint64_t offset() { return Host::offsets().items; }
};
template <>
struct HandleKind<GroupId> {
    using Raw = host::Group;
    static constexpr std::uint32_t kind = 2;
    static constexpr const char* name = "channel group";
    static std::uint64_t offset() { return Host::offsets().groups; }
};
template <>
struct HandleKind<ChannelId> {
    using Raw = host::Channel;
    static constexpr std::uint32_t kind = 3;
    static constexpr const char* name = "channel";
    static std::uint64_t offset() { return Host::offsets().channels; }
};
template <>
struct HandleKind<EnvelopeId> {
    using Raw = host::Envelope;
    static constexpr std::uint32_t kind = 4;
    static constexpr const char* name = "envelope";
    static std::uint64_t offset() { return Host::offsets().channels; }
};

// Envelopes of the plug-in's own are no scene's.
constexpr std::uint32_t ownEnvelopeKind = 5;

// An envelope together with its number, looked up once per call.
struct EnvelopeRef {
    EnvelopeId id; // `none`: one of the plug-in's own
    Envelope& envelope;
    host::Envelope handle;

    const Envelope* operator->() const { return &envelope; }
};

constexpr std::uint64_t handleWord(std::uint32_t kind, std::uint64_t number) {
    return (number >> 28 << 32) | std::uint64_t{kind} << 28 | (number & 0x0fffffff);
}
constexpr std::uint32_t kindOf(std::uint64_t word) {
    return static_cast<std::uint32_t>(word >> 28) & 15;
}
constexpr std::uint64_t numberOf(std::uint64_t word) {
    return (word >> 32 << 28) | (word & 0x0fffffff);
}

template <class Id>
typename HandleKind<Id>::Raw encode(Id id) {
    if (id == Id::none) return nullptr;
    const auto number = HandleKind<Id>::offset() + static_cast<std::uint64_t>(id);
    return reinterpret_cast<typename HandleKind<Id>::Raw>(handleWord(HandleKind<Id>::kind, number));
}

// The scene's number of a handle; `none` where it is not a handle of that kind in this scene.
template <class Id>
Id decode(const Scene& scene, std::uintptr_t word) {
    const std::uint64_t number = numberOf(word) - HandleKind<Id>::offset();
    const auto id = static_cast<Id>(number);
    const bool known = kindOf(word) == HandleKind<Id>::kind && number >> 32 == 0 && scene.has(id);
    return known ? id : Id::none;
}

// How an argument or a result crosses the table: Raw is its C type.
template <class T>
struct Wire {
    using Raw = T;
    static T in(Host&, T value) { return value; }
    static T out(T value) { return value; }
};

template <class Id>
requires requires {
    HandleKind<Id>::kind;
}
struct Wire<Id> {
    using Raw = typename HandleKind<Id>::Raw;
    static Id in(Host& host, Raw raw) {
        const Id id = decode<Id>(host.scene(), reinterpret_cast<std::uintptr_t>(raw));
        if (id == Id::none) [[unlikely]]
            wrong(raw != nullptr);
        return id;
    }
    [[noreturn, gnu::cold, gnu::noinline]] static void wrong(bool given) {
        throw MisuseError{given ? std::string("the ") + HandleKind<Id>::name +
                                      " is gone, or not of this scene"
                                : std::string("null ") + HandleKind<Id>::name};
    }
    static Raw out(Id id) { return encode(id); }
};

// Commands call again and again for one envelope or two: the host remembers the last ones.
template <>
struct Wire<EnvelopeRef> {
    using Raw = host::Envelope;
    static EnvelopeRef in(Host& host, Raw raw) {
        const LastEnvelopes::Entry* last = Host::lastEnvelopes.find(raw);
        if (!last) [[unlikely]] {
            last = &Host::lastEnvelopes.remember(look(host, raw));
        }
        return {last->id, *last->envelope, raw};
    }

private:
    static LastEnvelopes::Entry look(Host& host, Raw raw) {
        const auto word = reinterpret_cast<std::uintptr_t>(raw);
        if (kindOf(word) == ownEnvelopeKind)
            if (Envelope* own = host.ownEnvelope(numberOf(word)))
                return {raw, EnvelopeId::none, own};
        const EnvelopeId id = Wire<EnvelopeId>::in(host, raw);
        return {raw, id, &host.mutableScene().mutableEnvelope(id)};
    }
};

// The envelope for editing. The plug-in may edit its own ones at any time.
inline Envelope& edited(Host& host, const EnvelopeRef& ref) {
    if (ref.id == EnvelopeId::none) return ref.envelope;
    return host.edit().edited(ref.id, ref.envelope);
}

template <class Id>
struct Wire<OrNone<Id>> {
    using Raw = typename HandleKind<Id>::Raw;
    static OrNone<Id> in(Host& host, Raw raw) {
        return raw ? OrNone<Id>{Wire<Id>::in(host, raw)} : OrNone<Id>{};
    }
};

// Keys are checked by the service against their envelope.
template <>
struct Wire<KeyHandle> {
    static_assert(sizeof(host::Key) == sizeof(KeyHandle));
    using Raw = host::Key;
    static KeyHandle in(Host&, Raw raw) {
        return static_cast<KeyHandle>(reinterpret_cast<std::uintptr_t>(raw));
    }
    static Raw out(KeyHandle key) {
        return reinterpret_cast<Raw>(static_cast<std::uintptr_t>(key));
    }
};

// A text of a plug-in's. One without an end is refused, too.
inline std::string_view boundedText(const char* text) {
    constexpr std::size_t most = 1'000'000; // bytes
    if (!text) throw MisuseError{"null text"};
    const std::size_t length = strnlen(text, most + 1);
    if (length > most) throw MisuseError{"a text of more than " + std::to_string(most) + " bytes"};
    return {text, length};
}

template <>
struct Wire<std::string_view> {
    using Raw = const char*;
    static std::string_view in(Host&, Raw raw) { return boundedText(raw); }
};

template <>
struct Wire<PanelModel*> {
    using Raw = host::Panel;
    static PanelModel* in(Host& host, Raw raw) {
        PanelModel* panel = host.panels().find(raw);
        if (!panel) throw MisuseError{raw ? "not a panel of this host's" : "null panel"};
        if (panel->destroyed) throw MisuseError{"the panel \"" + panel->title + "\" was destroyed"};
        return panel;
    }
    static Raw out(PanelModel* panel) { return panel ? PanelSet::handleOf(*panel) : nullptr; }
};

template <>
struct Wire<ControlModel*> {
    using Raw = host::Control*;
    static ControlModel* in(Host& host, Raw raw) {
        ControlModel* control = host.panels().find(raw);
        if (!control) throw MisuseError{raw ? "not a control of this host's" : "null control"};
        if (control->panel->destroyed)
            throw MisuseError{"the control \"" + control->label + "\" is used after its panel \"" +
                              control->panel->title + "\" was destroyed"};
        return control;
    }
    static Raw out(ControlModel* control) { return control ? &control->record : nullptr; }
};

template <std::size_t N>
struct SlotName {
    char text[N];
    consteval SlotName(const char (&name)[N]) {
        for (std::size_t i = 0; i < N; ++i)
            text[i] = name[i];
    }
};

// Whether the host's last keys hold after a call: whether no key may have come, gone or moved.
enum class LastKeysAfter { forgotten, kept };

template <SlotName service, SlotName slot, auto function, LastKeysAfter lastKeys,
          class = decltype(function)>
struct Gate;

template <SlotName service, SlotName slot, auto function, LastKeysAfter lastKeys, class R,
          class... A>
struct Gate<service, slot, function, lastKeys, R (*)(Host&, A...)> {
    // Never inlined: the fast path before it must not pay for its frame.
    [[gnu::noinline]] static auto call(typename Wire<A>::Raw... arguments) noexcept {
        if constexpr (std::is_void_v<R>) {
            guarded([&](Host& host) { function(host, Wire<A>::in(host, arguments)...); });
        } else {
            typename Wire<R>::Raw result{};
            guarded([&](Host& host) {
                result = Wire<R>::out(function(host, Wire<A>::in(host, arguments)...));
            });
            return result;
        }
    }

private:
    template <class Body>
    static void guarded(const Body& body) {
        Host* host = Host::active();
        if (!host) return;
        try {
            host->countCall();
            if constexpr (lastKeys == LastKeysAfter::forgotten) Host::lastKeys.forget();
            body(*host);
        } catch (...) {
            host->recordThrown(service.text, slot.text);
        }
    }
};

// The C function of a slot, for a table's initialiser.
template <SlotName service, SlotName slot, auto function,
          LastKeysAfter lastKeys = LastKeysAfter::forgotten>
constexpr auto gate = &Gate<service, slot, function, lastKeys>::call;

// Slots that are called for every key have a quick path before their gate: `fast` gets the raw
// arguments and handles the common case, without throwing or allocating. Where it returns false it
// has done nothing, and the gate checks everything again.
template <auto fast, auto gated, class = decltype(gated)>
struct FastGate;

template <auto fast, auto gated, class R, class... A>
struct FastGate<fast, gated, R (*)(A...) noexcept> {
    [[gnu::noinline]] static R call(A... arguments) noexcept { // also where it is another's `gated`
        if constexpr (std::is_void_v<R>) {
            if (!fast(arguments...)) [[unlikely]]
                gated(arguments...);
        } else {
            R result;
            if (fast(arguments..., result)) [[likely]]
                return result;
            return gated(arguments...);
        }
    }
};

template <auto fast, auto gated>
constexpr auto fastGate = &FastGate<fast, gated>::call;

} // namespace cadencora::stage
