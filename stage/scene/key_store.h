// The keys of one envelope: a sorted store with exact times and stable key handles.
//
// Keys lie in blocks of up to 128, each attribute in an array of its own, with one movable gap per
// block: edits next to each other cost a few moves, whatever the length of the curve. Attributes 3
// to 9 take memory only in blocks where one of them is not zero.
//
// Costs: next, and find, insert or erase near the last place touched: constant. Elsewhere:
// logarithmic, plus at most one block of moves. Memory: 21 bytes per key in full blocks, 8 more per
// attribute in use, 16 more per key for which a handle was asked.
//
// Not thread-safe, reading included: the last place looked at is remembered.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace cadencora::stage {

// How the curve comes into a key from the one before (key attribute 2).
enum class Shape : std::uint8_t {
    spline = 0,   // smooth, with tension, continuity and bias
    linear = 1,   // straight
    tangents = 2, // cubic with explicit slopes at both ends
    hold = 4      // the previous key's value stands until this key
};

constexpr bool isShape(int number) {
    return number == 0 || number == 1 || number == 2 || number == 4;
}

// Key attributes 3 to 9 by their place in a parameter array.
enum Parameter : std::size_t {
    tension = 0,       // attribute 3, spline
    continuity = 1,    // attribute 4, spline
    bias = 2,          // attribute 5, spline
    incomingSlope = 3, // attribute 6, tangents: units per second where the curve arrives
    outgoingSlope = 4, // attribute 7, tangents: units per second where the curve leaves
    parameterCount = 7 // attributes 8 and 9 are kept as they are
};

// A whole key as a value.
struct KeyData {
    double time = 0; // seconds
    double value = 0;
    Shape shape = Shape::spline;
    std::array<double, parameterCount> parameters{};
};

// Names a key of one store until that key is destroyed; 0 names none.
enum class KeyHandle : std::uint64_t { none = 0 };

class KeyStore {
    struct Block;

public:
    // A place between reads: valid until the store changes.
    class Cursor {
    public:
        Cursor() = default;
        explicit operator bool() const { return block_ != nullptr; }
        double time() const;
        double value() const;
        Shape shape() const;
        double parameter(Parameter which) const;
        KeyData data() const;
        void advance();  // past the last key: none
        void stepBack(); // before the first key: none

        // True where every attribute of the two keys has the same bits.
        friend bool sameKey(const Cursor& a, const Cursor& b);

    private:
        friend class KeyStore;
        Cursor(const Block* block, int slot) : block_(block), slot_(slot) {}
        const Block* block_ = nullptr;
        int slot_ = 0;
    };

    KeyStore();
    KeyStore(const KeyStore& other); // the keys; the copy's handles are its own
    KeyStore(KeyStore&& other) noexcept;
    KeyStore& operator=(KeyStore other) noexcept;
    ~KeyStore();
    void swap(KeyStore& other) noexcept; // with the handles

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    std::size_t bytes() const; // memory held, for reports and tests

    // Reading without handles.
    Cursor begin() const;
    Cursor last() const;
    Cursor atOrAfter(double time) const; // the first key at or after a time

    // Handles. Asking for a key's handle again gives the same one.
    KeyHandle first();
    KeyHandle next(KeyHandle key); // the key must be valid
    KeyHandle find(double time);   // the key that stands exactly at the time
    bool valid(KeyHandle key) const;
    Cursor at(KeyHandle key) const; // the key must be valid

    // Puts a key at a finite time; a key that stands there gets the value and keeps the rest.
    KeyHandle insert(double time, double value, Shape shape);
    void erase(KeyHandle key);
    void setValue(KeyHandle key, double value);
    void setShape(KeyHandle key, Shape shape);
    void setParameter(KeyHandle key, Parameter which, double value);
    // Moves a key, with its handle; refused (false) where another key stands at the time.
    bool setTime(KeyHandle key, double time);

    // Bulk building: adds a key after the last one. The time must be later than the last key's.
    void append(const KeyData& key);
    void append(double time, double value, Shape shape);
    void clear();

private:
    struct Place { // a position in the order: before the index-th key of a block
        Block* block;
        int index;
    };
    struct Entry { // what a handle leads to
        Block* block = nullptr;
        std::uint32_t serial = 0; // 0: not in use
        std::uint32_t slot = 0;
    };

    Place lowerBound(double time) const;
    Block* blockFor(double time) const;
    KeyHandle handleAt(Block* block, int slot);
    Entry& entryOf(KeyHandle key);
    const Entry& entryOf(KeyHandle key) const;
    int openSlot(Place place, double time);
    void moveGap(Block& block, int index);
    void moveSlots(Block& block, int from, int to, int count);
    void moveAcross(Block& from, int fromSlot, Block& to, int toSlot, int count);
    void eraseSlot(Block& block, int slot);
    Block* addBlockAfter(Block* block, double separator);
    void removeBlock(Block* block);
    void mergeIfSparse(Block* block);
    std::size_t indexOf(const Block* block) const;
    void copyKeys(const KeyStore& other);

    std::size_t size_ = 0;
    Block* head_ = nullptr;
    Block* tail_ = nullptr;
    // The directory: separators_[i] is at or before every key of blocks_[i] and after every key of
    // blocks_[i - 1]; the first one counts as minus infinity.
    std::vector<double> separators_;
    std::vector<Block*> blocks_;
    std::vector<Entry> entries_;
    std::vector<std::uint32_t> freeEntries_;
    std::uint32_t nextSerial_;
    mutable Place finger_{nullptr, 0}; // the last place looked at
};

} // namespace cadencora::stage
