#include "stage/desktop/views/curve_view.h"

#include "stage/desktop/widgets/item_icons.h"
#include "stage/plot/axis.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>

namespace cadencora::stage {

namespace {

constexpr int keySpacing = 5; // pixels
constexpr std::size_t mostCurves = 1000;

QColor curveColour(int index, bool dark) {
    // Position, rotation and scale; then all other channels.
    constexpr std::array hues{0,   120, 215, 30,  165, 275, 335, 80,
                              190, 50,  300, 240, 12,  140, 200, 318};
    const int hue = hues[static_cast<std::size_t>(index) % hues.size()];
    return QColor::fromHsl(hue, 190, dark ? 155 : 105);
}

} // namespace

CurveView::CurveView(Document& document, QWidget* parent) : QWidget(parent), document_(document) {
    setMinimumHeight(80);
    setFocusPolicy(Qt::ClickFocus); // takes the keys away from fields
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what & (Changes(Change::scene) | Change::selection | Change::keys)) {
            const Scene& scene = document_.scene();
            curves_ = shownCurves(scene, scene.selection, document_.host().journal());
            left_ = curves_.size() > mostCurves ? curves_.size() - mostCurves : 0;
            curves_.resize(curves_.size() - left_);
            redraw();
        }
        if (what & (Changes(Change::scene) | Change::selection)) fit();
        if (what.testFlag(Change::range)) redraw();
        update();
    });
    fit();
}

void CurveView::fit() {
    const Scene& scene = document_.scene();
    const double first = scene.rate.timeOf(scene.previewFirst);
    const double last = scene.rate.timeOf(std::max(scene.previewLast, scene.previewFirst + 1));
    const double room = 0.03 * (last - first);
    times_ = {first - room, last + room, std::max(width(), 1)};
    const auto range = valueRange(scene, curves_, times_);
    values_ = range.value_or(Range{-1, 1});
    double space = 0.08 * (values_.high - values_.low);
    if (!(space > 1e-9)) space = std::max(1e-3, 0.1 * std::abs(values_.high));
    values_ = {values_.low - space, values_.high + space};
    redraw();
}

void CurveView::redraw() {
    picture_ = {};
    update();
}

double CurveView::yOf(double value) const {
    return height() * (values_.high - value) / (values_.high - values_.low);
}

void CurveView::resizeEvent(QResizeEvent*) {
    times_.columns = std::max(width(), 1);
    redraw();
}

void CurveView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) redraw();
    QWidget::changeEvent(event);
}

void CurveView::paintEvent(QPaintEvent*) {
    if (picture_.isNull() || picture_.devicePixelRatio() != devicePixelRatioF()) paintPicture();
    QPainter painter(this);
    painter.drawPixmap(0, 0, picture_);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
    const double x = times_.columnOf(document_.scene().currentTime);
    painter.drawLine(QPointF(x, 0), QPointF(x, height()));
}

void CurveView::paintPicture() {
    picture_ = QPixmap(size() * devicePixelRatioF());
    picture_.setDevicePixelRatio(devicePixelRatioF());
    picture_.fill(palette().color(QPalette::Base));
    QPainter painter(&picture_);
    painter.setFont(font());
    paintGrid(painter);
    paintCurves(painter);
    paintNames(painter);
}

void CurveView::paintGrid(QPainter& painter) const {
    const Scene& scene = document_.scene();
    QColor line = palette().color(QPalette::Text);
    QColor text = line;
    line.setAlpha(30);
    text.setAlpha(150);
    const double from = times_.columnOf(scene.rate.timeOf(scene.previewFirst));
    const double to = times_.columnOf(scene.rate.timeOf(scene.previewLast));
    QColor outside = palette().color(QPalette::Text);
    outside.setAlpha(14);
    painter.fillRect(QRectF(0, 0, from, height()), outside);
    painter.fillRect(QRectF(to, 0, width() - to, height()), outside);

    const double step = niceStep(values_.high - values_.low, height() / 36.0);
    for (double i = std::ceil(values_.low / step); i * step <= values_.high; ++i) {
        const double y = yOf(i * step);
        painter.setPen(line);
        painter.drawLine(QPointF(0, y), QPointF(width(), y));
        painter.setPen(text);
        if (y < height() - 2 * fontMetrics().height()) // the frames are at the bottom
            painter.drawText(QPointF(4, y - 2), QString::number(i * step, 'g', 5));
    }
    const double fps = scene.rate.perSecond();
    const double frames = niceStep((times_.last - times_.first) * fps, width() / 70.0);
    for (double i = std::ceil(times_.first * fps / frames); i * frames <= times_.last * fps; ++i) {
        const double x = times_.columnOf(i * frames / fps);
        painter.setPen(line);
        painter.drawLine(QPointF(x, 0), QPointF(x, height()));
        painter.setPen(text);
        if (x + 30 < width())
            painter.drawText(QPointF(x + 3, height() - 4), QString::number(i * frames, 'g', 7));
    }
}

void CurveView::paintCurves(QPainter& painter) const {
    struct Line {
        QPolygonF points;
        QPen pen;
    };
    std::vector<Line> lines, ghosts;
    qsizetype points = 0;
    const auto add = [&](std::vector<Line>& to, const Envelope& envelope, double factor,
                         const QColor& colour) {
        QPolygonF line;
        for (const CurvePoint& point : curveLine(envelope, times_))
            line << QPointF(times_.columnOf(point.time), yOf(point.value * factor));
        points += line.size();
        to.push_back({std::move(line), QPen(colour, 1)});
    };
    for (const ShownCurve& curve : curves_) {
        QColor colour = curveColour(curve.colour, isDark(palette()));
        add(lines, document_.scene().envelope(curve.envelope), curve.factor, colour);
        colour.setAlpha(90);
        if (curve.before) add(ghosts, *curve.before, curve.factor, colour);
    }

    // Antialiasing is expensive, and a whole captured body has a hundred times as many points as a
    // curve has columns.
    constexpr qsizetype mostSmooth = 10'000;
    const bool smooth = points <= mostSmooth;
    painter.setRenderHint(QPainter::Antialiasing, smooth);
    for (auto* all : {&ghosts, &lines})
        for (Line& line : *all) {
            if (smooth) line.pen.setWidthF(all == &lines ? 1.4 : 1.2);
            painter.setPen(line.pen);
            painter.drawPolyline(line.points);
        }
    for (std::size_t i = 0; i < curves_.size(); ++i) {
        const Envelope& envelope = document_.scene().envelope(curves_[i].envelope);
        const QColor colour = lines[i].pen.color();
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        for (const CurvePoint& key : keyPoints(envelope, times_, keySpacing)) {
            const QPointF at(times_.columnOf(key.time), yOf(key.value * curves_[i].factor));
            if (smooth)
                painter.drawEllipse(at, 2.2, 2.2);
            else
                painter.fillRect(QRectF(at.x() - 1.5, at.y() - 1.5, 3, 3), colour);
        }
    }
    painter.setBrush(Qt::NoBrush);
    painter.setRenderHint(QPainter::Antialiasing);
}

// As many as fit, at the top right, each in its curve's colour.
void CurveView::paintNames(QPainter& painter) const {
    const int line = fontMetrics().height();
    const auto fit = static_cast<std::size_t>(std::max(height() / line - 2, 0));
    const std::size_t names =
        curves_.size() <= fit ? curves_.size() : std::max<std::size_t>(fit, 1) - 1;
    int wide = 0;
    for (std::size_t i = 0; i < names; ++i)
        wide = std::max(wide,
                        fontMetrics().horizontalAdvance(QString::fromStdString(curves_[i].name)));
    QColor behind = palette().color(QPalette::Base);
    behind.setAlpha(190);
    if (names > 0)
        painter.fillRect(width() - wide - 12, 2, wide + 10, line * static_cast<int>(names) + 4,
                         behind);
    QRect row(0, 4, width() - 8, line);
    for (std::size_t i = 0; i < names; ++i, row.translate(0, line)) {
        painter.setPen(curveColour(curves_[i].colour, isDark(palette())));
        painter.drawText(row, Qt::AlignRight, QString::fromStdString(curves_[i].name));
    }
    painter.setPen(palette().color(QPalette::Text));
    if (names < curves_.size())
        painter.drawText(row, Qt::AlignRight,
                         left_ == 0 ? tr("and %1 more").arg(curves_.size() - names)
                                    : tr("and %1 more, %2 of them not drawn")
                                          .arg(curves_.size() + left_ - names)
                                          .arg(left_));
    if (!curves_.empty()) return;
    const Scene& scene = document_.scene();
    painter.drawText(rect(), Qt::AlignCenter,
                     scene.itemCount() == 0    ? tr("Open a scene (Ctrl+O) or drop a file here")
                     : scene.selection.empty() ? tr("Select items to see their curves")
                                               : tr("No keys on the selected items"));
}

void CurveView::scrub(double x) {
    const Scene& scene = document_.scene();
    const auto frame = std::llround(times_.timeOf(x) * scene.rate.perSecond());
    document_.goToFrame(frame);
}

void CurveView::mousePressEvent(QMouseEvent* event) {
    dragged_ = event->position();
    if (event->button() == Qt::LeftButton && !(event->modifiers() & Qt::AltModifier))
        scrub(dragged_.x());
}

void CurveView::mouseMoveEvent(QMouseEvent* event) {
    const QPointF moved = event->position() - dragged_;
    dragged_ = event->position();
    if (event->buttons() == Qt::LeftButton && !(event->modifiers() & Qt::AltModifier))
        return scrub(dragged_.x());
    if (event->buttons() == Qt::NoButton) return;
    const double seconds = moved.x() * (times_.last - times_.first) / std::max(width(), 1);
    const double units = moved.y() * (values_.high - values_.low) / std::max(height(), 1);
    times_.first -= seconds;
    times_.last -= seconds;
    values_ = {values_.low + units, values_.high + units};
    redraw();
}

void CurveView::wheelEvent(QWheelEvent* event) {
    const double factor = std::pow(0.999, event->angleDelta().y() + event->angleDelta().x());
    const bool both = !(event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier));
    const double time = times_.timeOf(event->position().x());
    const double value =
        values_.high - event->position().y() / std::max(height(), 1) * (values_.high - values_.low);
    const auto zoomed = [&](double low, double high, double fixed, double least) {
        const double size = std::max((high - low) * factor, least);
        const double share = (fixed - low) / (high - low);
        return Range{fixed - share * size, fixed + (1 - share) * size};
    };
    if (both || event->modifiers() & Qt::ControlModifier) {
        const Range range = zoomed(times_.first, times_.last, time, 1e-3);
        times_.first = range.low;
        times_.last = range.high;
    }
    if (both || event->modifiers() & Qt::ShiftModifier)
        values_ = zoomed(values_.low, values_.high, value, 1e-9);
    redraw();
    event->accept();
}

} // namespace cadencora::stage
