#include "stage/desktop/views/time_axis.h"

#include <algorithm>

namespace cadencora::stage {

TimeAxis::TimeAxis(Document& document) : document_(document), whole_(wholeScene()) {
    shown_ = whole_;
    connect(&document, &Document::changed, this, &TimeAxis::take);
}

std::pair<std::int64_t, std::int64_t> TimeAxis::sceneFrames() const {
    const Scene& scene = document_.scene();
    const std::int64_t first = std::min<std::int64_t>(0, scene.previewFirst);
    return {first, std::max({scene.lastFrame, scene.previewLast, first + 1})};
}

TimeAxis::Stretch TimeAxis::wholeScene() const {
    const FrameRate& rate = document_.scene().rate;
    const auto [first, last] = sceneFrames();
    return {rate.timeOf(first), rate.timeOf(last)};
}

TimeAxis::Stretch TimeAxis::preview() const {
    const Scene& scene = document_.scene();
    return {scene.rate.timeOf(scene.previewFirst),
            scene.rate.timeOf(std::max(scene.previewLast, scene.previewFirst + 1))};
}

// What a command adds at an end comes into view; a view that was zoomed in stays where it is.
void TimeAxis::take(Changes what) {
    const Stretch whole = wholeScene();
    const bool wasWhole = shown_ == whole_;
    const bool isLonger = whole.first < whole_.first || whole.last > whole_.last;
    const bool isOther = whole != whole_;
    whole_ = whole;
    if (what.testFlag(Change::scene) || (isOther && (wasWhole || isLonger))) show(whole);
}

void TimeAxis::fit() {
    show(shown_ == whole_ ? preview() : whole_);
}

void TimeAxis::show(const Stretch& stretch) {
    shown_ = stretch;
    emit changed();
}

TimeWindow TimeAxis::window(int width) const {
    return {shown_.first, shown_.last, std::max(width - left - right, 1)};
}

double TimeAxis::frameOf(double x, int width) const {
    return timeOf(x, width) * document_.scene().rate.perSecond();
}

void TimeAxis::pan(double pixels, int width) {
    const double seconds = pixels * (shown_.last - shown_.first) / window(width).columns;
    show({shown_.first - seconds, shown_.last - seconds});
}

void TimeAxis::zoom(double factor, double x, int width) {
    constexpr double least = 1e-3, most = 1e7; // seconds
    const double fixed = timeOf(x, width), length = shown_.last - shown_.first;
    const double wanted = std::clamp(length * factor, least, most);
    const double share = (fixed - shown_.first) / length;
    show({fixed - share * wanted, fixed + (1 - share) * wanted});
}

} // namespace cadencora::stage
