// Edits of a key store: keys that move within and between blocks, and blocks that come and go.
#include "stage/scene/keys/key_store.h"

#include <algorithm>
#include <cstring>

namespace cadencora::stage {

namespace {

constexpr int capacity = KeyBlock::capacity;
constexpr int sparse = capacity / 4; // a block below this joins a neighbour with room
constexpr int joined = capacity * 3 / 4;

} // namespace

// Every key that moves takes its handle along.
void KeyStore::moveKeys(Block& from, int fromSlot, Block& to, int toSlot, int count) {
    KeyArrays& target = to.edit(); // before the source is looked at: both may be one
    const KeyArrays& source = from.arrays;
    if (from.links) to.linksMade();
    const auto place = Block::at(toSlot), keys = Block::at(count);
    const auto moveAll = [&](const auto* in, auto* out) {
        std::memmove(out + toSlot, in + fromSlot, keys * sizeof *in);
    };
    moveAll(source.time(), target.time());
    moveAll(source.value(), target.value());
    moveAll(source.shape(), target.shape());
    if (from.links) {
        moveAll(from.links.begin(), to.links.begin());
        for (std::size_t i = 0; i < keys; ++i)
            if (const std::uint32_t link = to.links[place + i])
                entries_[link - 1].moveTo(&to, place + i);
    } else if (to.links) {
        std::fill_n(to.links.begin() + toSlot, count, 0u);
    }
    if (!source.hasParameters() && !target.hasParameters()) return;
    for (std::size_t p = 0; p < parameterCount; ++p) {
        if (const double* column = source.parameter(p)) {
            moveAll(column, target.parameterMade(p));
        } else if (double* zeroed = target.parameter(p)) {
            std::fill_n(zeroed + toSlot, count, 0.0);
        }
    }
}

// The same within one block. Edits that follow each other move few keys at a time.
inline void KeyStore::moveWithin(Block& block, int fromSlot, int toSlot, int count) {
    constexpr int few = 4;
    if (count > few || !block.links || block.arrays.shared() || block.arrays.hasParameters())
        return moveKeys(block, fromSlot, block, toSlot, count);
    KeyArrays& keys = block.arrays;
    KeyLinks& links = block.links;
    const bool backward = fromSlot < toSlot; // the two may overlap
    int from = backward ? fromSlot + count - 1 : fromSlot;
    const int distance = toSlot - fromSlot, step = backward ? -1 : 1;
    for (; count > 0; --count, from += step) {
        const int to = from + distance;
        keys.time()[to] = keys.time()[from];
        keys.value()[to] = keys.value()[from];
        keys.shape()[to] = keys.shape()[from];
        if (const std::uint32_t link = links[Block::at(to)] = links[Block::at(from)])
            entries_[link - 1].slot = static_cast<std::uint32_t>(to);
    }
}

void KeyStore::moveGap(Block& block, int index) {
    if (index == block.gapBegin) return;
    const int gap = block.room - block.count;
    if (gap > 0) {
        if (index < block.gapBegin) {
            moveWithin(block, index, index + gap, block.gapBegin - index);
        } else {
            moveWithin(block, block.gapEnd(), block.gapBegin, index - block.gapBegin);
        }
    }
    block.gapBegin = index;
}

// Blocks

// Puts new blocks into the order after a block; null: before all others.
void KeyStore::addAfter(Block* block, std::initializer_list<Block*> added) {
    if (head_ && blocks_.empty()) { // the directory begins with the second block
        separators_.push_back(head_->separator);
        blocks_.push_back(head_);
    }
    if (head_) {
        const std::size_t index =
            block ? (block == tail_ ? blocks_.size() : indexOf(block) + 1) : 0;
        const auto at = static_cast<std::ptrdiff_t>(index);
        blocks_.insert(blocks_.begin() + at, added);
        separators_.insert(separators_.begin() + at, added.size(), 0.0);
        for (std::size_t i = 0; i < added.size(); ++i)
            separators_[index + i] = added.begin()[i]->separator;
    }
    for (Block* one : added) {
        one->previous = block;
        one->next = block ? block->next : head_;
        (one->previous ? one->previous->next : head_) = one;
        (one->next ? one->next->previous : tail_) = one;
        block = one;
    }
}

KeyStore::Block* KeyStore::addBlockAfter(Block* block, double separator, int room) {
    auto added = std::make_unique<Block>(room, separator);
    addAfter(block, {added.get()});
    return added.release();
}

void KeyStore::removeBlock(Block* block) {
    if (!blocks_.empty()) {
        const auto index = static_cast<std::ptrdiff_t>(indexOf(block));
        separators_.erase(separators_.begin() + index);
        blocks_.erase(blocks_.begin() + index);
    }
    (block->previous ? block->previous->next : head_) = block->next;
    (block->next ? block->next->previous : tail_) = block->previous;
    if (finger_.block == block) finger_ = {nullptr, 0};
    delete block;
}

// The block has fewer keys than it should.
void KeyStore::mergeSparse(Block* block) {
    if (block->count == 0) {
        removeBlock(block);
        return;
    }
    Block* left = block->previous;
    Block* right = block;
    if (!left || left->count + block->count > joined) {
        left = block;
        right = block->next;
        if (!right || left->count + right->count > joined) return;
    }
    // The gap of the left block goes to its end, that of the right block too: two plain runs.
    moveGap(*left, left->count);
    moveGap(*right, right->count);
    if (left->room < left->count + right->count) grow(*left, left->count + right->count);
    moveKeys(*right, 0, *left, left->count, right->count);
    left->count += right->count;
    left->gapBegin = left->count;
    right->count = 0;
    right->gapBegin = 0;
    removeBlock(right);
}

// Edits

// Gives a block slots for so many keys.
void KeyStore::grow(Block& block, int needed) {
    moveGap(block, block.count);
    block.takeOwnArrays(roomFor(needed));
}

// A new block with few slots between the keys of a full one, which keep their shared arrays.
KeyStore::Block* KeyStore::splitShared(Block* block, int index, double time) {
    auto upper = std::make_unique<Block>(*block, index);
    auto between = std::make_unique<Block>(slotCounts.front(), time);
    if (block->links) {
        KeyLinks& links = upper->linksMade();
        std::copy_n(block->links.begin() + index, upper->count, links.begin());
    }
    addAfter(block, {between.get(), upper.get()});
    block->count = block->gapBegin = block->room = index;
    if (upper->links)
        for (int slot = 0; slot < upper->count; ++slot)
            if (const std::uint32_t link = upper->links[Block::at(slot)])
                entries_[link - 1].moveTo(upper.get(), Block::at(slot));
    upper.release();
    return between.release();
}

// Makes room at a place in a full block or in none; returns where it is now.
KeyStore::Place KeyStore::openBlock(Place place, double time) {
    Block* block = place.block;
    const int index = place.index;
    if (!block) return {addBlockAfter(tail_, time, slotCounts.front()), 0};
    if (block->room < capacity) {
        grow(*block, block->count + 1);
        return place;
    }
    // Growing at the end leaves full blocks.
    if (index == capacity && !block->next) return {addBlockAfter(block, time, capacity), 0};
    // A first key between shared ones. The next ones nearby copy what they need: many small blocks
    // would cost more.
    constexpr int apart = 4;
    if (block->arrays.shared() && index >= apart && capacity - index >= apart)
        return {splitShared(block, index, time), 0};
    constexpr int half = capacity / 2;
    moveGap(*block, half);
    Block* upper = addBlockAfter(block, block->timeAt(half), capacity);
    moveKeys(*block, half, *upper, 0, capacity - half);
    upper->count = capacity - half;
    upper->gapBegin = upper->count;
    block->count = half;
    block->gapBegin = half;
    if (index > half) return {upper, index - half};
    return place;
}

KeyStore::Cursor KeyStore::insert(double time, double value, Shape shape) {
    const Place place = placeAt(time);
    const Cursor next = after(place);
    if (!next || next.time() != time) return insertAt(place, time, value, shape);
    setValue(next, value);
    return next;
}

inline void KeyStore::eraseSlot(Block& block, int slot) {
    const int index = block.indexOf(slot);
    if (!block.widenGap(slot)) {
        // A little before the gap the keys between close up, and the gap stays ahead of the walk.
        const int left = block.gapBegin - 1 - slot;
        if (left >= 0 && left <= 2)
            moveWithin(block, slot + 1, slot, left);
        else
            moveGap(block, index + 1);
        --block.gapBegin;
    }
    --block.count;
    --size_;
    finger_ = {&block, index};
    if (block.count < sparse) mergeSparse(&block);
}

void KeyStore::erase(KeyHandle key) {
    eraseEntry(entryOf(key));
}

inline void KeyStore::eraseEntry(Entry& entry) {
    Block& block = *entry.block;
    const int slot = static_cast<int>(entry.slot);
    releaseEntry(entry);
    eraseSlot(block, slot);
}

KeyStore::Erased KeyStore::eraseInPlace(KeyHandle key) {
    const Cursor at = this->at(key);
    if (!at) return Erased::no;
    Block& block = mutableBlock(at);
    if (block.count > sparse && block.widenGap(at.slot_)) {
        releaseEntry(entryOf(key));
        --block.count;
        --size_;
        finger_ = {&block, block.gapBegin};
        return Erased::alone;
    }
    const bool movesKeys =
        block.count < block.room && at.slot_ != block.gapEnd() && at.slot_ != block.gapBegin - 1;
    if (movesKeys && block.arrays.shared()) return Erased::no;
    if (block.count <= sparse && block.count > 1) { // it might join a neighbour
        const auto hasRoom = [&](const Block* neighbour) {
            return neighbour && neighbour->count + block.count - 1 <= joined;
        };
        if (hasRoom(block.previous) || hasRoom(block.next)) return Erased::no;
    }
    eraseEntry(entryOf(key));
    return Erased::withMoves;
}

bool KeyStore::setTime(KeyHandle key, double time) {
    const KeyData old = at(key).data();
    if (old.time == time) {
        const Entry& same = entryOf(key);
        same.block->edit().time()[same.slot] = time; // zero may change its sign
        return true;
    }
    const Cursor there = atOrAfter(time);
    if (there && there.time() == time) return false;
    // The key leaves its place and comes back elsewhere, under the same entry.
    Entry& entry = entryOf(key);
    const Entry left = entry;
    const auto link = static_cast<std::uint32_t>(&entry - entries_.data()) + 1;
    left.block->links[left.slot] = 0;
    eraseSlot(*left.block, static_cast<int>(left.slot));
    const Cursor moved = insertAt(lowerBound(time), time, old.value, old.shape);
    Block& block = mutableBlock(moved);
    for (std::size_t p = 0; p < parameterCount; ++p)
        block.setParameter(moved.slot_, p, old.parameters[p]);
    block.linksMade()[Block::at(moved.slot_)] = link;
    entries_[link - 1].moveTo(&block, Block::at(moved.slot_));
    return true;
}

void KeyStore::append(double time, double value, Shape shape) {
    assert(!tail_ || last().time() < time);
    insertAt({tail_, tail_ ? tail_->count : 0}, time, value, shape);
}

void KeyStore::append(const KeyData& key) {
    append(key.time, key.value, key.shape);
    for (std::size_t p = 0; p < parameterCount; ++p)
        tail_->setParameter(tail_->count - 1, p, key.parameters[p]);
}

} // namespace cadencora::stage
