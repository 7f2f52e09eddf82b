#include "stage/desktop/views/curve_view.h"

#include "stage/desktop/widgets/colours.h"
#include "stage/desktop/widgets/item_icons.h"
#include "stage/desktop/widgets/qt_text.h"
#include "stage/plot/axis.h"
#include "stage/plot/curve_pieces.h"
#include "stage/plot/marks.h"
#include "stage/plot/units.h"
#include "stage/scene/summary.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

constexpr int keySpacing = 6;  // pixels
constexpr double laneGap = 6;  // pixels
constexpr double nearby = 12;  // pixels from the pointer to a curve
constexpr double markSize = 3; // radius, pixels

void drawMark(QPainter& painter, Shape shape, const QPointF& at) {
    const auto corners = markCorners(shape);
    if (corners.empty()) return painter.drawEllipse(at, markSize, markSize);
    QPolygonF mark;
    for (const auto& [dx, dy] : corners)
        mark << at + markSize * QPointF(dx, dy);
    painter.drawPolygon(mark);
}

} // namespace

CurveView::CurveView(Document& document, TimeAxis& axis, ShownChannels& channels, QWidget* parent)
    : QWidget(parent), document_(document), axis_(axis), channels_(channels) {
    setMinimumHeight(80);
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus); // takes the keys away from fields
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what & (Changes(Change::range) | Change::keys | Change::marked)) redraw();
        update();
    });
    connect(&axis, &TimeAxis::changed, this, [this] {
        for (Lane& lane : lanes_)
            if (lane.isFitted) fitLane(lane);
        redraw();
    });
    for (const auto signal : {&ShownChannels::curvesChanged, &ShownChannels::choiceChanged})
        connect(&channels, signal, this, &CurveView::findLanes);
    findLanes();
}

// Lanes that are there already keep their values where the user has chosen them.
void CurveView::findLanes() {
    std::vector<Lane> before = std::move(lanes_);
    lanes_.clear();
    for (ShownCurve& curve : channels_.visible()) {
        auto lane = std::ranges::find(lanes_, curve.unit, &Lane::unit);
        if (lane == lanes_.end()) {
            lanes_.push_back({});
            lane = lanes_.end() - 1;
            lane->unit = curve.unit;
        }
        lane->curves.push_back(std::move(curve));
    }
    std::ranges::sort(lanes_, {}, &Lane::unit);
    for (Lane& lane : lanes_) {
        const auto old = std::ranges::find(before, lane.unit, &Lane::unit);
        if (old != before.end() && !old->isFitted) {
            lane.isFitted = false;
            lane.values = old->values;
        } else {
            fitLane(lane);
        }
    }
    placeLanes();
}

void CurveView::placeLanes() {
    const double count = static_cast<double>(std::max<std::size_t>(lanes_.size(), 1));
    const double title = fontMetrics().height() + 2;
    const double each = (height() - laneGap) / count;
    for (std::size_t i = 0; i < lanes_.size(); ++i) {
        lanes_[i].top = each * static_cast<double>(i) + title;
        lanes_[i].height = std::max(each - title - laneGap, 1.0);
    }
    redraw();
}

void CurveView::fitLane(Lane& lane) const {
    const auto range = valueRange(document_.scene(), lane.curves, times());
    const Extent room = roomFor(range ? Extent{range->low, range->high} : Extent{-1, 1});
    const double space = 0.06 * (room.high - room.low);
    lane.values = {room.low - space, room.high + space};
}

void CurveView::fit() {
    for (Lane& lane : lanes_) {
        lane.isFitted = true;
        fitLane(lane);
    }
    redraw();
}

CurveView::Lane* CurveView::laneAt(double y) {
    for (Lane& lane : lanes_)
        if (y < lane.top + lane.height + laneGap) return &lane;
    return lanes_.empty() ? nullptr : &lanes_.back();
}

void CurveView::redraw() {
    picture_ = {};
    update();
}

void CurveView::resizeEvent(QResizeEvent*) {
    placeLanes();
}

void CurveView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) placeLanes();
    QWidget::changeEvent(event);
}

void CurveView::paintEvent(QPaintEvent*) {
    if (picture_.isNull() || picture_.devicePixelRatio() != devicePixelRatioF()) paintPicture();
    QPainter painter(this);
    painter.drawPixmap(0, 0, picture_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
    const double x = xOf(document_.scene().currentTime);
    if (x >= TimeAxis::left - 1 && x <= width())
        painter.drawLine(QPointF(x, 0), QPointF(x, height()));
    if (box_) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1));
        painter.setBrush(faint(palette().color(QPalette::Highlight), 40));
        painter.drawRect(*box_);
        return;
    }
    paintReadout(painter);
}

void CurveView::paintPicture() {
    picture_ = QPixmap(size() * devicePixelRatioF());
    picture_.setDevicePixelRatio(devicePixelRatioF());
    picture_.fill(palette().color(QPalette::Base));
    QPainter painter(&picture_);
    painter.setFont(font());
    paintRanges(painter);
    for (const Lane& lane : lanes_) {
        paintGrid(painter, lane);
        painter.setClipRect(QRectF(TimeAxis::left, lane.top - 2, width(), lane.height + 4));
        paintCurves(painter, lane);
        painter.setClipping(false);
    }
    paintHint(painter);
}

// Outside of the preview range; what the last command touched; what is marked.
void CurveView::paintRanges(QPainter& painter) const {
    const Scene& scene = document_.scene();
    const auto fill = [&](double from, double to, const QColor& colour) {
        from = std::max<double>(from, TimeAxis::left);
        if (to > from) painter.fillRect(QRectF(from, 0, to - from, height()), colour);
    };
    const QColor outside = faint(palette().color(QPalette::Text), 14);
    fill(0, xOf(scene.rate.timeOf(scene.previewFirst)), outside);
    fill(xOf(scene.rate.timeOf(scene.previewLast)), width(), outside);
    const auto stretch = [&](const std::optional<FrameRange>& range, const QColor& colour) {
        if (!range) return;
        const double from = xOf(scene.rate.timeAt(range->first));
        const double to = xOf(scene.rate.timeAt(range->last));
        fill(from - 1, std::max(to, from) + 1, colour);
    };
    stretch(document_.changedRange(), faint(changedColour(), 30));
    stretch(document_.markedRange(), faint(palette().color(QPalette::Highlight), 50));
}

void CurveView::paintGrid(QPainter& painter, const Lane& lane) const {
    const QColor ink = palette().color(QPalette::Text);
    const double bottom = lane.top + lane.height;
    const AxisTicks axis = valueAxis({lane.values.low, lane.values.high},
                                     std::max(static_cast<int>(lane.height / 30), 2));
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(ink);
    QString title = qtText(units[lane.unit].name);
    if (axis.exponent != 0) title += QStringLiteral(" × 1e%1").arg(axis.exponent);
    painter.drawText(QPointF(TimeAxis::left + 2, lane.top - 4), title);
    painter.setFont(font());
    double free = HUGE_VAL; // labels do not meet
    for (const Tick& tick : axis.ticks) {
        const double y = lane.yOf(tick.at);
        if (y < lane.top || y > bottom) continue;
        painter.setPen(faint(ink, 30));
        painter.drawLine(QPointF(TimeAxis::left, y), QPointF(width(), y));
        if (y + fontMetrics().height() / 2 > free) continue;
        free = y - fontMetrics().height() / 2;
        painter.setPen(ink);
        painter.drawText(QRectF(0, y - 10, TimeAxis::left - 6, 20),
                         Qt::AlignRight | Qt::AlignVCenter, qtText(tick.label));
    }
    const TimeWindow shown = times();
    const double fps = document_.scene().rate.perSecond();
    const double frames =
        std::max(1.0, niceStep((shown.last - shown.first) * fps, shown.columns / 70.0));
    painter.setPen(faint(ink, 30));
    for (double i = std::ceil(shown.first * fps / frames); i * frames <= shown.last * fps; ++i) {
        const double x = xOf(i * frames / fps);
        painter.drawLine(QPointF(x, lane.top), QPointF(x, bottom));
    }
    painter.setPen(faint(ink, 110));
    painter.drawLine(QPointF(TimeAxis::left, bottom), QPointF(width(), bottom));
}

void CurveView::paintCurves(QPainter& painter, const Lane& lane) const {
    const Scene& scene = document_.scene();
    const TimeWindow shown = times();
    const bool dark = isDark(palette());
    const auto pointsOf = [&](const Envelope& envelope, double factor) {
        QPolygonF line;
        for (const CurvePoint& point : curveLine(envelope, shown))
            line << QPointF(xOf(point.time), lane.yOf(point.value * factor));
        return line;
    };
    std::vector<QPolygonF> lines;
    qsizetype points = 0;
    for (const ShownCurve& curve : lane.curves) {
        lines.push_back(pointsOf(scene.envelope(curve.envelope), curve.factor));
        points += lines.back().size();
    }
    // Antialiasing is expensive, and a whole captured body has a hundred times as many points as a
    // curve has columns. A dashed line is more so.
    constexpr qsizetype mostSmooth = 10'000;
    const bool smooth = points <= mostSmooth;
    painter.setRenderHint(QPainter::Antialiasing, smooth);
    painter.setBrush(Qt::NoBrush);
    for (const ShownCurve& curve : lane.curves) {
        if (!curve.before) continue;
        QPen pen(faint(curveColour(curve, dark), 170), smooth ? 1.4 : 1);
        if (smooth) pen.setDashPattern({5, 3});
        painter.setPen(pen);
        painter.drawPolyline(pointsOf(*curve.before, curve.factor));
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const ShownCurve& curve = lane.curves[i];
        const bool isCurrent = curve.envelope == channels_.current();
        painter.setPen(QPen(curveColour(curve, dark), isCurrent ? 2.4 : smooth ? 1.5 : 1));
        painter.drawPolyline(lines[i]);
    }
    for (const ShownCurve& curve : lane.curves) {
        const QColor colour = curveColour(curve, dark);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        for (const KeyPoint& key : keyPoints(scene.envelope(curve.envelope), shown, keySpacing)) {
            const QPointF at(xOf(key.time), lane.yOf(key.value * curve.factor));
            if (smooth)
                drawMark(painter, key.shape, at);
            else
                painter.fillRect(QRectF(at.x() - 1.5, at.y() - 1.5, 3, 3), colour);
        }
    }
    painter.setRenderHint(QPainter::Antialiasing);
    paintTangents(painter, lane);
}

// Of the current curve, as the control points of its pieces are.
void CurveView::paintTangents(QPainter& painter, const Lane& lane) const {
    const auto curve = std::ranges::find(lane.curves, channels_.current(), &ShownCurve::envelope);
    if (curve == lane.curves.end()) return;
    const Scene& scene = document_.scene();
    const Envelope& envelope = scene.envelope(curve->envelope);
    const TimeWindow shown = times();
    constexpr std::size_t mostKeys = 120; // more of them are a hedge
    if (keysBetween(envelope, shown.first, shown.last) > mostKeys) return;
    const QColor colour = curveColour(*curve, isDark(palette()));
    const auto handle = [&](double time, double value, double endTime, double end) {
        const QPointF from(xOf(time), lane.yOf(value)), to(xOf(endTime), lane.yOf(end));
        painter.setPen(QPen(faint(colour, 170), 1));
        painter.drawLine(from, to);
        painter.setPen(Qt::NoPen);
        painter.setBrush(faint(colour, 170));
        painter.drawEllipse(to, 1.8, 1.8);
    };
    const DrawnCurve pieces =
        drawnCurve(envelope, shown.first, shown.last, curve->factor, scene.rate);
    for (const CurveRun& run : pieces.runs) {
        if (!run.keyed) continue;
        for (const CurvePiece& piece : run.pieces) {
            const double third = (piece.to - piece.from) / 3;
            if (third <= 0) continue;
            const auto& v = piece.values;
            handle(piece.from, v[0], piece.from + third, v[1]);
            handle(piece.to, v[3], piece.to - third, v[2]);
        }
    }
}

void CurveView::paintHint(QPainter& painter) const {
    if (!lanes_.empty()) return;
    const Scene& scene = document_.scene();
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(rect(), Qt::AlignCenter,
                     scene.itemCount() == 0     ? tr("Open a scene (Ctrl+O) or drop a file here")
                     : scene.selection.empty()  ? tr("Select items to see their curves")
                     : !channels_.all().empty() ? tr("All curves are hidden")
                                                : tr("No keys on the selected items"));
}

const ShownCurve* CurveView::curveAt(const Lane& lane, const QPointF& at) const {
    const ShownCurve* found = nullptr;
    double nearest = nearby;
    const double time = axis_.timeOf(at.x(), width());
    for (const ShownCurve& curve : lane.curves) {
        const double value = document_.scene().envelope(curve.envelope).evaluate(time);
        const double distance = std::abs(lane.yOf(value * curve.factor) - at.y());
        if (distance >= nearest) continue;
        nearest = distance;
        found = &curve;
    }
    return found;
}

// The frame, and the curve and value there.
void CurveView::paintReadout(QPainter& painter) {
    const Lane* lane = pointer_ ? laneAt(pointer_->y()) : nullptr;
    if (!lane || pointer_->x() < TimeAxis::left) return;
    const double time = axis_.timeOf(pointer_->x(), width());
    const double frame = std::round(document_.scene().rate.frameOf(time) * 10) / 10;
    QString text = tr("frame %1").arg(frame);
    double value = lane->valueOf(pointer_->y());
    if (const ShownCurve* curve = curveAt(*lane, *pointer_)) {
        value = document_.scene().envelope(curve->envelope).evaluate(time) * curve->factor;
        text = qtText(curve->name) + QStringLiteral(", ") + text;
        painter.setPen(Qt::NoPen);
        painter.setBrush(curveColour(*curve, isDark(palette())));
        painter.drawEllipse(QPointF(pointer_->x(), lane->yOf(value)), 3.5, 3.5);
    }
    text += QStringLiteral(": ") + QString::number(value, 'g', 6);
    const double wide = fontMetrics().horizontalAdvance(text) + 12,
                 high = fontMetrics().height() + 4;
    QRectF box(*pointer_ + QPointF(14, -high - 6), QSizeF(wide, high));
    box.moveLeft(std::min(box.left(), width() - wide - 2));
    box.moveTop(std::max(box.top(), 2.0));
    painter.setPen(faint(palette().color(QPalette::ToolTipText), 120));
    painter.setBrush(palette().color(QPalette::ToolTipBase));
    painter.drawRoundedRect(box, 3, 3);
    painter.setPen(palette().color(QPalette::ToolTipText));
    painter.drawText(box, Qt::AlignCenter, text);
}

void CurveView::mousePressEvent(QMouseEvent* event) {
    pressed_ = dragged_ = event->position();
}

void CurveView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF moved = event->position() - dragged_;
    dragged_ = event->position();
    pointer_ = event->position();
    update();
    if (event->buttons() == Qt::LeftButton) {
        const qreal way = (event->position() - pressed_).manhattanLength();
        if (box_ || way >= QApplication::startDragDistance())
            box_ = QRectF(pressed_, event->position()).normalized();
        return;
    }
    if (event->buttons() == Qt::NoButton) return;
    if (Lane* lane = laneAt(pressed_.y())) {
        const double up = moved.y() * (lane->values.high - lane->values.low) / lane->height;
        lane->values = {lane->values.low + up, lane->values.high + up};
        lane->isFitted = lane->isFitted && up == 0;
    }
    axis_.pan(moved.x(), width());
}

void CurveView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    if (box_) return markBox();
    const QPointF at = event->position();
    if (const Lane* lane = laneAt(at.y()))
        if (const ShownCurve* curve = curveAt(*lane, at)) channels_.setCurrent(curve->envelope);
    document_.mark({});
    document_.goToFrame(std::llround(axis_.frameOf(at.x(), width())));
}

// The whole frames in the box, and the curves that have keys in it.
void CurveView::markBox() {
    const QRectF box = *std::exchange(box_, std::nullopt);
    const Scene& scene = document_.scene();
    Marked marked;
    marked.range = FrameRange{std::ceil(axis_.frameOf(box.left(), width())),
                              std::floor(axis_.frameOf(box.right(), width()))};
    if (marked.range->last < marked.range->first) marked.range->last = marked.range->first;
    const double first = axis_.timeOf(box.left(), width()),
                 last = axis_.timeOf(box.right(), width());
    for (const Lane& lane : lanes_)
        for (const ShownCurve& curve : lane.curves) {
            std::size_t keys = 0;
            const Envelope& envelope = scene.envelope(curve.envelope);
            for (auto key = envelope.keys.atOrAfter(first); key && key.time() <= last;
                 key.advance()) {
                const double y = lane.yOf(key.value() * curve.factor);
                keys += y >= box.top() && y <= box.bottom();
            }
            if (keys > 0) marked.keys.emplace_back(curve.name, keys);
        }
    document_.mark(std::move(marked));
}

void CurveView::leaveEvent(QEvent*) {
    pointer_.reset();
    update();
}

void CurveView::wheelEvent(QWheelEvent* event) {
    const double factor = std::pow(0.999, event->angleDelta().y() + event->angleDelta().x());
    const QPointF at = event->position();
    event->accept();
    if (!(event->modifiers() & Qt::ShiftModifier)) return axis_.zoom(factor, at.x(), width());
    if (Lane* lane = laneAt(at.y())) {
        constexpr double least = 1e-9;
        const double value = lane->valueOf(at.y()), size = lane->values.high - lane->values.low;
        const double wanted = std::max(size * factor, least);
        const double share = (value - lane->values.low) / size;
        lane->values = {value - share * wanted, value + (1 - share) * wanted};
        lane->isFitted = false;
        redraw();
    }
}

} // namespace cadencora::stage
