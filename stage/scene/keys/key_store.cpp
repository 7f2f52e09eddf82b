#include "stage/scene/keys/key_store.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstring>
#include <limits>
#include <utility>

namespace cadencora::stage {

namespace {

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
        key.parameters[p] = block_->arrays.parameterAt(slot_, p);
    return key;
}

bool KeyStore::Cursor::sameParameters(const Cursor& a, const Cursor& b) {
    const KeyArrays &x = a.block_->arrays, &y = b.block_->arrays;
    for (std::size_t p = 0; p < parameterCount; ++p)
        if (!identical(x.parameterAt(a.slot_, p), y.parameterAt(b.slot_, p))) return false;
    return true;
}

namespace {

// How many keys of two runs are the same from the front, parameters aside. The first two are.
int sameKeys(const KeyArrays& a, int slotA, const KeyArrays& b, int slotB, int run) {
    const double *timeA = a.time() + slotA, *timeB = b.time() + slotB;
    const double *valueA = a.value() + slotA, *valueB = b.value() + slotB;
    const Shape *shapeA = a.shape() + slotA, *shapeB = b.shape() + slotB;
    constexpr int stride = 8; // whole strides are compared without a branch
    const auto sameAt = [&](int i) {
        return identical(timeA[i], timeB[i]) && identical(valueA[i], valueB[i]) &&
               shapeA[i] == shapeB[i];
    };
    if (run < 2 || !sameAt(1)) return 1; // the first ones are known to be the same
    int same = 2;
    for (; same + stride <= run; same += stride) {
        std::uint64_t differing = 0;
        for (int i = same; i < same + stride; ++i)
            differing |=
                (bitsOf(timeA[i]) ^ bitsOf(timeB[i])) | (bitsOf(valueA[i]) ^ bitsOf(valueB[i]));
        if (differing || std::memcmp(shapeA + same, shapeB + same, stride) != 0) break;
    }
    while (same < run && sameAt(same))
        ++same;
    return same;
}

} // namespace

void skipSameKeys(KeyStore::Cursor& a, KeyStore::Cursor& b) {
    const KeyArrays &x = a.block_->arrays, &y = b.block_->arrays;
    int same = std::min(a.runLength(), b.runLength());
    if (!sharedKey(a, b))
        same = x.hasParameters() || y.hasParameters() ? 1 : sameKeys(x, a.slot_, y, b.slot_, same);
    a.slot_ += same - 1;
    b.slot_ += same - 1;
    a.advance();
    b.advance();
}

namespace {

// A stretch of keys in one array each, as long as a block's gap lets it be.
struct Run {
    const KeyArrays& arrays;
    const double* time;
    const double* value;
    const Shape* shape;
    int first, length;

    Run(const KeyArrays& of, int slot, int keys)
        : arrays(of), time(of.time() + slot), value(of.value() + slot), shape(of.shape() + slot),
          first(slot), length(keys) {}
};

bool sameInRuns(const Run& a, int i, const Run& b, int j) {
    if (!identical(a.value[i], b.value[j]) || a.shape[i] != b.shape[j] ||
        !identical(a.time[i], b.time[j]))
        return false;
    if (!a.arrays.hasParameters() && !b.arrays.hasParameters()) return true;
    for (std::size_t p = 0; p < parameterCount; ++p)
        if (!identical(a.arrays.parameterAt(a.first + i, p), b.arrays.parameterAt(b.first + j, p)))
            return false;
    return true;
}

} // namespace

KeyStore::Differences KeyStore::differencesFrom(const KeyStore& before) const {
    Differences found;
    constexpr double infinite = std::numeric_limits<double>::infinity();
    double first = infinite, last = -infinite;
    const auto touch = [&](double from, double to) {
        first = std::min(first, from);
        last = std::max(last, to);
    };
    const auto pass = [](Cursor& key, int keys) {
        if (keys == 0) return;
        key.slot_ += keys - 1;
        key.advance();
    };
    before.fetchBlocks();
    fetchBlocks();
    Cursor old = before.begin(), now = begin();
    while (old && now) {
        if (sharedKey(old, now)) {
            skipSameKeys(old, now);
            continue;
        }
        const Run was(old.block_->arrays, old.slot_, old.runLength());
        const Run is(now.block_->arrays, now.slot_, now.runLength());
        int i = 0, j = 0;
        while (i < was.length && j < is.length) {
            const double oldTime = was.time[i], newTime = is.time[j];
            if (oldTime == newTime) {
                if (!sameInRuns(was, i, is, j)) {
                    touch(newTime, newTime);
                    ++found.changed;
                }
                ++i, ++j;
            } else if (oldTime < newTime) {
                const int gone = was.time[was.length - 1] < newTime ? was.length - i : 1;
                touch(oldTime, was.time[i + gone - 1]);
                found.removed += static_cast<std::size_t>(gone);
                i += gone;
            } else {
                touch(newTime, newTime);
                ++found.added;
                ++j;
            }
        }
        pass(old, i);
        pass(now, j);
    }
    const auto rest = [&](Cursor key, std::size_t& count) {
        while (key) {
            const int run = key.runLength();
            const double* times = key.block_->arrays.time() + key.slot_;
            touch(times[0], times[run - 1]);
            count += static_cast<std::size_t>(run);
            pass(key, run);
        }
    };
    rest(old, found.removed);
    rest(now, found.added);
    if (found.count() > 0) {
        found.first = first;
        found.last = last;
    }
    return found;
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
    std::swap(freeEntry_, other.freeEntry_);
    std::swap(nextSerial_, other.nextSerial_);
    std::swap(finger_, other.finger_);
}

// Before a walk over all blocks, which lie anywhere in memory: fetched together they come much
// sooner than one after the other.
void KeyStore::fetchBlocks() const {
    for (const Block* block : blocks_) {
        constexpr std::size_t line = 64;
        __builtin_prefetch(block);
        __builtin_prefetch(reinterpret_cast<const char*>(block) + line);
    }
}

void KeyStore::copyKeys(const KeyStore& other) {
    other.fetchBlocks();
    separators_ = other.separators_;
    blocks_.reserve(other.blocks_.size());
    for (const Block* from = other.head_; from; from = from->next) {
        Block* to = new Block(*from);
        to->previous = tail_;
        (tail_ ? tail_->next : head_) = to;
        tail_ = to;
        if (!other.blocks_.empty()) blocks_.push_back(to);
    }
    size_ = other.size_;
}

void KeyStore::clear() {
    fetchBlocks();
    while (head_)
        delete std::exchange(head_, head_->next);
    tail_ = nullptr;
    size_ = 0;
    separators_.clear();
    blocks_.clear();
    entries_.clear();
    freeEntry_ = 0;
    finger_ = {nullptr, 0};
}

std::size_t KeyStore::bytes() const {
    return bytesBeside({});
}

std::size_t KeyStore::bytesBeside(const KeyStore& other) const {
    std::size_t total = sizeof *this + separators_.capacity() * sizeof(double) +
                        blocks_.capacity() * sizeof(Block*) + entries_.capacity() * sizeof(Entry);
    // The block of the other store that has the same arrays is where the first of these keys is.
    const Block* beside = other.head_;
    other.fetchBlocks();
    fetchBlocks();
    for (const Block* block = head_; block; block = block->next) {
        const bool isFirst = block == head_; // its separator counts as minus infinity
        while (!isFirst && beside && beside->next && beside->next->separator <= block->separator)
            beside = beside->next;
        total += sizeof *block + block->links.bytes();
        if (beside && beside->arrays.sharedWith(block->arrays)) continue;
        std::size_t slotBytes = KeyColumns::bytesOfSlot;
        for (std::size_t p = 0; p < parameterCount; ++p)
            slotBytes += block->arrays.parameter(p) ? sizeof(double) : 0;
        total += sizeof(KeyColumns) + Block::at(block->room) * slotBytes;
    }
    return total;
}

void KeyStore::releaseMemory() {
    BlockMemory::release();
}

// Places

KeyStore::Block* KeyStore::blockFor(double time) const {
    if (blocks_.empty()) return head_;
    const auto above = std::upper_bound(separators_.begin() + 1, separators_.end(), time);
    return blocks_[static_cast<std::size_t>(above - separators_.begin()) - 1];
}

// The first key at or after the time; the block's end where all its keys are earlier.
KeyStore::Place KeyStore::lowerBound(double time) const {
    // Most look-ups are for the place of the last one, or follow it closely.
    if (Block* block = finger_.block) {
        const int count = block->count;
        int index = std::min(finger_.index, count - 1);
        constexpr int reach = 4;
        if (block->timeAt(index) >= time) {
            for (int step = 0; step <= reach && index > 0; ++step, --index)
                if (block->timeAt(index - 1) < time) return finger_ = {block, index};
            if (index == 0 && block == head_) return finger_ = {block, 0};
        } else {
            for (int step = 0; step < reach && index + 1 < count; ++step)
                if (block->timeAt(++index) >= time) return finger_ = {block, index};
            // Past the last key of the last block there is nothing to search.
            if (index + 1 == count && block == tail_ && block->timeAt(index) < time)
                return finger_ = {block, count};
        }
    }
    return search(time);
}

KeyStore::Place KeyStore::search(double time) const {
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

// Handles

KeyHandle KeyStore::handleAt(Block* block, int slot) {
    std::uint32_t& link = block->linksMade()[Block::at(slot)];
    if (link == 0) {
        if (freeEntry_ == 0) makeEntries();
        link = takeEntry(block, slot);
    }
    return handleOf(link);
}

// As few as there are keys: at most that many handles are in use at once. Where keys come one by
// one a quarter more, so that the entries do not move for each.
void KeyStore::makeEntries() {
    const std::size_t used = entries_.size();
    const std::size_t made = std::max(used + used / 4 + 1, std::min(2 * used + 16, size_));
    entries_.reserve(made); // the exact room
    entries_.resize(made);
    for (std::size_t i = used; i + 1 < made; ++i)
        entries_[i].slot = static_cast<std::uint32_t>(i + 2);
    freeEntry_ = static_cast<std::uint32_t>(used + 1);
}

KeyHandle KeyStore::first() {
    return head_ ? handleAt(head_, head_->firstSlot()) : KeyHandle::none;
}

KeyHandle KeyStore::next(KeyHandle key) {
    Entry& entry = entryOf(key);
    Block* block = entry.block;
    int slot = static_cast<int>(entry.slot) + 1;
    if (slot == block->gapBegin) slot = block->gapEnd();
    if (slot >= block->room) {
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

} // namespace cadencora::stage
