#include "stage/desktop/document/work_clock.h"

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>

namespace cadencora::stage {

void WorkClock::start(const QString& what) {
    what_ = what;
    before_ = shown_ = 0;
    run();
}

void WorkClock::stop() {
    if (running_) halt();
}

void WorkClock::run() {
    running_ = true;
    since_.start();
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

void WorkClock::halt() {
    running_ = false;
    before_ += since_.elapsed();
    QGuiApplication::restoreOverrideCursor();
}

double WorkClock::seconds() const {
    return 0.001 * static_cast<double>(before_ + (running_ ? since_.elapsed() : 0));
}

void WorkClock::tick() {
    const qint64 now = before_ + since_.elapsed();
    if (!running_ || drawing_ || now < workMoment || now < shown_ + workPace) return;
    shown_ = now;
    drawing_ = true;
    emit working(tr("%1 … %2 s").arg(what_).arg(seconds(), 0, 'f', 1));
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    drawing_ = false;
}

WorkClock::Pause::Pause(WorkClock& clock) : clock_(clock), wasRunning_(clock.running_) {
    if (wasRunning_) clock_.halt();
}

WorkClock::Pause::~Pause() {
    if (wasRunning_) clock_.run();
}

} // namespace cadencora::stage
