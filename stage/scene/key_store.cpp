#include "stage/scene/key_store.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cassert>
#include <cstring>
#include <limits>
#include <utility>

namespace cadencora::stage {

namespace {

constexpr int capacity = KeyBlock::capacity;
constexpr int sparse = capacity / 4; // a block below this joins a neighbour with room
constexpr int joined = capacity * 3 / 4;

// Blocks that were given back, kept for re-use: fresh memory costs more than the keys put into it.
class BlockPool {
public:
    ~BlockPool() {
        while (free_)
            delete std::exchange(free_, free_->next);
    }
    KeyBlock* take() {
        if (!free_) return new KeyBlock;
        KeyBlock* block = std::exchange(free_, free_->next);
        --count_;
        return block;
    }
    void give(KeyBlock* block) {
        if (count_ >= mostKept) {
            delete block;
            return;
        }
        block->parameters.reset();
        block->count = 0;
        block->gapBegin = 0;
        block->previous = nullptr;
        block->next = free_;
        free_ = block;
        ++count_;
    }

private:
    static constexpr int mostKept = 20000; // about 50 MB
    KeyBlock* free_ = nullptr;
    int count_ = 0;
};

// Each thread keeps its own free blocks; a block may be given back on another thread.
BlockPool& pool() {
    thread_local BlockPool blocks;
    return blocks;
}

// Serial numbers of handles start elsewhere in each store, so that a handle of one store is not
// taken for one of another.
std::uint32_t firstSerial() {
    static std::atomic<std::uint32_t> stores{0};
    return stores.fetch_add(0x9e3779b9u, std::memory_order_relaxed) | 1u;
}

} // namespace

// Cursor

KeyData KeyStore::Cursor::data() const {
    KeyData key{time(), value(), shape(), {}};
    for (std::size_t p = 0; p < parameterCount; ++p)
        key.parameters[p] = block_->parameter(slot_, p);
    return key;
}

void KeyStore::Cursor::stepBack() {
    const int index = block_->indexOf(slot_);
    if (index > 0) {
        slot_ = block_->slotOf(index - 1);
        return;
    }
    block_ = block_->previous;
    if (block_) slot_ = block_->lastSlot();
}

bool sameKey(const KeyStore::Cursor& a, const KeyStore::Cursor& b) {
    const auto bits = [](double x) { return std::bit_cast<std::uint64_t>(x); };
    if (bits(a.time()) != bits(b.time()) || bits(a.value()) != bits(b.value()) ||
        a.shape() != b.shape())
        return false;
    if (!a.block_->parameters && !b.block_->parameters) return true;
    for (std::size_t p = 0; p < parameterCount; ++p) {
        if (bits(a.block_->parameter(a.slot_, p)) != bits(b.block_->parameter(b.slot_, p)))
            return false;
    }
    return true;
}

bool skipSameKeys(KeyStore::Cursor& a, KeyStore::Cursor& b) {
    if (a.block_->parameters || b.block_->parameters) return false;
    if (!sameKey(a, b)) return false; // before longer stretches are looked at
    const int run = std::min(a.runLength(), b.runLength());
    const auto same = [&](const auto& x, const auto& y) {
        return std::memcmp(&x[KeyBlock::at(a.slot_)], &y[KeyBlock::at(b.slot_)],
                           KeyBlock::at(run) * sizeof x[0]) == 0;
    };
    if (!same(a.block_->time, b.block_->time) || !same(a.block_->value, b.block_->value) ||
        !same(a.block_->shape, b.block_->shape))
        return false;
    a.slot_ += run - 1;
    b.slot_ += run - 1;
    a.advance();
    b.advance();
    return true;
}

// Life

KeyStore::KeyStore() : nextSerial_(firstSerial()) {}

KeyStore::KeyStore(const KeyStore& other) : KeyStore() {
    copyKeys(other);
}

KeyStore::KeyStore(KeyStore&& other) noexcept : KeyStore() {
    swap(other);
}

KeyStore& KeyStore::operator=(KeyStore other) noexcept {
    swap(other);
    return *this;
}

KeyStore::~KeyStore() {
    clear();
}

void KeyStore::swap(KeyStore& other) noexcept {
    std::swap(size_, other.size_);
    std::swap(head_, other.head_);
    std::swap(tail_, other.tail_);
    separators_.swap(other.separators_);
    blocks_.swap(other.blocks_);
    entries_.swap(other.entries_);
    freeEntries_.swap(other.freeEntries_);
    std::swap(nextSerial_, other.nextSerial_);
    std::swap(finger_, other.finger_);
}

void KeyStore::copyKeys(const KeyStore& other) {
    separators_.reserve(other.separators_.size());
    blocks_.reserve(other.blocks_.size());
    for (const Block* from = other.head_; from; from = from->next) {
        Block* to = addBlockAfter(tail_, from->separator);
        to->count = from->count;
        to->gapBegin = from->count;
        const auto before = Block::at(from->gapBegin), after = Block::at(from->gapEnd());
        const auto copy = [&](const auto& source, auto& target) {
            std::copy(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(before),
                      target.begin());
            std::copy(source.begin() + static_cast<std::ptrdiff_t>(after), source.end(),
                      target.begin() + static_cast<std::ptrdiff_t>(before));
        };
        copy(from->time, to->time);
        copy(from->value, to->value);
        copy(from->shape, to->shape);
        std::fill_n(to->entry.begin(), to->count, 0u);
        for (std::size_t p = 0; p < parameterCount; ++p)
            if (from->hasColumn(p)) copy(*from->parameters->columns[p], to->column(p));
        size_ += Block::at(to->count);
    }
}

void KeyStore::clear() {
    while (head_)
        pool().give(std::exchange(head_, head_->next));
    tail_ = nullptr;
    size_ = 0;
    separators_.clear();
    blocks_.clear();
    entries_.clear();
    freeEntries_.clear();
    finger_ = {nullptr, 0};
}

std::size_t KeyStore::bytes() const {
    std::size_t total = sizeof *this + separators_.capacity() * sizeof(double) +
                        blocks_.capacity() * sizeof(Block*) + entries_.capacity() * sizeof(Entry) +
                        freeEntries_.capacity() * sizeof(std::uint32_t);
    for (const Block* block = head_; block; block = block->next) {
        total += sizeof(Block);
        if (block->parameters) total += sizeof *block->parameters;
        for (std::size_t p = 0; p < parameterCount; ++p)
            total += block->hasColumn(p) ? sizeof(Block::Column<double>) : 0;
    }
    return total;
}

// Places

KeyStore::Block* KeyStore::blockFor(double time) const {
    const auto above = std::upper_bound(separators_.begin() + 1, separators_.end(), time);
    return blocks_[static_cast<std::size_t>(above - separators_.begin()) - 1];
}

// The first key at or after the time; the block's end where all its keys are earlier.
KeyStore::Place KeyStore::lowerBound(double time) const {
    // Most look-ups follow the last one closely.
    if (Block* block = finger_.block; block && block->count > 0) {
        const int count = block->count;
        int index = std::min(finger_.index, count - 1);
        constexpr int reach = 4;
        if (block->timeAt(index) < time) {
            for (int step = 0; step < reach && index + 1 < count; ++step)
                if (block->timeAt(++index) >= time) return finger_ = {block, index};
            // Past the last key of the last block there is nothing to search.
            if (index + 1 == count && block == tail_ && block->timeAt(index) < time)
                return finger_ = {block, count};
        } else {
            for (int step = 0; step < reach && index > 0; ++step)
                if (block->timeAt(--index) < time) return finger_ = {block, index + 1};
            if (index == 0 && block == head_) return finger_ = {block, 0};
        }
    }
    if (!head_) return {nullptr, 0};
    Block* block = blockFor(time);
    int low = 0, length = block->count;
    while (length > 0) {
        const int half = length / 2;
        const bool earlier = block->timeAt(low + half) < time;
        low = earlier ? low + half + 1 : low;
        length = earlier ? length - half - 1 : half;
    }
    return finger_ = {block, low};
}

std::size_t KeyStore::indexOf(const Block* block) const {
    const auto place =
        std::upper_bound(separators_.begin() + 1, separators_.end(), block->separator);
    std::size_t index = static_cast<std::size_t>(place - separators_.begin()) - 1;
    if (block == head_) index = 0;
    assert(blocks_[index] == block);
    return index;
}

KeyStore::Cursor KeyStore::begin() const {
    return head_ ? Cursor(head_, head_->firstSlot()) : Cursor();
}

KeyStore::Cursor KeyStore::last() const {
    return tail_ ? Cursor(tail_, tail_->lastSlot()) : Cursor();
}

KeyStore::Cursor KeyStore::atOrAfter(double time) const {
    const Place place = lowerBound(time);
    if (!place.block) return {};
    if (place.index < place.block->count) return {place.block, place.block->slotOf(place.index)};
    const Block* next = place.block->next;
    return next ? Cursor(next, next->firstSlot()) : Cursor();
}

// Handles

KeyHandle KeyStore::handleAt(Block* block, int slot) {
    std::uint32_t& link = block->entry[Block::at(slot)];
    if (link == 0) {
        if (freeEntries_.empty()) {
            // Never more room than there are keys: at most that many handles are in use at once.
            if (const std::size_t used = entries_.size(); used == entries_.capacity())
                entries_.reserve(std::max(used + 1, std::min(2 * used + 16, size_)));
            entries_.emplace_back();
            link = static_cast<std::uint32_t>(entries_.size());
        } else {
            link = freeEntries_.back() + 1;
            freeEntries_.pop_back();
        }
        entries_[link - 1] = {block, nextSerial_, static_cast<std::uint32_t>(slot)};
        if (++nextSerial_ == 0) nextSerial_ = 1;
    }
    return static_cast<KeyHandle>((std::uint64_t{entries_[link - 1].serial} << 32) | link);
}

KeyHandle KeyStore::first() {
    return head_ ? handleAt(head_, head_->firstSlot()) : KeyHandle::none;
}

KeyHandle KeyStore::next(KeyHandle key) {
    Entry& entry = entryOf(key);
    Block* block = entry.block;
    int slot = static_cast<int>(entry.slot) + 1;
    if (slot == block->gapBegin) slot = block->gapEnd();
    if (slot >= capacity) {
        block = block->next;
        if (!block) return KeyHandle::none;
        slot = block->firstSlot();
    }
    return handleAt(block, slot);
}

KeyHandle KeyStore::find(double time) {
    const Place place = lowerBound(time);
    if (!place.block || place.index == place.block->count) {
        // The block's keys are all earlier: the next block's first key may stand at the time.
        Block* next = place.block ? place.block->next : nullptr;
        if (!next || next->timeAt(0) != time) return KeyHandle::none;
        return handleAt(next, next->firstSlot());
    }
    if (place.block->timeAt(place.index) != time) return KeyHandle::none;
    return handleAt(place.block, place.block->slotOf(place.index));
}

// Moving keys. Every key that moves takes its handle along.

void KeyStore::moveKey(Block& from, int fromSlot, Block& to, int toSlot) {
    const auto source = Block::at(fromSlot), target = Block::at(toSlot);
    to.time[target] = from.time[source];
    to.value[target] = from.value[source];
    to.shape[target] = from.shape[source];
    const std::uint32_t link = to.entry[target] = from.entry[source];
    if (link == 0) return;
    entries_[link - 1].block = &to;
    entries_[link - 1].slot = static_cast<std::uint32_t>(toSlot);
}

void KeyStore::moveKeys(Block& from, int fromSlot, Block& to, int toSlot, int count) {
    if (fromSlot < toSlot) { // the ranges may overlap
        for (int i = count - 1; i >= 0; --i)
            moveKey(from, fromSlot + i, to, toSlot + i);
    } else {
        for (int i = 0; i < count; ++i)
            moveKey(from, fromSlot + i, to, toSlot + i);
    }
    if (!from.parameters && !to.parameters) return;
    for (std::size_t p = 0; p < parameterCount; ++p) {
        if (from.hasColumn(p)) {
            std::memmove(&to.column(p)[Block::at(toSlot)], &from.column(p)[Block::at(fromSlot)],
                         Block::at(count) * sizeof(double));
        } else if (to.hasColumn(p)) {
            std::fill_n(to.column(p).begin() + toSlot, count, 0.0);
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
    Block* added = pool().take();
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
    pool().give(block);
}

void KeyStore::mergeIfSparse(Block* block) {
    if (block->count >= sparse) return;
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
        if (index == capacity && !block->next) { // growing at the end leaves full blocks behind
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

KeyHandle KeyStore::insert(double time, double value, Shape shape) {
    Place place = lowerBound(time);
    if (place.block && place.index == place.block->count && place.block->next) {
        Block* next = place.block->next;
        if (next->timeAt(0) == time) place = {next, 0};
    }
    if (place.block && place.index < place.block->count &&
        place.block->timeAt(place.index) == time) {
        const int slot = place.block->slotOf(place.index);
        place.block->value[Block::at(slot)] = value;
        return handleAt(place.block, slot);
    }
    const int slot = openSlot(place, time);
    finger_.block->put(slot, time, value, shape);
    return handleAt(finger_.block, slot);
}

void KeyStore::eraseSlot(Block& block, int slot) {
    const int index = block.indexOf(slot);
    if (slot != block.gapEnd()) { // right behind the gap, the gap just takes it in
        moveGap(block, index + 1);
        --block.gapBegin;
    }
    --block.count;
    --size_;
    finger_ = {&block, index};
    mergeIfSparse(&block);
}

void KeyStore::erase(KeyHandle key) {
    Entry& entry = entryOf(key);
    Block& block = *entry.block;
    const int slot = static_cast<int>(entry.slot);
    entry.serial = 0;
    entry.block = nullptr;
    freeEntries_.push_back(static_cast<std::uint32_t>(&entry - entries_.data()));
    block.entry[Block::at(slot)] = 0;
    eraseSlot(block, slot);
}

bool KeyStore::setTime(KeyHandle key, double time) {
    const KeyData old = at(key).data();
    if (old.time == time) {
        const Entry& same = entryOf(key);
        same.block->time[same.slot] = time; // zero may change its sign
        return true;
    }
    const Cursor there = atOrAfter(time);
    if (there && there.time() == time) return false;
    // The key leaves its place and comes back elsewhere, under the same entry.
    Entry& entry = entryOf(key);
    const Entry left = entry;
    const auto link = static_cast<std::uint32_t>(&entry - entries_.data()) + 1;
    left.block->entry[left.slot] = 0;
    eraseSlot(*left.block, static_cast<int>(left.slot));
    const int slot = openSlot(lowerBound(time), time);
    Block* block = finger_.block;
    block->put(slot, time, old.value, old.shape);
    for (std::size_t p = 0; p < parameterCount; ++p)
        block->setParameter(slot, p, old.parameters[p]);
    block->entry[Block::at(slot)] = link;
    entries_[link - 1].block = block;
    entries_[link - 1].slot = static_cast<std::uint32_t>(slot);
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
