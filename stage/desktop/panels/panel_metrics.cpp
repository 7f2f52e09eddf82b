#include "stage/desktop/panels/panel_metrics.h"

#include <QString>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

constexpr double lineInPanelPixels = 10.5;

int upward(double value) {
    return static_cast<int>(std::ceil(value));
}

} // namespace

PanelMetrics::PanelMetrics(const QFont& font)
    : font_(font), text_(font), scale_(std::max(1.0, text_.height() / lineInPanelPixels)) {}

int PanelMetrics::width(std::string_view text) const {
    const QString shown = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    return upward(text_.horizontalAdvance(shown) / scale_);
}

int PanelMetrics::lineHeight() const {
    return upward(text_.height() / scale_);
}

QRect PanelMetrics::place(const Rect& rect) const {
    const int left = toScreen(rect.x), top = toScreen(rect.y);
    return {left, top, toScreen(rect.x + rect.width) - left, toScreen(rect.y + rect.height) - top};
}

int PanelMetrics::toScreen(int pixels) const {
    return static_cast<int>(std::lround(pixels * scale_));
}

int PanelMetrics::toPanel(int screenPixels) const {
    return static_cast<int>(std::lround(screenPixels / scale_));
}

} // namespace cadencora::stage
