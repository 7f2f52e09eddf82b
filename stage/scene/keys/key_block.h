// A run of up to 128 neighbouring keys of an envelope, each attribute in an array of its own.
//
// Part of the key store; nothing else uses it. A block has one gap among its slots: an edit at the
// gap moves nothing, and the gap follows the edits. Copies of a store share the arrays until a key
// in them is edited; where the gap lies, and the handles, are each store's own.
#pragma once

#include "stage/base/bits.h"
#include "stage/scene/keys/key.h"

#include <memory>
#include <utility>

namespace cadencora::stage {

// Gives objects of a type memory that others of the type had before: fresh memory costs more than
// the keys put into it. Each thread keeps its own; some may be given back on another thread.
template <class T>
struct Recycled {
    static void* operator new(std::size_t size);
    static void operator delete(void* memory) noexcept;
    static void release() noexcept; // what this thread keeps
};

// The arrays of a block. The content of slots without a key is unspecified.
struct KeyColumns : Recycled<KeyColumns> {
    static constexpr int capacity = 128;
    template <class T>
    using Column = std::array<T, capacity>;
    struct Parameters {
        std::array<std::unique_ptr<Column<double>>, parameterCount> columns; // null: all zero
    };

    Column<double> time;
    Column<double> value;
    Column<Shape> shape;
    std::uint32_t owners = 1;
    std::unique_ptr<Parameters> parameters; // null: all zero

    double parameter(int slot, std::size_t which) const {
        if (!parameters) return 0;
        const auto& column = parameters->columns[which];
        return column ? (*column)[static_cast<std::size_t>(slot)] : 0;
    }
    bool hasColumn(std::size_t which) const { return parameters && parameters->columns[which]; }
    // The column of a parameter, made and zeroed where it was all zero.
    Column<double>& column(std::size_t which) {
        if (!parameters) parameters = std::make_unique<Parameters>();
        auto& column = parameters->columns[which];
        if (!column) column = std::make_unique<Column<double>>();
        return *column;
    }
};

// One owner's hold on columns. Copying shares them; the count is not shared between threads.
class SharedColumns {
public:
    SharedColumns() : columns_(new KeyColumns) {} // the parameters all zero, the rest not set
    SharedColumns(const SharedColumns& other) noexcept : columns_(other.columns_) {
        ++columns_->owners;
    }
    SharedColumns& operator=(SharedColumns other) noexcept {
        std::swap(columns_, other.columns_);
        return *this;
    }
    ~SharedColumns() {
        if (--columns_->owners == 0) delete columns_;
    }
    bool shared() const { return columns_->owners > 1; }
    const KeyColumns* operator->() const { return columns_; }
    const KeyColumns& operator*() const { return *columns_; }
    KeyColumns& forEditing() { return *columns_; } // only where they are not shared
    bool operator==(const SharedColumns&) const = default;

private:
    KeyColumns* columns_;
};

struct KeyBlock : Recycled<KeyBlock> {
    static constexpr int capacity = KeyColumns::capacity;
    // Per slot: the key's handle entry + 1; 0: no handle was asked for.
    struct Links : KeyColumns::Column<std::uint32_t>, Recycled<Links> {};

    // Slots [0, gapBegin) and [gapEnd(), capacity) hold keys, in order of time.
    int count = 0;
    int gapBegin = 0;
    SharedColumns columns;
    std::unique_ptr<Links> links; // null: no handle was asked for
    KeyBlock* previous = nullptr;
    KeyBlock* next = nullptr;
    double separator = 0; // see KeyStore

    KeyBlock() = default;
    // For a copy of the store: shares the columns; handles and neighbours stay with the original.
    KeyBlock(const KeyBlock& other)
        : count(other.count), gapBegin(other.gapBegin), columns(other.columns),
          separator(other.separator) {}
    KeyBlock& operator=(const KeyBlock&) = delete;

    // The order of keys by index, 0 to count - 1, and the slots where they lie.
    int gapEnd() const { return gapBegin + capacity - count; }
    int slotOf(int index) const { return index < gapBegin ? index : index + capacity - count; }
    int indexOf(int slot) const { return slot < gapBegin ? slot : slot - (capacity - count); }
    int firstSlot() const { return slotOf(0); }
    int lastSlot() const { return slotOf(count - 1); }
    double timeAt(int index) const { return columns->time[at(slotOf(index))]; }

    // The columns for writing; every write goes through here. The block's own copy is made first
    // where another store has them too.
    KeyColumns& edit() {
        if (columns.shared()) [[unlikely]]
            takeOwnColumns();
        return columns.forEditing();
    }
    // Gives the gap a slot that lies next to it; false: the slot lies elsewhere. In a full block
    // the gap may open anywhere. The caller counts the key that is gone.
    bool widenGap(int slot) {
        if (slot == gapBegin - 1) {
            --gapBegin;
        } else if (count == capacity) {
            gapBegin = slot;
        } else {
            return slot == gapEnd();
        }
        return true;
    }
    Links& linksMade() {
        if (!links) links = std::make_unique<Links>();
        return *links;
    }
    void setParameter(int slot, std::size_t which, double number) {
        if (identical(number, 0) && !columns->hasColumn(which)) return;
        edit().column(which)[at(slot)] = number;
    }
    // A new key without a handle; its parameters are zero.
    void put(int slot, double time, double value, Shape shape) {
        KeyColumns& own = edit();
        own.time[at(slot)] = time;
        own.value[at(slot)] = value;
        own.shape[at(slot)] = shape;
        if (links) (*links)[at(slot)] = 0;
        if (!own.parameters) return;
        for (auto& column : own.parameters->columns)
            if (column) (*column)[at(slot)] = 0;
    }

    static std::size_t at(int slot) { return static_cast<std::size_t>(slot); }

private:
    void takeOwnColumns();
};

} // namespace cadencora::stage
