#include "stage/scene/keys/key_block.h"

#include <new>

namespace cadencora::stage {

namespace {

// What one thread keeps, in a list for each size.
class Pools {
public:
    Pools() = default;
    Pools(const Pools&) = delete;
    ~Pools() { release(); }
    void release() {
        for (Free*& list : lists_)
            while (list)
                ::operator delete(std::exchange(list, list->next));
        kept_ = 0;
    }
    void* take(std::size_t list, std::size_t size) {
        Free*& first = lists_[list];
        if (!first) return ::operator new(size);
        kept_ -= size;
        void* const memory = std::exchange(first, first->next);
        __builtin_prefetch(first); // likely to be taken soon
        return memory;
    }
    void give(void* memory, std::size_t list, std::size_t size) {
        if (kept_ + size > mostKept) {
            ::operator delete(memory);
            return;
        }
        kept_ += size;
        lists_[list] = new (memory) Free{lists_[list]};
    }
    static std::size_t listOf(BlockMemory::Kind kind, int room) {
        if (kind == BlockMemory::block) return 0;
        const auto size = std::ranges::find(slotCounts, room) - slotCounts.begin();
        return static_cast<std::size_t>(kind == BlockMemory::columns ? 1 : 1 + rooms) +
               static_cast<std::size_t>(size);
    }

private:
    struct Free {
        Free* next;
    };
    static constexpr std::size_t rooms = slotCounts.size();
    static constexpr std::size_t mostKept = 64'000'000; // the slots of 2.5 million keys
    std::array<Free*, 1 + 2 * rooms> lists_{};
    std::size_t kept_ = 0;
};

Pools& pools() {
    thread_local Pools ofThread;
    return ofThread;
}

} // namespace

void* BlockMemory::take(Kind kind, std::size_t size, int room) {
    return pools().take(Pools::listOf(kind, room), size);
}

void BlockMemory::give(void* memory, Kind kind, std::size_t size, int room) noexcept {
    pools().give(memory, Pools::listOf(kind, room), size);
}

void BlockMemory::release() noexcept {
    pools().release();
}

void KeyBlock::takeOwnArrays(int newRoom) {
    KeyArrays own(newRoom);
    const auto copy = [&](const auto* from, auto* to) { // the slots with keys
        std::copy_n(from, gapBegin, to);
        std::copy(from + gapEnd(), from + room, to + gapEnd());
    };
    const KeyArrays& old = arrays;
    copy(old.time(), own.time());
    copy(old.value(), own.value());
    copy(old.shape(), own.shape());
    for (std::size_t p = 0; p < parameterCount; ++p)
        if (const double* column = old.parameter(p)) copy(column, own.parameterMade(p));
    if (links && links.room() < newRoom) {
        KeyLinks grown(newRoom);
        std::copy_n(links.begin(), room, grown.begin());
        links = std::move(grown);
    }
    arrays = own;
    room = newRoom;
}

} // namespace cadencora::stage
