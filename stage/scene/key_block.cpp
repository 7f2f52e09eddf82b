#include "stage/scene/key_block.h"

#include <algorithm>

namespace cadencora::stage {

namespace {

// Columns that were given back, kept for re-use: fresh memory costs more than the keys put into it.
class ColumnPool {
public:
    ~ColumnPool() {
        while (free_)
            delete std::exchange(free_, free_->nextFree);
    }
    KeyColumns* take() {
        if (!free_) return new KeyColumns;
        KeyColumns* columns = std::exchange(free_, free_->nextFree);
        columns->owners = 1;
        --count_;
        return columns;
    }
    void give(KeyColumns* columns) {
        if (count_ >= mostKept) {
            delete columns;
            return;
        }
        columns->parameters.reset();
        columns->nextFree = free_;
        free_ = columns;
        ++count_;
    }

private:
    static constexpr int mostKept = 20000; // about 45 MB
    KeyColumns* free_ = nullptr;
    int count_ = 0;
};

// Each thread keeps its own free columns; some may be given back on another thread.
ColumnPool& pool() {
    thread_local ColumnPool columns;
    return columns;
}

} // namespace

SharedColumns::SharedColumns() : columns_(pool().take()) {}

void SharedColumns::giveBack(KeyColumns* columns) {
    pool().give(columns);
}

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
    columns = std::move(own);
}

} // namespace cadencora::stage
