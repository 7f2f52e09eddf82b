#include "stage/desktop/views/timeline.h"

#include "stage/plot/axis.h"
#include "stage/scene/summary.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

constexpr int margin = 14;

} // namespace

Timeline::Timeline(Document& document, QWidget* parent) : QWidget(parent), document_(document) {
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus); // takes the keys away from fields
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what & ~Changes(Change::time)) findKeys();
        update();
    });
}

QSize Timeline::sizeHint() const {
    return {400, rangeHeight() + fontMetrics().height() * 5 / 2};
}

int Timeline::rangeHeight() const {
    return fontMetrics().height() * 3 / 4;
}

std::int64_t Timeline::firstShown() const {
    return std::min<std::int64_t>(0, document_.scene().previewFirst);
}

std::int64_t Timeline::lastShown() const {
    const Scene& scene = document_.scene();
    return std::max({scene.lastFrame, scene.previewLast, firstShown() + 1});
}

double Timeline::xOf(double frame) const {
    const auto first = static_cast<double>(firstShown()), last = static_cast<double>(lastShown());
    return margin + (frame - first) / (last - first) * (width() - 2 * margin);
}

std::int64_t Timeline::frameAt(double x) const {
    const auto first = static_cast<double>(firstShown()), last = static_cast<double>(lastShown());
    const double frame = first + (x - margin) / (width() - 2 * margin) * (last - first);
    return std::clamp<std::int64_t>(std::llround(frame), firstShown(), lastShown());
}

void Timeline::findKeys() {
    const Scene& scene = document_.scene();
    keyColumns_ = keyColumns(scene, scene.selection,
                             {scene.rate.timeOf(firstShown()), scene.rate.timeOf(lastShown()),
                              std::max(width() - 2 * margin, 1)});
}

void Timeline::resizeEvent(QResizeEvent*) {
    findKeys();
}

void Timeline::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    paintRange(painter);
    paintRuler(painter);

    const Scene& scene = document_.scene();
    const QColor keys(225, 150, 30);
    const int top = height() - fontMetrics().height() / 2 - 2;
    for (const int column : keyColumns_)
        painter.fillRect(margin + column, top, 1, height() - top, keys);

    const double frame = scene.rate.frameOf(scene.currentTime);
    const double x = xOf(frame);
    const QColor mark = palette().color(QPalette::Highlight);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(mark, 1.5));
    painter.drawLine(QPointF(x, rangeHeight()), QPointF(x, height()));
    const QString text = QString::fromStdString(frameText(frame));
    QRectF box(0, rangeHeight(), fontMetrics().horizontalAdvance(text) + 10,
               fontMetrics().height() + 2);
    box.moveLeft(std::clamp(x - box.width() / 2, 0.0, width() - box.width()));
    painter.setBrush(mark);
    painter.drawRoundedRect(box, 3, 3);
    painter.setPen(palette().color(QPalette::HighlightedText));
    painter.drawText(box, Qt::AlignCenter, text);
}

void Timeline::paintRuler(QPainter& painter) const {
    const auto first = static_cast<double>(firstShown()), last = static_cast<double>(lastShown());
    const int wide = fontMetrics().horizontalAdvance(QString::number(lastShown())) + 24;
    const int labels = width() / wide; // that fit side by side
    const double step = std::max(1.0, niceStep(last - first, labels));
    QColor line = palette().color(QPalette::Text);
    const int top = rangeHeight();
    for (double frame = std::ceil(first / step) * step; frame <= last; frame += step) {
        const double x = xOf(frame);
        line.setAlpha(90);
        painter.setPen(line);
        painter.drawLine(QPointF(x, top + fontMetrics().height() + 3), QPointF(x, height()));
        line.setAlpha(200);
        painter.setPen(line);
        painter.drawText(QRectF(x - wide, top + 1, 2 * wide, fontMetrics().height()),
                         Qt::AlignCenter, QString::number(static_cast<qlonglong>(frame)));
    }
}

// The preview range as a bar between two grips.
void Timeline::paintRange(QPainter& painter) const {
    const Scene& scene = document_.scene();
    const double from = xOf(static_cast<double>(scene.previewFirst));
    const double to = xOf(static_cast<double>(scene.previewLast));
    painter.fillRect(0, 0, width(), rangeHeight(), palette().color(QPalette::AlternateBase));
    QColor bar = palette().color(QPalette::Highlight);
    bar.setAlpha(90);
    painter.fillRect(QRectF(from, 2, to - from, rangeHeight() - 4), bar);
    bar.setAlpha(255);
    painter.fillRect(QRectF(from - 3, 1, 5, rangeHeight() - 2), bar);
    painter.fillRect(QRectF(to - 2, 1, 5, rangeHeight() - 2), bar);
}

void Timeline::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const double x = event->position().x();
    drag_ = Drag::time;
    if (event->position().y() < rangeHeight()) {
        const Scene& scene = document_.scene();
        const double first = std::abs(x - xOf(static_cast<double>(scene.previewFirst)));
        const double last = std::abs(x - xOf(static_cast<double>(scene.previewLast)));
        drag_ = first < last ? Drag::first : Drag::last;
    }
    drag(x);
}

void Timeline::mouseMoveEvent(QMouseEvent* event) {
    setCursor(event->position().y() < rangeHeight() ? Qt::SizeHorCursor : Qt::ArrowCursor);
    if (drag_ != Drag::none) drag(event->position().x());
}

void Timeline::mouseReleaseEvent(QMouseEvent*) {
    drag_ = Drag::none;
}

void Timeline::drag(double x) {
    const Scene& scene = document_.scene();
    const std::int64_t frame = frameAt(x);
    if (drag_ == Drag::time) document_.goToFrame(frame);
    if (drag_ == Drag::first) document_.setPreview(frame, scene.previewLast);
    if (drag_ == Drag::last) document_.setPreview(scene.previewFirst, frame);
}

} // namespace cadencora::stage
