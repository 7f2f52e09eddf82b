#include "bench/floor.h"

#include "plugin/host/envelope_funcs.h"
#include "plugin/keys/modify_channel.h"
#include "plugin/keys/whole_channels.h"

#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace cadencora::floor {

namespace {

constexpr std::uint32_t nowhere = 0xffffffff;

// Of a size by which an index is multiplied in one shift.
struct alignas(128) Slot {
    double time = 0, value = 0;
    std::array<double, 7> parameters{};
    std::uint32_t previous = nowhere, next = nowhere, serial = 0; // 0: not in use
    int shape = 0;
};

struct Curve {
    std::vector<Slot> memory;
    Slot* slots = nullptr; // the memory's
    std::uint32_t count = 0;
    std::uint32_t first = nowhere, last = nowhere, unused = nowhere; // unused slots, by `next`
    std::uint32_t finger = nowhere;                                  // the last place looked at
    std::uint32_t serials = 0;
};

std::vector<Curve> curves; // an envelope's handle is its number from 1
Curve* allCurves = nullptr;
std::size_t curveCount = 0;

Curve* curveOf(host::Envelope envelope) {
    const auto number = reinterpret_cast<std::uintptr_t>(envelope) - 1;
    return number < curveCount ? &allCurves[number] : nullptr;
}

host::Key handleOf(const Curve& curve, std::uint32_t slot) {
    const std::uint64_t word = std::uint64_t{curve.slots[slot].serial} << 32 | slot;
    return reinterpret_cast<host::Key>(static_cast<std::uintptr_t>(word));
}

std::uint32_t slotOf(const Curve& curve, host::Key key) { // `nowhere`: the handle is not of a key
    const auto word = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key));
    const auto slot = static_cast<std::uint32_t>(word);
    // The serial number 0 is of slots that are not in use.
    const bool isValid =
        slot < curve.count && word >> 32 != 0 && curve.slots[slot].serial == word >> 32;
    return isValid ? slot : nowhere;
}

// The last key at or before the time, or `nowhere`.
std::uint32_t before(Curve& curve, double time) {
    std::uint32_t at = curve.finger != nowhere ? curve.finger : curve.first;
    if (at == nowhere) return nowhere;
    while (at != nowhere && curve.slots[at].time > time)
        at = curve.slots[at].previous;
    if (at == nowhere) return nowhere;
    for (std::uint32_t next = curve.slots[at].next;
         next != nowhere && curve.slots[next].time <= time; next = curve.slots[at].next)
        at = next;
    return curve.finger = at;
}

host::Key findKey(host::Envelope envelope, double time) {
    Curve* curve = curveOf(envelope);
    if (!curve) return nullptr;
    const std::uint32_t at = before(*curve, time);
    return at != nowhere && curve->slots[at].time == time ? handleOf(*curve, at) : nullptr;
}

host::Key nextKey(host::Envelope envelope, host::Key key) {
    Curve* curve = curveOf(envelope);
    if (!curve) return nullptr;
    std::uint32_t next = curve->first;
    if (key) {
        const std::uint32_t at = slotOf(*curve, key);
        if (at == nowhere) return nullptr;
        next = curve->slots[at].next;
    }
    return next == nowhere ? nullptr : handleOf(*curve, next);
}

double evaluate(host::Envelope envelope, double time) {
    Curve* curve = curveOf(envelope);
    if (!curve || curve->first == nowhere) return 0;
    const std::uint32_t at = before(*curve, time);
    if (at == nowhere) return curve->slots[curve->first].value;
    const Slot& from = curve->slots[at];
    if (from.next == nowhere) return from.value;
    const Slot& to = curve->slots[from.next];
    return from.value + (time - from.time) / (to.time - from.time) * (to.value - from.value);
}

host::Key createKey(host::Envelope envelope, double time, double value) {
    Curve* curve = curveOf(envelope);
    if (!curve) return nullptr;
    const std::uint32_t at = before(*curve, time);
    if (at != nowhere && curve->slots[at].time == time) {
        curve->slots[at].value = value;
        return handleOf(*curve, at);
    }
    std::uint32_t made = curve->unused;
    if (made == nowhere) {
        made = curve->count++;
        curve->memory.emplace_back();
        curve->slots = curve->memory.data();
    } else {
        curve->unused = curve->slots[made].next;
    }
    Slot& slot = curve->slots[made];
    slot = {};
    slot.time = time;
    slot.value = value;
    slot.serial = ++curve->serials;
    slot.previous = at;
    slot.next = at == nowhere ? curve->first : curve->slots[at].next;
    (at == nowhere ? curve->first : curve->slots[at].next) = made;
    (slot.next == nowhere ? curve->last : curve->slots[slot.next].previous) = made;
    curve->finger = made;
    return handleOf(*curve, made);
}

void destroyKey(host::Envelope envelope, host::Key key) {
    Curve* curve = curveOf(envelope);
    const std::uint32_t at = curve ? slotOf(*curve, key) : nowhere;
    if (at == nowhere) return;
    Slot& slot = curve->slots[at];
    (slot.previous == nowhere ? curve->first : curve->slots[slot.previous].next) = slot.next;
    (slot.next == nowhere ? curve->last : curve->slots[slot.next].previous) = slot.previous;
    curve->finger = slot.previous != nowhere ? slot.previous : slot.next;
    slot.serial = 0;
    slot.next = std::exchange(curve->unused, at);
}

int keySet(host::Envelope envelope, host::Key key, int attribute, const void* in) {
    Curve* curve = curveOf(envelope);
    const std::uint32_t at = curve && in ? slotOf(*curve, key) : nowhere;
    if (at == nowhere) return 0;
    Slot& slot = curve->slots[at];
    if (attribute == host::keyShape)
        std::memcpy(&slot.shape, in, sizeof slot.shape);
    else if (attribute == host::keyValue)
        std::memcpy(&slot.value, in, sizeof slot.value);
    else if (attribute >= host::keyParameterFirst && attribute <= host::keyParameterLast)
        std::memcpy(&slot.parameters[static_cast<std::size_t>(attribute) - host::keyParameterFirst],
                    in, sizeof(double));
    else
        return 0;
    return 1;
}

int keyGet(host::Envelope envelope, host::Key key, int attribute, void* out) {
    Curve* curve = curveOf(envelope);
    const std::uint32_t at = curve && out ? slotOf(*curve, key) : nowhere;
    if (at == nowhere) return 0;
    const Slot& slot = curve->slots[at];
    if (attribute == host::keyShape)
        std::memcpy(out, &slot.shape, sizeof slot.shape);
    else if (attribute == host::keyValue)
        std::memcpy(out, &slot.value, sizeof slot.value);
    else if (attribute == host::keyTime)
        std::memcpy(out, &slot.time, sizeof slot.time);
    else if (attribute >= host::keyParameterFirst && attribute <= host::keyParameterLast)
        std::memcpy(out,
                    &slot.parameters[static_cast<std::size_t>(attribute) - host::keyParameterFirst],
                    sizeof(double));
    else
        return 0;
    return 1;
}

const host::EnvelopeFuncs& envelopes() {
    static const host::EnvelopeFuncs table = [] {
        host::EnvelopeFuncs funcs{};
        funcs.evaluate = &evaluate;
        funcs.createKey = &createKey;
        funcs.destroyKey = &destroyKey;
        funcs.findKey = &findKey;
        funcs.nextKey = &nextKey;
        funcs.keySet = &keySet;
        funcs.keyGet = &keyGet;
        return funcs;
    }();
    return table;
}

constexpr double rate = 30;

struct Operation {
    const char* name;
    bool offFrame; // every other key a third of a frame early
    // On one curve of so many keys. Answers how many keys the cost is divided by.
    double (*work)(host::Envelope envelope, int keys);
};

double modify(host::Envelope envelope, int keys, double amount, int mode) {
    modifyChannel(nullptr, &envelopes(), envelope, keys / 4 / rate, keys / 4 * 3 / rate, amount,
                  mode);
    return keys / 2.0;
}

const Operation operations[] = {
    {"destroy_middle_half", false,
     [](host::Envelope envelope, int keys) {
         clearChannel(nullptr, &envelopes(), envelope, keys / 4 / rate, keys / 4 * 3 / rate);
         return keys / 2.0;
     }},
    {"defractionalize_half_off_frame", true,
     [](host::Envelope envelope, int keys) {
         reKeyChannelToNearest(nullptr, &envelopes(), envelope, 0, keys / rate, rate);
         return static_cast<double>(keys);
     }},
    {"cycle_last_quarter_5_times", false,
     [](host::Envelope envelope, int keys) {
         const double start = keys / 4 * 3 / rate, end = keys / rate, gap = 1 / rate;
         for (int repeat = 0; repeat < 5; ++repeat)
             copyShiftChannel(nullptr, &envelopes(), envelope, start, end,
                              gap + repeat * (end - start + gap));
         return keys / 4.0 * 5;
     }},
    {"add", false,
     [](host::Envelope envelope, int keys) { return modify(envelope, keys, 0.5, addMode); }},
    {"jitter_value", false,
     [](host::Envelope envelope, int keys) { return modify(envelope, keys, 0.01, jitterValue); }},
    {"jitter_time", false,
     [](host::Envelope envelope, int keys) { return modify(envelope, keys, 0.01, jitterTime); }},
};

Curve curveOf(int keys, bool offFrame) {
    Curve curve;
    curve.memory.reserve(static_cast<std::size_t>(keys));
    for (int k = 0; k < keys; ++k) {
        Slot slot;
        slot.time = offFrame && k % 2 == 1 ? (k - 1 / 3.0) / rate : k / rate;
        slot.value = k % 100 * 0.01;
        slot.shape = 1;
        slot.serial = ++curve.serials;
        slot.previous = static_cast<std::uint32_t>(k - 1);
        slot.next = k + 1 < keys ? static_cast<std::uint32_t>(k + 1) : nowhere;
        curve.memory.push_back(slot);
    }
    curve.first = 0;
    curve.last = static_cast<std::uint32_t>(keys - 1);
    return curve;
}

// A function of its own, by whose name instructions are counted.
[[gnu::noinline]] double workOnAll(const Operation& operation, int keys) {
    double count = 0;
    for (std::size_t c = 1; c <= curves.size(); ++c)
        count += operation.work(reinterpret_cast<host::Envelope>(c), keys);
    return count;
}

void run(benchmark::State& state, const Operation& operation) {
    constexpr int channels = 9;
    const auto items = static_cast<std::size_t>(state.range(0));
    const auto keys = static_cast<int>(state.range(1));
    double seconds = 0, count = 0;
    const Curve fresh = curveOf(keys, operation.offFrame);
    for (auto _ : state) {
        curves.assign(items * channels, fresh);
        for (Curve& curve : curves) {
            curve.slots = curve.memory.data();
            curve.count = static_cast<std::uint32_t>(curve.memory.size());
        }
        allCurves = curves.data();
        curveCount = curves.size();
        const auto start = std::chrono::steady_clock::now();
        count += workOnAll(operation, keys);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(took.count());
        seconds += took.count();
    }
    curves.clear();
    curveCount = 0;
    state.counters["ns_per_key"] = seconds * 1e9 / count;
}

} // namespace

void registerBenchmarks() {
    for (const Operation& operation : operations)
        benchmark::RegisterBenchmark((std::string("floor/") + operation.name).c_str(), run,
                                     operation)
            ->Args({100, 1000})
            ->Args({10, 10000})
            ->Args({1, 100000})
            ->ArgNames({"items", "keys"})
            ->Unit(benchmark::kMillisecond)
            ->UseManualTime();
}

} // namespace cadencora::floor
