// Plays the preview range over and over, at the scene's rate, in whole frames.
#pragma once

#include "stage/desktop/document/document.h"

#include <QElapsedTimer>
#include <QTimer>

namespace cadencora::stage {

class Playback : public QObject {
    Q_OBJECT
public:
    explicit Playback(Document& document);

    bool isPlaying() const { return timer_.isActive(); }
    void setPlaying(bool playing); // refused while a command works
    void toggle() { setPlaying(!isPlaying()); }

    // Shows the frame that is due this many seconds after playing began.
    void showAfter(double seconds);

signals:
    void playingChanged(bool playing);

private:
    Document& document_;
    QTimer timer_;
    QElapsedTimer since_;
    std::int64_t startFrame_ = 0;
};

} // namespace cadencora::stage
