#include "stage/desktop/app/long_work.h"

#include "stage/desktop/app/busy_cursor.h"
#include "stage/desktop/document/work_clock.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QProgressDialog>
#include <QTimer>

#include <cmath>
#include <exception>
#include <thread>

namespace cadencora::stage {

namespace {

constexpr int steps = 1000; // of the bar

} // namespace

bool LongWork::progress(double share) {
    share_ = share;
    return !cancelled_;
}

void LongWork::run(const std::function<void()>& work) {
    QElapsedTimer since;
    since.start();
    QEventLoop loop;
    std::exception_ptr thrown;
    std::atomic<bool> ended = false;
    std::jthread thread([&] {
        try {
            work();
        } catch (...) {
            thrown = std::current_exception();
        }
        ended = true;
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });

    // Short work shows nothing but the pointer.
    QTimer::singleShot(workMoment, &loop, &QEventLoop::quit);
    {
        const BusyCursor busy;
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    if (!ended) {
        QProgressDialog box(what_, QObject::tr("Cancel"), 0, 0, window_);
        box.setWindowModality(Qt::ApplicationModal);
        box.setWindowTitle(QObject::tr("Busy"));
        box.setMinimumWidth(box.fontMetrics().averageCharWidth() * 60);
        box.setAutoReset(false);
        // The box stays until the work has stopped.
        QObject::disconnect(&box, SIGNAL(canceled()), &box, SLOT(cancel()));
        QObject::connect(&box, &QProgressDialog::canceled, &loop, [&] {
            cancelled_ = true;
            box.setLabelText(QObject::tr("Stopping …"));
        });
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
            if (ended) box.hide();
            if (ended || cancelled_) return;
            const double share = share_;
            box.setMaximum(share > 0 ? steps : 0); // a bar that only moves where it is not known
            if (share > 0) box.setValue(static_cast<int>(std::lround(share * steps)));
            box.setLabelText(QObject::tr("%1\n%2 s").arg(what_).arg(since.elapsed() / 1000));
        });
        timer.start(workPace);
        box.show();
        if (!ended) loop.exec();
    }
    thread.join();
    if (thrown) std::rethrow_exception(thrown);
}

} // namespace cadencora::stage
