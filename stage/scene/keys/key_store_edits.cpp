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
    KeyColumns& target = to.edit(); // before the source is looked at: both may be one
    const KeyColumns& source = *from.columns;
    if (from.links) to.linksMade();
    const auto first = Block::at(fromSlot), place = Block::at(toSlot), keys = Block::at(count);
    const auto moveLink = [&](std::size_t i) {
        if (const std::uint32_t link = (*to.links)[place + i])
            entries_[link - 1].moveTo(&to, place + i);
    };
    const auto moveOne = [&](std::size_t i) {
        target.time[place + i] = source.time[first + i];
        target.value[place + i] = source.value[first + i];
        target.shape[place + i] = source.shape[first + i];
        if (!to.links) return;
        (*to.links)[place + i] = from.links ? (*from.links)[first + i] : 0;
        moveLink(i);
    };
    const auto moveAll = [&](const auto& in, auto& out) {
        std::memmove(&out[place], &in[first], keys * sizeof in[0]);
    };
    constexpr int few = 6; // most moves are shorter
    if (count > few) {
        moveAll(source.time, target.time);
        moveAll(source.value, target.value);
        moveAll(source.shape, target.shape);
        if (from.links) {
            moveAll(*from.links, *to.links);
            for (std::size_t i = 0; i < keys; ++i)
                moveLink(i);
        } else if (to.links) {
            std::fill_n(to.links->begin() + toSlot, count, 0u);
        }
    } else if (fromSlot < toSlot) { // the two may overlap
        for (std::size_t i = keys; i-- > 0;)
            moveOne(i);
    } else {
        for (std::size_t i = 0; i < keys; ++i)
            moveOne(i);
    }
    if (!source.parameters && !target.parameters) return;
    for (std::size_t p = 0; p < parameterCount; ++p) {
        if (source.hasColumn(p)) {
            moveAll(*source.parameters->columns[p], target.column(p));
        } else if (target.hasColumn(p)) {
            std::fill_n(target.column(p).begin() + toSlot, count, 0.0);
        }
    }
}

void KeyStore::moveGap(Block& block, int index) {
    if (index == block.gapBegin) return;
    const int gap = capacity - block.count;
    if (gap > 0) {
        if (index < block.gapBegin) {
            moveKeys(block, index, block, index + gap, block.gapBegin - index);
        } else {
            moveKeys(block, block.gapEnd(), block, block.gapBegin, index - block.gapBegin);
        }
    }
    block.gapBegin = index;
}

// Blocks

KeyStore::Block* KeyStore::addBlockAfter(Block* block, double separator) {
    const std::size_t index = block ? (block == tail_ ? blocks_.size() : indexOf(block) + 1) : 0;
    Block* added = new Block;
    added->separator = separator;
    added->previous = block;
    added->next = block ? block->next : head_;
    (added->previous ? added->previous->next : head_) = added;
    (added->next ? added->next->previous : tail_) = added;
    separators_.insert(separators_.begin() + static_cast<std::ptrdiff_t>(index), separator);
    blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(index), added);
    return added;
}

void KeyStore::removeBlock(Block* block) {
    const auto index = static_cast<std::ptrdiff_t>(indexOf(block));
    separators_.erase(separators_.begin() + index);
    blocks_.erase(blocks_.begin() + index);
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
    moveKeys(*right, 0, *left, left->count, right->count);
    left->count += right->count;
    left->gapBegin = left->count;
    right->count = 0;
    right->gapBegin = 0;
    removeBlock(right);
}

// Edits

// Makes room for a key before `place` and returns its slot; the caller fills it.
int KeyStore::openSlot(Place place, double time) {
    Block* block = place.block;
    int index = place.index;
    if (!block) {
        block = addBlockAfter(tail_, time);
        index = 0;
    } else if (block->count == capacity) {
        if (index == capacity && !block->next) { // growing at the end leaves full blocks
            block = addBlockAfter(block, time);
            index = 0;
        } else {
            constexpr int half = capacity / 2;
            moveGap(*block, half);
            Block* upper = addBlockAfter(block, block->timeAt(half));
            moveKeys(*block, half, *upper, 0, capacity - half);
            upper->count = capacity - half;
            upper->gapBegin = upper->count;
            block->count = half;
            block->gapBegin = half;
            if (index > half) {
                block = upper;
                index -= half;
            }
        }
    }
    moveGap(*block, index);
    ++block->count;
    ++block->gapBegin;
    ++size_;
    finger_ = {block, index};
    return index;
}

KeyStore::Cursor KeyStore::insert(double time, double value, Shape shape) {
    Place place = lowerBound(time);
    if (place.block && place.index == place.block->count && place.block->next) {
        Block* next = place.block->next;
        if (next->timeAt(0) == time) place = {next, 0};
    }
    if (place.block && place.index < place.block->count &&
        place.block->timeAt(place.index) == time) {
        const int slot = place.block->slotOf(place.index);
        place.block->edit().value[Block::at(slot)] = value;
        return {place.block, slot};
    }
    const int slot = openSlot(place, time);
    finger_.block->put(slot, time, value, shape);
    return {finger_.block, slot};
}

inline void KeyStore::eraseSlot(Block& block, int slot) {
    const int index = block.indexOf(slot);
    if (block.count == capacity) {
        block.gapBegin = slot; // no gap yet: it opens here
    } else if (const int after = block.gapBegin - 1 - slot; after >= 0 && after <= 2) {
        // A little before the gap the keys between close up, and the gap stays ahead of the walk.
        if (after > 0) moveKeys(block, slot + 1, block, slot, after);
        --block.gapBegin;
    } else if (slot != block.gapEnd()) { // right after the gap, which just takes it in
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
    entry = {nullptr, 0,
             std::exchange(freeEntry_, static_cast<std::uint32_t>(&entry - entries_.data() + 1))};
    (*block.links)[Block::at(slot)] = 0;
    eraseSlot(block, slot);
}

bool KeyStore::eraseInPlace(KeyHandle key) {
    Entry& entry = entryOf(key);
    Block& block = *entry.block;
    const int slot = static_cast<int>(entry.slot);
    const bool movesKeys =
        block.count < capacity && slot != block.gapEnd() && slot != block.gapBegin - 1;
    if (movesKeys && block.columns.shared()) return false;
    if (block.count <= sparse && block.count > 1) { // it might join a neighbour
        const auto hasRoom = [&](const Block* neighbour) {
            return neighbour && neighbour->count + block.count - 1 <= joined;
        };
        if (hasRoom(block.previous) || hasRoom(block.next)) return false;
    }
    eraseEntry(entry);
    return true;
}

bool KeyStore::setTime(KeyHandle key, double time) {
    const KeyData old = at(key).data();
    if (old.time == time) {
        const Entry& same = entryOf(key);
        same.block->edit().time[same.slot] = time; // zero may change its sign
        return true;
    }
    const Cursor there = atOrAfter(time);
    if (there && there.time() == time) return false;
    // The key leaves its place and comes back elsewhere, under the same entry.
    Entry& entry = entryOf(key);
    const Entry left = entry;
    const auto link = static_cast<std::uint32_t>(&entry - entries_.data()) + 1;
    (*left.block->links)[left.slot] = 0;
    eraseSlot(*left.block, static_cast<int>(left.slot));
    const int slot = openSlot(lowerBound(time), time);
    Block* block = finger_.block;
    block->put(slot, time, old.value, old.shape);
    for (std::size_t p = 0; p < parameterCount; ++p)
        block->setParameter(slot, p, old.parameters[p]);
    block->linksMade()[Block::at(slot)] = link;
    entries_[link - 1].moveTo(block, Block::at(slot));
    return true;
}

void KeyStore::append(double time, double value, Shape shape) {
    assert(!tail_ || last().time() < time);
    Block* block = tail_;
    if (!block || block->count == capacity) block = addBlockAfter(tail_, time);
    moveGap(*block, block->count);
    const int slot = block->count;
    ++block->count;
    ++block->gapBegin;
    ++size_;
    block->put(slot, time, value, shape);
}

void KeyStore::append(const KeyData& key) {
    append(key.time, key.value, key.shape);
    for (std::size_t p = 0; p < parameterCount; ++p)
        tail_->setParameter(tail_->count - 1, p, key.parameters[p]);
}

} // namespace cadencora::stage
