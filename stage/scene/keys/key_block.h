// A run of up to 128 neighbouring keys of an envelope, each attribute in an array of its own.
//
// Part of the key store; nothing else uses it. A block has one gap among its slots: an edit at the
// gap moves nothing, and the gap follows the edits. Copies of a store share the arrays until a key
// in them is edited; where the gap lies, and the handles, are each store's own. Two blocks may also
// have different stretches of the same arrays.
#pragma once

#include "stage/base/bits.h"
#include "stage/scene/keys/key.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace cadencora::stage {

// The numbers of slots that arrays are made with. Most curves of a pose have one key.
inline constexpr std::array slotCounts{4, 16, 64, 128};

// The least of them that is enough.
inline int roomFor(int needed) {
    return *std::ranges::lower_bound(slotCounts, needed);
}

// Memory that gone blocks had: fresh memory costs more than the keys put into it. Each thread keeps
// its own; some may be given back on another thread.
struct BlockMemory {
    enum Kind { block, columns, links };
    static void* take(Kind kind, std::size_t size, int room = 0); // a kind and room have one size
    static void give(void* memory, Kind kind, std::size_t size, int room = 0) noexcept;
    static void release() noexcept; // what this thread keeps
};

// The arrays of a block or more: times, values and shapes follow the header. The content of slots
// without a key is unspecified.
struct KeyColumns {
    using Parameters = std::array<std::unique_ptr<double[]>, parameterCount>; // null: all zero

    std::uint32_t owners = 1;
    std::int32_t room;
    std::unique_ptr<Parameters> parameters; // null: all zero

    static KeyColumns* create(int room) {
        return new (BlockMemory::take(BlockMemory::columns, size(room), room)) KeyColumns(room);
    }
    static void destroy(KeyColumns* columns) noexcept {
        const int room = columns->room;
        columns->~KeyColumns();
        BlockMemory::give(columns, BlockMemory::columns, size(room), room);
    }
    double* time() { return reinterpret_cast<double*>(this + 1); }
    double* value() { return time() + room; }
    Shape* shape() { return reinterpret_cast<Shape*>(value() + room); }

    static constexpr std::size_t bytesOfSlot = 2 * sizeof(double) + sizeof(Shape);

private:
    explicit KeyColumns(int slotsMade) : room(slotsMade) {}
    static std::size_t size(int room) {
        return sizeof(KeyColumns) + static_cast<std::size_t>(room) * bytesOfSlot;
    }
};

// One owner's hold on a stretch of arrays. Copying shares them; the count is not shared between
// threads. Slots that are shared must not be written to.
class KeyArrays {
public:
    explicit KeyArrays(int room) // at least; the parameters all zero, the rest not set
        : KeyArrays(KeyColumns::create(roomFor(room)), 0) {}
    KeyArrays(const KeyArrays& other) noexcept : KeyArrays(other, 0) {}
    KeyArrays(const KeyArrays& other, int first) noexcept // the same from one slot on
        : KeyArrays(other.columns_, other.first_ + first) {
        ++columns_->owners;
    }
    KeyArrays& operator=(KeyArrays other) noexcept {
        std::swap(columns_, other.columns_);
        std::swap(time_, other.time_);
        std::swap(value_, other.value_);
        std::swap(shape_, other.shape_);
        std::swap(first_, other.first_);
        return *this;
    }
    ~KeyArrays() {
        if (--columns_->owners == 0) KeyColumns::destroy(columns_);
    }

    bool shared() const { return columns_->owners > 1; }
    bool sharedWith(const KeyArrays& other) const { return columns_ == other.columns_; }

    const double* time() const { return time_; }
    const double* value() const { return value_; }
    const Shape* shape() const { return shape_; }
    double* time() { return time_; }
    double* value() { return value_; }
    Shape* shape() { return shape_; }

    bool hasParameters() const { return columns_->parameters != nullptr; }
    const double* parameter(std::size_t which) const { // null: all zero, as far as the arrays go
        return hasParameters() ? start((*columns_->parameters)[which].get()) : nullptr;
    }
    double* parameter(std::size_t which) {
        return hasParameters() ? start((*columns_->parameters)[which].get()) : nullptr;
    }
    double parameterAt(int slot, std::size_t which) const {
        const double* column = parameter(which);
        return column ? column[slot] : 0;
    }
    // The array of a parameter, made and zeroed where it was all zero.
    double* parameterMade(std::size_t which) {
        if (!columns_->parameters)
            columns_->parameters = std::make_unique<KeyColumns::Parameters>();
        auto& column = (*columns_->parameters)[which];
        if (!column) column = std::make_unique<double[]>(static_cast<std::size_t>(columns_->room));
        return start(column.get());
    }

private:
    KeyArrays(KeyColumns* columns, int first) noexcept
        : columns_(columns), time_(columns->time() + first), value_(columns->value() + first),
          shape_(columns->shape() + first), first_(first) {}
    double* start(double* column) const { return column ? column + first_ : nullptr; }

    KeyColumns* columns_;
    double* time_;
    double* value_;
    Shape* shape_;
    int first_; // where the stretch begins in the columns
};

// Per slot: the key's handle entry + 1; 0: no handle was asked for. That of a slot without a key is
// unspecified.
class KeyLinks {
public:
    KeyLinks() = default; // none
    explicit KeyLinks(int room) : room_(roomFor(room)) {
        slots_ = static_cast<std::uint32_t*>(BlockMemory::take(BlockMemory::links, bytes(), room_));
        std::fill_n(slots_, room_, 0u);
    }
    KeyLinks(KeyLinks&& other) noexcept
        : slots_(std::exchange(other.slots_, nullptr)), room_(other.room_) {}
    KeyLinks& operator=(KeyLinks&& other) noexcept {
        std::swap(slots_, other.slots_);
        std::swap(room_, other.room_);
        return *this;
    }
    ~KeyLinks() {
        if (slots_) BlockMemory::give(slots_, BlockMemory::links, bytes(), room_);
    }
    explicit operator bool() const { return slots_ != nullptr; }
    std::uint32_t& operator[](std::size_t slot) { return slots_[slot]; }
    std::uint32_t* begin() { return slots_; }
    int room() const { return room_; }
    std::size_t bytes() const { return static_cast<std::size_t>(room_) * sizeof *slots_; }

private:
    std::uint32_t* slots_ = nullptr;
    int room_ = 0;
};

struct KeyBlock {
    static constexpr int capacity = slotCounts.back();

    // Slots [0, gapBegin) and [gapEnd(), room) hold keys, in order of time.
    int count = 0;
    int gapBegin = 0;
    int room;
    KeyArrays arrays;
    KeyLinks links; // none: no handle was asked for
    KeyBlock* previous = nullptr;
    KeyBlock* next = nullptr;
    double separator; // see KeyStore

    KeyBlock(int slotsMade, double separates)
        : room(slotsMade), arrays(slotsMade), separator(separates) {}
    // The keys of a full block from one on, without their handles.
    KeyBlock(const KeyBlock& full, int first)
        : count(full.count - first), gapBegin(count), room(count), arrays(full.arrays, first),
          separator(full.arrays.time()[first]) {}
    // For a copy of the store: shares the arrays; handles and neighbours stay with the original.
    KeyBlock(const KeyBlock& other)
        : count(other.count), gapBegin(other.gapBegin), room(other.room), arrays(other.arrays),
          separator(other.separator) {}
    KeyBlock& operator=(const KeyBlock&) = delete;
    static void* operator new(std::size_t size) {
        return BlockMemory::take(BlockMemory::block, size);
    }
    static void operator delete(void* memory, std::size_t size) noexcept {
        BlockMemory::give(memory, BlockMemory::block, size);
    }

    // The order of keys by index, 0 to count - 1, and the slots where they lie.
    int gapEnd() const { return gapBegin + room - count; }
    int slotOf(int index) const { return index < gapBegin ? index : index + room - count; }
    int indexOf(int slot) const { return slot < gapBegin ? slot : slot - (room - count); }
    int firstSlot() const { return slotOf(0); }
    int lastSlot() const { return slotOf(count - 1); }
    double timeAt(int index) const { return arrays.time()[slotOf(index)]; }

    // The arrays for writing; every write goes through here. The block's own copy is made first
    // where another has them too.
    KeyArrays& edit() {
        if (arrays.shared()) [[unlikely]]
            takeOwnArrays(room);
        return arrays;
    }
    // Copies the keys to arrays of the block's own, which may have more slots where the gap is at
    // the end.
    void takeOwnArrays(int newRoom);
    // Gives the gap a slot that lies next to it; false: the slot lies elsewhere. In a full block
    // the gap may open anywhere. The caller counts the key that is gone.
    bool widenGap(int slot) {
        if (slot == gapBegin - 1) {
            --gapBegin;
        } else if (count == room) {
            gapBegin = slot;
        } else {
            return slot == gapEnd();
        }
        return true;
    }
    KeyLinks& linksMade() {
        if (!links) links = KeyLinks(room);
        return links;
    }
    void setParameter(int slot, std::size_t which, double number) {
        if (identical(number, 0) && !arrays.parameter(which)) return;
        edit().parameterMade(which)[slot] = number;
    }
    // A new key without a handle; its parameters are zero.
    void put(int slot, double time, double value, Shape shape) {
        KeyArrays& own = edit();
        own.time()[slot] = time;
        own.value()[slot] = value;
        own.shape()[slot] = shape;
        if (links) links[at(slot)] = 0;
        if (!own.hasParameters()) return;
        for (std::size_t p = 0; p < parameterCount; ++p)
            if (double* column = own.parameter(p)) column[slot] = 0;
    }

    static std::size_t at(int slot) { return static_cast<std::size_t>(slot); }
};

} // namespace cadencora::stage
