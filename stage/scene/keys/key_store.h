// The keys of one envelope: a sorted store with exact times and stable key handles.
//
// Keys lie in blocks of up to 128, each attribute in an array of its own, with one movable gap per
// block: edits next to each other cost a few moves, whatever the length of the curve. Attributes 3
// to 9 take memory only in blocks where one of them is not zero. A copy shares the arrays with its
// original: a block's are copied when one of the two edits a key in them. A key that comes alone
// between shared ones gets a small block of its own, and nothing is copied.
//
// Costs: next, and find, insert or erase near the last place touched: constant. Elsewhere:
// logarithmic, plus at most one block of moves. A copy: a few words per block. Memory: 18 bytes per
// key in full blocks, 8 more per attribute in use, 16 more per key for which a handle was asked and
// 4 more per key of such a key's block.
//
// Not thread-safe, reading included: the last place looked at is remembered.
#pragma once

#include "stage/scene/keys/key_block.h"

#include <cassert>
#include <vector>

namespace cadencora::stage {

// Names a key of one store until that key is destroyed; 0 names none.
enum class KeyHandle : std::uint64_t { none = 0 };

class KeyStore {
    using Block = KeyBlock;

public:
    // A place between reads: valid until the store changes.
    class Cursor {
    public:
        Cursor() = default;
        explicit operator bool() const { return block_ != nullptr; }
        double time() const { return block_->arrays.time()[slot_]; }
        double value() const { return block_->arrays.value()[slot_]; }
        Shape shape() const { return block_->arrays.shape()[slot_]; }
        double parameter(Parameter which) const { return block_->arrays.parameterAt(slot_, which); }
        KeyData data() const;
        void advance() { // past the last key: none
            if (++slot_ == block_->gapBegin) slot_ = block_->gapEnd();
            if (slot_ < block_->room) return;
            block_ = block_->next;
            if (block_) slot_ = block_->firstSlot();
        }
        void stepBack() { // before the first key: none
            if (slot_ == block_->gapEnd()) slot_ = block_->gapBegin;
            if (--slot_ >= 0) return;
            block_ = block_->previous;
            if (block_) slot_ = block_->lastSlot();
        }

        // True where every attribute of the two keys has the same bits.
        friend bool sameKey(const Cursor& a, const Cursor& b) {
            return identical(a.time(), b.time()) && identical(a.value(), b.value()) &&
                   a.shape() == b.shape() &&
                   ((!a.block_->arrays.hasParameters() && !b.block_->arrays.hasParameters()) ||
                    sameParameters(a, b));
        }

        // True where two stores have the key in one array: nothing need be read to tell it is the
        // same.
        friend bool sharedKey(const Cursor& a, const Cursor& b) {
            return a.block_->arrays.time() + a.slot_ == b.block_->arrays.time() + b.slot_;
        }

        // Steps both cursors, which stand on keys that are the same to the bit, over these and the
        // same ones after it, as far as one block shows. Free where stores share the arrays.
        friend void skipSameKeys(Cursor& a, Cursor& b);

    private:
        friend class KeyStore;
        int runLength() const { // of slots with keys from here on
            return (slot_ < block_->gapBegin ? block_->gapBegin : block_->room) - slot_;
        }
        static bool sameParameters(const Cursor& a, const Cursor& b);
        Cursor(const Block* block, int slot) : block_(block), slot_(slot) {}
        const Block* block_ = nullptr;
        int slot_ = 0;
    };

    // How the keys of a store differ from those of an earlier state. A key counts as changed where
    // it stands at the same time as before and any other of its attributes has other bits.
    struct Differences {
        std::size_t added = 0, removed = 0, changed = 0;
        double first = 0, last = 0; // seconds; of those keys, where there are any

        std::size_t count() const { return added + removed + changed; }
    };
    // Free where the two share their arrays.
    Differences differencesFrom(const KeyStore& before) const;

    // A place in the order of the keys, before one of them or after the last: valid until the store
    // changes.
    class Place {
        friend class KeyStore;
        Place(Block* placeBlock, int placeIndex) : block(placeBlock), index(placeIndex) {}
        Block* block;
        int index; // before the index-th key of the block
    };

    // Gives memory that gone stores have left for the next ones back to the system.
    static void releaseMemory();

    KeyStore();
    KeyStore(const KeyStore& other); // the keys; the copy's handles are its own
    KeyStore(KeyStore&& other) noexcept;
    KeyStore& operator=(KeyStore other) noexcept;
    ~KeyStore();
    void swap(KeyStore& other) noexcept; // with the handles

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    std::size_t bytes() const; // memory held, shared arrays too; for reports and tests
    // Memory held, without the arrays that it shares with another store.
    std::size_t bytesBeside(const KeyStore& other) const;

    // Reading without handles.
    Cursor begin() const { return head_ ? Cursor(head_, head_->firstSlot()) : Cursor(); }
    Cursor last() const { return tail_ ? Cursor(tail_, tail_->lastSlot()) : Cursor(); }
    Cursor atOrAfter(double time) const { // the first key at or after a time
        return after(placeAt(time));
    }
    Place placeAt(double time) const { // before that key
        // What is looked at is mostly looked at again, at the same time.
        return isLowerBound(finger_, time) ? finger_ : lowerBound(time);
    }
    Cursor after(Place place) const {
        const Block* block = place.block;
        if (!block) return {};
        if (place.index < block->count) return {block, block->slotOf(place.index)};
        return block->next ? Cursor(block->next, block->next->firstSlot()) : Cursor();
    }

    // Handles. Asking for a key's handle again gives the same one.
    KeyHandle first();
    KeyHandle next(KeyHandle key); // the key must be valid
    // The same without allocating: goes on to the next key. False: nothing was done, since it would
    // allocate, or there is no next key.
    bool nextInPlace(Cursor& key, KeyHandle& result) {
        Cursor next = key;
        next.advance();
        if (!next || !handleInPlace(next, result)) return false;
        key = next;
        return true;
    }
    KeyHandle find(double time);   // the key that stands exactly at the time
    KeyHandle handle(Cursor key) { // the cursor must be up to date, on a key
        return handleAt(&mutableBlock(key), key.slot_);
    }
    bool handleInPlace(Cursor key, KeyHandle& result) { // the same; false: it would allocate
        if (!key.block_->links) return false;
        std::uint32_t& link = mutableBlock(key).links[Block::at(key.slot_)];
        if (link == 0) {
            if (freeEntry_ == 0) return false;
            link = takeEntry(&mutableBlock(key), key.slot_);
        }
        result = handleOf(link);
        return true;
    }
    Cursor at(KeyHandle key) const { // empty where the handle is not one of this store's keys
        const std::uint64_t word = static_cast<std::uint64_t>(key);
        const std::uint64_t link = (word & 0xffffffffu) - 1; // huge for the null handle
        if (link >= entries_.size()) [[unlikely]]
            return {};
        const Entry& entry = entries_[link];
        if (entry.serial != word >> 32) [[unlikely]]
            return {};
        return {entry.block, static_cast<int>(entry.slot)};
    }
    bool valid(KeyHandle key) const { return static_cast<bool>(at(key)); }

    // Puts a key at a finite time; a key that stands there gets the value and keeps the rest.
    Cursor insert(double time, double value, Shape shape);
    // The same at a time where no key stands; the place must be placeAt(time).
    Cursor insertAt(Place place, double time, double value, Shape shape) {
        if (!place.block || place.block->count == place.block->room) place = openBlock(place, time);
        const int slot = takeSlot(place);
        place.block->put(slot, time, value, shape);
        return {place.block, slot};
    }
    // True where insertAt takes no memory, nor handle() for the key.
    bool insertsInPlace(Place place) const {
        const Block* block = place.block;
        return block && block->count < block->room && !block->arrays.shared() && block->links &&
               freeEntry_ != 0;
    }
    // True where insertAt moves no other key, so that cursors on others hold.
    static bool insertsAlone(Place place) {
        return place.block && place.index == place.block->gapBegin;
    }
    void erase(KeyHandle key);
    // The same for any handle, where it takes no memory.
    enum class Erased {
        no,       // not done: it might take memory, or the handle is not one of this store's keys
        alone,    // no other key moved within its block: cursors on others hold
        withMoves // cursors do not hold
    };
    Erased eraseInPlace(KeyHandle key);
    // The cursor must be of this store and up to date.
    void setValue(Cursor key, double value) { mutableBlock(key).edit().value()[key.slot_] = value; }
    void setShape(Cursor key, Shape shape) { mutableBlock(key).edit().shape()[key.slot_] = shape; }
    void setParameter(Cursor key, Parameter which, double value) {
        mutableBlock(key).setParameter(key.slot_, which, value);
    }
    // The same where it takes no memory; false: not done, as it would take some. What most edits
    // are.
    bool setValueInPlace(Cursor key, double value) {
        return setInPlace(key, value, [](KeyArrays& own) { return own.value(); });
    }
    bool setShapeInPlace(Cursor key, Shape shape) {
        return setInPlace(key, shape, [](KeyArrays& own) { return own.shape(); });
    }
    // True where the parameter of all keys nearby is zero, and the number is, to the bit.
    static bool staysZero(Cursor key, Parameter which, double number) {
        return identical(number, 0) && !key.block_->arrays.parameter(which);
    }
    bool setParameterInPlace(Cursor key, Parameter which, double value) {
        if (!key.block_->arrays.parameter(which)) return identical(value, 0); // which it is
        return setInPlace(key, value, [=](KeyArrays& own) { return own.parameter(which); });
    }
    // Moves a key, with its handle; refused (false) where another key stands at the time.
    bool setTime(KeyHandle key, double time);

    // Bulk building: adds a key after the last one. The time must be later than the last key's.
    void append(const KeyData& key);
    void append(double time, double value, Shape shape);
    void clear();

private:
    // What a handle leads to. One out of use has no block, the serial number 0, and the next such
    // one (its place + 1) for a slot.
    struct Entry {
        Block* block = nullptr;
        std::uint32_t serial = 0;
        std::uint32_t slot = 0;

        void moveTo(Block* newBlock, std::size_t newSlot) {
            block = newBlock;
            slot = static_cast<std::uint32_t>(newSlot);
        }
    };

    // True where the place is certain to be the lower bound, as far as its block tells.
    static bool isLowerBound(Place place, double time) {
        const Block* block = place.block;
        const int index = place.index;
        return block && index > 0 && index < block->count && block->timeAt(index - 1) < time &&
               block->timeAt(index) >= time;
    }
    Place lowerBound(double time) const;
    Place search(double time) const; // the same, wherever the last place was
    Block* blockFor(double time) const;
    KeyHandle handleAt(Block* block, int slot);
    KeyHandle handleOf(std::uint32_t link) const {
        return static_cast<KeyHandle>((std::uint64_t{entries_[link - 1].serial} << 32) | link);
    }
    void makeEntries();
    std::uint32_t takeEntry(Block* block, int slot) { // there must be one out of use
        const std::uint32_t link = freeEntry_;
        Entry& entry = entries_[link - 1];
        freeEntry_ = entry.slot;
        entry = {block, nextSerial_, static_cast<std::uint32_t>(slot)};
        if (++nextSerial_ == 0) nextSerial_ = 1;
        return link;
    }
    Entry& entryOf(KeyHandle key) {
        assert(valid(key));
        return entries_[(static_cast<std::uint64_t>(key) & 0xffffffffu) - 1];
    }
    static Block& mutableBlock(Cursor key) { return *const_cast<Block*>(key.block_); }
    template <class T, class Column>
    static bool setInPlace(Cursor key, T content, Column column) {
        Block& block = mutableBlock(key);
        if (block.arrays.shared()) return false;
        column(block.arrays)[key.slot_] = content;
        return true;
    }
    // Gives the slot for a key before the place, whose block has one free; the caller fills it.
    int takeSlot(Place place) {
        Block& block = *place.block;
        if (place.index != block.gapBegin) moveGap(block, place.index);
        ++block.count;
        ++block.gapBegin;
        ++size_;
        finger_ = place;
        return place.index;
    }
    Place openBlock(Place place, double time);
    void moveWithin(Block& block, int fromSlot, int toSlot, int count);
    void moveGap(Block& block, int index);
    void moveKeys(Block& from, int fromSlot, Block& to, int toSlot, int count);
    void eraseSlot(Block& block, int slot);
    Block* addBlockAfter(Block* block, double separator, int room);
    void addAfter(Block* block, std::initializer_list<Block*> added);
    Block* splitShared(Block* block, int index, double time);
    void grow(Block& block, int needed);
    void removeBlock(Block* block);
    void mergeSparse(Block* block);
    // Its key has no handle from now on.
    void releaseEntry(Entry& entry) {
        entry.block->links[entry.slot] = 0;
        entry = {
            nullptr, 0,
            std::exchange(freeEntry_, static_cast<std::uint32_t>(&entry - entries_.data() + 1))};
    }
    void eraseEntry(Entry& entry);
    std::size_t indexOf(const Block* block) const;
    void copyKeys(const KeyStore& other);
    void fetchBlocks() const;

    std::size_t size_ = 0;
    Block* head_ = nullptr;
    Block* tail_ = nullptr;
    // The directory: separators_[i] is at or before every key of blocks_[i] and after every key of
    // blocks_[i - 1]; the first one counts as minus infinity. It may be empty where there is one
    // block.
    std::vector<double> separators_;
    std::vector<Block*> blocks_;
    std::vector<Entry> entries_;
    std::uint32_t freeEntry_ = 0; // the first one out of use, its place + 1
    std::uint32_t nextSerial_;
    mutable Place finger_{nullptr, 0}; // the last place looked at
};

} // namespace cadencora::stage
