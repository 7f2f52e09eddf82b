// Work on a thread of its own, while the windows stay alive and take no input.
//
// After a moment a box says what is being done, for how long and how far it is; Cancel asks the
// work to stop. The work must not touch what the windows show.
#pragma once

#include <QString>

#include <atomic>
#include <functional>

class QWidget;

namespace cadencora::stage {

class LongWork {
public:
    LongWork(QWidget* window, QString what) : window_(window), what_(std::move(what)) {}

    // Returns when the work has ended; what it throws is thrown on.
    void run(const std::function<void()>& work);

    // For the work to say which share of it is done, 0 to 1; false: it is to stop.
    bool progress(double share);

    bool isCancelled() const { return cancelled_; }

private:
    QWidget* window_;
    QString what_;
    std::atomic<double> share_ = 0;
    std::atomic<bool> cancelled_ = false;
};

} // namespace cadencora::stage
