// The wait cursor while something takes its time, and the usual one while the user is asked.
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

class BusyPause {
public:
    BusyPause() : paused_(QGuiApplication::overrideCursor() != nullptr) {
        if (paused_) QGuiApplication::restoreOverrideCursor();
    }
    ~BusyPause() {
        if (paused_) QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    }
    BusyPause(const BusyPause&) = delete;
    BusyPause& operator=(const BusyPause&) = delete;

private:
    bool paused_;
};

} // namespace cadencora::stage
