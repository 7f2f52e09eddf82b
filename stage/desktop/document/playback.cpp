#include "stage/desktop/document/playback.h"

#include <cmath>

namespace cadencora::stage {

Playback::Playback(Document& document) : document_(document) {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(16); // as often as displays refresh; faster scenes leave out frames
    connect(&timer_, &QTimer::timeout, this, [this] {
        if (document_.isBusy() && !document_.isWaiting()) return setPlaying(false);
        showAfter(static_cast<double>(since_.nsecsElapsed()) * 1e-9);
    });
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what.testFlag(Change::scene)) setPlaying(false);
    });
}

void Playback::setPlaying(bool playing) {
    if (playing == isPlaying() || (playing && document_.isBusy() && !document_.isWaiting())) return;
    if (playing) {
        const Scene& scene = document_.scene();
        startFrame_ = std::llround(std::floor(scene.rate.frameOf(scene.currentTime)));
        since_.start();
        timer_.start();
    } else {
        timer_.stop();
    }
    emit playingChanged(playing);
}

void Playback::showAfter(double seconds) {
    const Scene& scene = document_.scene();
    const std::int64_t first = scene.previewFirst;
    const std::int64_t count = std::max<std::int64_t>(scene.previewLast - first + 1, 1);
    const std::int64_t start = std::max(startFrame_, first);
    const auto passed = static_cast<std::int64_t>(seconds * scene.rate.perSecond() + 1e-6);
    document_.goToFrame(first + (start - first + passed) % count);
}

} // namespace cadencora::stage
