// How long a command has been at work, without the time that it waited for the user.
//
// While it runs, the pointer is the wait cursor. Work that takes long shows its
// time on the screen and lets the windows draw, since it runs on their thread.
#pragma once

#include <QElapsedTimer>
#include <QObject>

namespace cadencora::stage {

// Work that takes longer than workMoment shows how far it is, every workPace; milliseconds.
constexpr int workMoment = 400, workPace = 100;

class WorkClock : public QObject {
    Q_OBJECT
public:
    WorkClock() = default;

    void start(const QString& what);
    void stop();
    double seconds() const; // so far; after stop(), in all

    // Must be called often while the work goes on.
    void tick();

    // The user is asked something: the clock is stopped, and the pointer is the usual one.
    class Pause {
    public:
        explicit Pause(WorkClock& clock);
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        WorkClock& clock_;
        bool wasRunning_;
    };

signals:
    void working(const QString& text); // "Destroy Keys … 3 s", about ten times in a second

private:
    void run();
    void halt();

    QString what_;
    QElapsedTimer since_;           // while running
    qint64 before_ = 0, shown_ = 0; // milliseconds: until the last halt; when last shown
    bool running_ = false, drawing_ = false;
};

} // namespace cadencora::stage
