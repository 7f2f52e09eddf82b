// A run of up to 128 neighbouring keys of an envelope, each attribute in an array of its own.
//
// Part of the key store, which alone uses it. A block has one gap among its slots: an edit at the
// gap moves nothing, and the gap follows the edits.
#pragma once

#include "stage/scene/key.h"

#include <bit>
#include <memory>

namespace cadencora::stage {

struct KeyBlock {
    static constexpr int capacity = 128;
    template <class T>
    using Column = std::array<T, capacity>;
    struct Parameters {
        std::array<std::unique_ptr<Column<double>>, parameterCount> columns; // null: all zero
    };

    // Slots [0, gapBegin) and [gapEnd(), capacity) hold keys, in order of time.
    int count = 0;
    int gapBegin = 0;
    KeyBlock* previous = nullptr;
    KeyBlock* next = nullptr;
    double separator = 0;                   // see KeyStore
    std::unique_ptr<Parameters> parameters; // null: all zero
    Column<double> time;
    Column<double> value;
    Column<std::uint32_t> entry; // the key's handle entry + 1; 0: no handle was asked for
    Column<Shape> shape;

    // The order of keys by index, 0 to count - 1, and the slots where they lie.
    int gapEnd() const { return gapBegin + capacity - count; }
    int slotOf(int index) const { return index < gapBegin ? index : index + capacity - count; }
    int indexOf(int slot) const { return slot < gapBegin ? slot : slot - (capacity - count); }
    int firstSlot() const { return slotOf(0); }
    int lastSlot() const { return slotOf(count - 1); }
    double timeAt(int index) const { return time[at(slotOf(index))]; }

    double parameter(int slot, std::size_t which) const {
        if (!parameters) return 0;
        const auto& column = parameters->columns[which];
        return column ? (*column)[at(slot)] : 0;
    }
    void setParameter(int slot, std::size_t which, double number) {
        const bool zero = std::bit_cast<std::uint64_t>(number) == 0;
        if (!parameters && zero) return;
        column(which)[at(slot)] = number;
    }
    // The column of a parameter, made and zeroed where it was all zero.
    Column<double>& column(std::size_t which) {
        if (!parameters) parameters = std::make_unique<Parameters>();
        auto& column = parameters->columns[which];
        if (!column) column = std::make_unique<Column<double>>();
        return *column;
    }
    bool hasColumn(std::size_t which) const { return parameters && parameters->columns[which]; }

    // A new key without a handle; its parameters are zero.
    void put(int slot, double newTime, double newValue, Shape newShape) {
        time[at(slot)] = newTime;
        value[at(slot)] = newValue;
        shape[at(slot)] = newShape;
        entry[at(slot)] = 0;
        if (!parameters) return;
        for (auto& column : parameters->columns)
            if (column) (*column)[at(slot)] = 0;
    }

    static std::size_t at(int slot) { return static_cast<std::size_t>(slot); }
};

} // namespace cadencora::stage
