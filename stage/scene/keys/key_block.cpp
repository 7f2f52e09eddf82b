#include "stage/scene/keys/key_block.h"

#include <algorithm>
#include <new>

namespace cadencora::stage {

namespace {

class Pool {
public:
    Pool() = default;
    Pool(const Pool&) = delete;
    ~Pool() { release(); }
    void release() {
        while (free_)
            ::operator delete(std::exchange(free_, free_->next));
        count_ = 0;
    }
    void* take(std::size_t size) {
        if (!free_) return ::operator new(size);
        --count_;
        return std::exchange(free_, free_->next);
    }
    void give(void* memory) {
        if (count_ >= mostKept) {
            ::operator delete(memory);
            return;
        }
        free_ = new (memory) Free{free_};
        ++count_;
    }

private:
    struct Free {
        Free* next;
    };
    static constexpr int mostKept = 20000; // about 55 MB in all, the arrays of 2.5 million keys
    Free* free_ = nullptr;
    int count_ = 0;
};

template <class T>
Pool& poolOf() {
    thread_local Pool pool;
    return pool;
}

} // namespace

template <class T>
void* Recycled<T>::operator new(std::size_t size) {
    return poolOf<T>().take(size);
}

template <class T>
void Recycled<T>::operator delete(void* memory) noexcept {
    poolOf<T>().give(memory);
}

template <class T>
void Recycled<T>::release() noexcept {
    poolOf<T>().release();
}

template struct Recycled<KeyColumns>;
template struct Recycled<KeyBlock>;
template struct Recycled<KeyBlock::Links>;

void KeyBlock::takeOwnColumns() {
    SharedColumns own;
    KeyColumns& to = own.forEditing();
    const auto copy = [&](const auto& source, auto& target) { // the slots with keys
        std::copy(source.begin(), source.begin() + gapBegin, target.begin());
        std::copy(source.begin() + gapEnd(), source.end(), target.begin() + gapEnd());
    };
    copy(columns->time, to.time);
    copy(columns->value, to.value);
    copy(columns->shape, to.shape);
    for (std::size_t p = 0; p < parameterCount; ++p)
        if (columns->hasColumn(p)) copy(*columns->parameters->columns[p], to.column(p));
    columns = own;
}

} // namespace cadencora::stage
