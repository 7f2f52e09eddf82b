// The wait cursor while something takes its time.
#pragma once

#include <QCursor>
#include <QGuiApplication>

namespace cadencora::stage {

class BusyCursor {
public:
    BusyCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QGuiApplication::restoreOverrideCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

template <class Work>
auto whileBusy(const Work& work) {
    const BusyCursor busy;
    return work();
}

} // namespace cadencora::stage
