// The gate between a plug-in's C calls and the services: one wrapper for every slot of every table.
//
// A service is a plain function over the stage's own types, its first argument the host. The gate
// gives it a C signature: it looks each handle up (a wrong one is a misuse), catches everything,
// records a misuse with service and slot, and answers the neutral value: null or zero.
#pragma once

#include "plugin/host/panel_funcs.h"
#include "stage/services/host.h"

#include <cstdint>
#include <string_view>
#include <type_traits>

namespace cadencora::stage {

// A null handle that means "none" or "from the start", where a service allows it.
template <class Id>
struct OrNone {
    Id id = Id::none;
};

// Handles are the scene's numbers with their kind in the top four of 32 bits, so that a handle of
// one kind is never taken for another, and "%x" prints an item's handle whole.
template <class Id>
struct HandleKind;
template <>
struct HandleKind<ItemId> {
    using Raw = host::Item;
    static constexpr std::uint32_t kind = 1;
    static constexpr const char* name = "item";
};
template <>
struct HandleKind<GroupId> {
    using Raw = host::Group;
    static constexpr std::uint32_t kind = 2;
    static constexpr const char* name = "channel group";
};
template <>
struct HandleKind<ChannelId> {
    using Raw = host::Channel;
    static constexpr std::uint32_t kind = 3;
    static constexpr const char* name = "channel";
};
template <>
struct HandleKind<EnvelopeId> {
    using Raw = host::Envelope;
    static constexpr std::uint32_t kind = 4;
    static constexpr const char* name = "envelope";
};

// An envelope together with its number, looked up once per call.
struct EnvelopeRef {
    EnvelopeId id;
    Envelope& envelope;

    const Envelope* operator->() const { return &envelope; }
};

constexpr std::uint32_t handleNumberMask = 0x0fffffffu;

template <class Id>
typename HandleKind<Id>::Raw encode(Id id) {
    if (id == Id::none) return nullptr;
    const std::uint32_t word = (HandleKind<Id>::kind << 28) | static_cast<std::uint32_t>(id);
    return reinterpret_cast<typename HandleKind<Id>::Raw>(static_cast<std::uintptr_t>(word));
}

// The scene's number of a handle; `none` where it is not a valid handle of that kind.
template <class Id>
Id decode(const Scene& scene, std::uintptr_t word) {
    const auto id = static_cast<Id>(word & handleNumberMask);
    const bool known = (word >> 28) == HandleKind<Id>::kind && scene.has(id);
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
        throw MisuseError{std::string(given ? "not a handle of this scene's: " : "null ") +
                          HandleKind<Id>::name};
    }
    static Raw out(Id id) { return encode(id); }
};

// Commands call again and again for one envelope or two: the host remembers the last ones.
template <>
struct Wire<EnvelopeRef> {
    using Raw = host::Envelope;
    static EnvelopeRef in(Host& host, Raw raw) {
        const LastEnvelopes::Entry* last = host.lastEnvelopes.find(raw);
        if (!last) [[unlikely]] {
            const EnvelopeId id = Wire<EnvelopeId>::in(host, raw);
            last =
                &host.lastEnvelopes.remember({raw, id, &host.mutableScene().mutableEnvelope(id)});
        }
        return {last->id, *last->envelope};
    }
};

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

template <>
struct Wire<std::string_view> {
    using Raw = const char*;
    static std::string_view in(Host&, Raw raw) {
        if (!raw) throw MisuseError{"null text"};
        return raw;
    }
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

template <SlotName service, SlotName slot, auto function, class = decltype(function)>
struct Gate;

template <SlotName service, SlotName slot, auto function, class R, class... A>
struct Gate<service, slot, function, R (*)(Host&, A...)> {
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
            body(*host);
        } catch (...) {
            host->recordThrown(service.text, slot.text);
        }
    }
};

// The C function of a slot, for a table's initialiser.
template <SlotName service, SlotName slot, auto function>
constexpr auto gate = &Gate<service, slot, function>::call;

// Slots that are called for every attribute of every key have a fast path before their gate: `fast`
// gets the raw arguments and handles the common case, without throwing or allocating. Where it
// returns false it has done nothing, and the gate checks everything again.
template <auto fast, auto gated, class = decltype(gated)>
struct FastGate;

template <auto fast, auto gated, class R, class... A>
struct FastGate<fast, gated, R (*)(A...) noexcept> {
    static R call(A... arguments) noexcept {
        R result;
        if (Host* host = Host::active(); host && fast(*host, arguments..., result)) [[likely]]
            return result;
        return gated(arguments...);
    }
};

template <auto fast, auto gated>
constexpr auto fastGate = &FastGate<fast, gated>::call;

} // namespace cadencora::stage
