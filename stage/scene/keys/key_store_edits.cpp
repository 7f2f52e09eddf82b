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
    const auto moveAll = [&](const auto& in, auto& out) {
        std::memmove(&out[place], &in[first], keys * sizeof in[0]);
    };
    moveAll(source.time, target.time);
    moveAll(source.value, target.value);
    moveAll(source.shape, target.shape);
    if (from.links) {
        moveAll(*from.links, *to.links);
        for (std::size_t i = 0; i < keys; ++i)
            if (const std::uint32_t link = (*to.links)[place + i])
                entries_[link - 1].moveTo(&to, place + i);
    } else if (to.links) {
        std::fill_n(to.links->begin() + toSlot, count, 0u);
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

// The same within one block. Edits that follow each other move few keys at a time.
inline void KeyStore::moveWithin(Block& block, int fromSlot, int toSlot, int count) {
    constexpr int few = 4;
    if (count > few || !block.links || block.columns.shared() || block.columns->parameters)
        return moveKeys(block, fromSlot, block, toSlot, count);
    KeyColumns& keys = block.columns.forEditing();
    Block::Links& links = *block.links;
    const bool backward = fromSlot < toSlot; // the two may overlap
    int from = backward ? fromSlot + count - 1 : fromSlot;
    const int distance = toSlot - fromSlot, step = backward ? -1 : 1;
    for (; count > 0; --count, from += step) {
        const auto source = Block::at(from), target = Block::at(from + distance);
        keys.time[target] = keys.time[source];
        keys.value[target] = keys.value[source];
        keys.shape[target] = keys.shape[source];
        if (const std::uint32_t link = links[target] = links[source])
            entries_[link - 1].slot = static_cast<std::uint32_t>(target);
    }
}

void KeyStore::moveGap(Block& block, int index) {
    if (index == block.gapBegin) return;
    const int gap = capacity - block.count;
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
        block.count < capacity && at.slot_ != block.gapEnd() && at.slot_ != block.gapBegin - 1;
    if (movesKeys && block.columns.shared()) return Erased::no;
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
