#include "stage/desktop/views/timeline.h"

#include "stage/desktop/widgets/colours.h"
#include "stage/plot/axis.h"
#include "stage/scene/summary.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

Timeline::Timeline(Document& document, TimeAxis& axis, QWidget* parent)
    : QWidget(parent), document_(document), axis_(axis) {
    setMouseTracking(true);
    setToolTip(tr("Drag to move the time, with Shift to mark frames for the next dialog; the bar "
                  "above is the preview range"));
    setFocusPolicy(Qt::ClickFocus); // takes the keys away from fields
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what & ~Changes(Change::time)) findKeys();
        update();
    });
    connect(&axis, &TimeAxis::changed, this, [this] {
        findKeys();
        update();
    });
}

QSize Timeline::sizeHint() const {
    return {400, rangeHeight() + fontMetrics().height() * 5 / 2};
}

int Timeline::rangeHeight() const {
    return fontMetrics().height() * 3 / 4;
}

double Timeline::xOf(double frame) const {
    return axis_.xOf(document_.scene().rate.timeAt(frame), width());
}

// Scrubbing stays within the scene.
std::int64_t Timeline::frameAt(double x) const {
    const auto [first, last] = axis_.sceneFrames();
    return std::clamp<std::int64_t>(std::llround(axis_.frameOf(x, width())), first, last);
}

void Timeline::findKeys() {
    const Scene& scene = document_.scene();
    keyColumns_ = keyColumns(scene, scene.selection, axis_.window(width()));
}

void Timeline::resizeEvent(QResizeEvent*) {
    findKeys();
}

void Timeline::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    painter.setClipRect(QRect(TimeAxis::left - 6, 0, width(), height()));
    paintRange(painter);
    paintStretches(painter);
    paintRuler(painter);
    const QColor keys(225, 150, 30);
    const int top = height() - fontMetrics().height() / 2 - 2;
    for (const int column : keyColumns_)
        painter.fillRect(TimeAxis::left + column, top, 1, height() - top, keys);
    painter.setClipping(false);
    paintTime(painter);
}

void Timeline::paintTime(QPainter& painter) const {
    const Scene& scene = document_.scene();
    const double frame = scene.rate.frameOf(scene.currentTime);
    const double x = xOf(frame);
    if (x < TimeAxis::left - 1 || x > width()) return;
    const QColor mark = palette().color(QPalette::Highlight);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(mark, 1.5));
    painter.drawLine(QPointF(x, 0), QPointF(x, height()));
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
    const TimeWindow shown = axis_.window(width());
    const double fps = document_.scene().rate.perSecond();
    const double first = shown.first * fps, last = shown.last * fps;
    const int wide =
        fontMetrics().horizontalAdvance(QString::number(static_cast<qlonglong>(last))) + 24;
    const double step = std::max(1.0, niceStep(last - first, shown.columns / wide));
    const QColor ink = palette().color(QPalette::Text);
    const int top = rangeHeight();
    for (double i = std::ceil(first / step - 1e-9); i * step <= last + 1e-9; ++i) {
        const double frame = i * step, x = xOf(frame);
        painter.setPen(faint(ink, 90));
        painter.drawLine(QPointF(x, top + fontMetrics().height() + 3), QPointF(x, height()));
        painter.setPen(ink);
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
    const QColor bar = palette().color(QPalette::Highlight);
    painter.fillRect(QRectF(from, 2, to - from, rangeHeight() - 4), faint(bar, 90));
    painter.fillRect(QRectF(from - 3, 1, 5, rangeHeight() - 2), bar);
    painter.fillRect(QRectF(to - 2, 1, 5, rangeHeight() - 2), bar);
}

// What an open dialog asks for has grips over the whole height.
void Timeline::paintStretches(QPainter& painter) const {
    const int top = rangeHeight();
    const auto fill = [&](const std::optional<FrameRange>& range, const QColor& colour) {
        if (!range) return;
        const double from = xOf(range->first) - 1, to = xOf(range->last) + 1;
        painter.fillRect(QRectF(from, top, std::max(to - from, 2.0), height() - top), colour);
    };
    fill(document_.changedRange(), faint(changedColour(), 50));
    const auto asked = document_.askedRange();
    if (!asked)
        return fill(document_.markedRange(), faint(palette().color(QPalette::Highlight), 70));
    const QColor green(60, 160, 90);
    const auto [low, high] = std::minmax(asked->first, asked->last);
    fill(FrameRange{low, high}, faint(green, 80));
    for (const double frame : {low, high})
        painter.fillRect(QRectF(xOf(frame) - 2, top, 4, height() - top), green);
}

Timeline::Drag Timeline::gripAt(const QPointF& at) const {
    const double x = at.x();
    const auto distance = [&](double frame) { return std::abs(x - xOf(frame)); };
    if (at.y() < rangeHeight()) {
        const Scene& scene = document_.scene();
        return distance(static_cast<double>(scene.previewFirst)) <
                       distance(static_cast<double>(scene.previewLast))
                   ? Drag::first
                   : Drag::last;
    }
    constexpr double reach = 6; // pixels
    if (const auto asked = document_.askedRange()) {
        const double start = distance(asked->first), end = distance(asked->last);
        if (std::min(start, end) <= reach) return start < end ? Drag::start : Drag::end;
    }
    return Drag::time;
}

void Timeline::mousePressEvent(QMouseEvent* event) {
    pressed_ = dragged_ = event->position().x();
    if (event->button() != Qt::LeftButton) {
        drag_ = Drag::view;
        return;
    }
    drag_ = event->modifiers() & Qt::ShiftModifier ? Drag::mark : gripAt(event->position());
    if (drag_ != Drag::mark) drag(pressed_);
}

void Timeline::mouseMoveEvent(QMouseEvent* event) {
    const Drag grip = gripAt(event->position());
    setCursor(grip == Drag::time ? Qt::ArrowCursor : Qt::SizeHorCursor);
    if (drag_ != Drag::none) drag(event->position().x());
}

void Timeline::mouseReleaseEvent(QMouseEvent*) {
    if (drag_ == Drag::mark && pressed_ == dragged_) document_.mark({});
    drag_ = Drag::none;
}

void Timeline::wheelEvent(QWheelEvent* event) {
    const double turned = event->angleDelta().y() + event->angleDelta().x();
    axis_.zoom(std::pow(0.999, turned), event->position().x(), width());
    event->accept();
}

void Timeline::drag(double x) {
    const Scene& scene = document_.scene();
    const std::int64_t frame = frameAt(x);
    if (drag_ == Drag::time) document_.goToFrame(frame);
    if (drag_ == Drag::first) document_.setPreview(frame, scene.previewLast);
    if (drag_ == Drag::last) document_.setPreview(scene.previewFirst, frame);
    if (drag_ == Drag::start || drag_ == Drag::end)
        document_.setAskedRange(drag_ == Drag::start, frame);
    if (drag_ == Drag::mark) { // from where the mouse was pressed
        const auto [first, last] = std::minmax({frameAt(pressed_), frame});
        markFrames(first, last);
    }
    if (drag_ == Drag::view) axis_.pan(x - dragged_, width());
    dragged_ = x;
}

void Timeline::markFrames(std::int64_t first, std::int64_t last) {
    const Scene& scene = document_.scene();
    Marked marked;
    marked.range = FrameRange{static_cast<double>(first), static_cast<double>(last)};
    for (const ItemId item : scene.selection)
        visitChannels(scene, scene.item(item).group, [&](ChannelId channel) {
            const std::size_t keys = keysBetween(scene.envelope(scene.channel(channel).envelope),
                                                 scene.rate.timeOf(first), scene.rate.timeOf(last));
            if (keys > 0) marked.keys.emplace_back(scene.channelPath(channel), keys);
        });
    document_.mark(std::move(marked));
}

} // namespace cadencora::stage
