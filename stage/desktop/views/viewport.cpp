#include "stage/desktop/views/viewport.h"

#include "stage/desktop/drawing/curve_lines.h"
#include "stage/desktop/drawing/selection_order.h"
#include "stage/desktop/widgets/item_icons.h"
#include "stage/plot/axis.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

Viewport::Viewport(Document& document, QWidget* parent) : QWidget(parent), document_(document) {
    setMinimumSize(200, 120);
    setFocusPolicy(Qt::ClickFocus); // takes the keys away from fields
    connect(&document, &Document::changed, this, [this](Changes what) {
        if (what.testFlag(Change::scene)) takeSizes();
        update();
    });
    takeSizes();
}

void Viewport::takeSizes() {
    const Scene& scene = document_.scene();
    whole_ = sphereAroundAll(scene, scene.currentTime);
    unit_ = std::clamp(whole_.radius / 10, 0.02, 1e4);
    camera_ = {};
    camera_.frame(whole_.center, whole_.radius);
}

void Viewport::frameSelection() {
    const Scene& scene = document_.scene();
    const Sphere sphere = scene.selection.empty()
                              ? sphereAroundAll(scene, scene.currentTime)
                              : sphereAround(scene, scene.selection, scene.currentTime);
    camera_.frame(sphere.center, sphere.radius);
    update();
}

void Viewport::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    painter.setRenderHint(QPainter::Antialiasing);
    paintGrid(painter, View(camera_, width(), height()));
    const Scene& scene = document_.scene();
    marked_.assign(scene.itemCount(), false);
    for (const ItemId item : scene.selection)
        marked_[Scene::positionOf(item)] = true;
    const std::vector<ScreenShape> shapes = drawnShapes();
    std::size_t lines = 0;
    for (const ScreenShape& shape : shapes)
        lines += shape.facing.size() + shape.away.size();
    constexpr std::size_t mostSmooth = 20'000; // lines; a frame should take no longer than it lasts
    for (const ScreenShape& shape : shapes) {
        painter.setRenderHint(QPainter::Antialiasing, !shape.mesh || lines <= mostSmooth);
        shape.mesh ? paintMesh(painter, shape) : paintShape(painter, shape);
    }
}

std::vector<ScreenShape> Viewport::drawnShapes() const {
    const Scene& scene = document_.scene();
    return screenShapes(shapesAt(scene, scene.currentTime, unit_), camera_, width(), height());
}

// On the ground below the scene, lines on whole steps.
void Viewport::paintGrid(QPainter& painter, const View& view) const {
    constexpr int reach = 12; // cells
    const double cell = niceStep(2 * whole_.radius, 8);
    const double x0 = std::round(camera_.target[0] / cell),
                 z0 = std::round(camera_.target[2] / cell);
    const auto draw = [&](const Vec3& a, const Vec3& b, const QColor& colour, double thick) {
        const auto line = view.line(a, b);
        if (!line) return;
        painter.setPen(QPen(colour, thick));
        painter.drawLine(QPointF(line->first.x, line->first.y),
                         QPointF(line->second.x, line->second.y));
    };
    QColor plain = palette().color(QPalette::Text);
    plain.setAlpha(38);
    for (int i = -reach; i <= reach; ++i) {
        const double x = (x0 + i) * cell, z = (z0 + i) * cell;
        const double left = (x0 - reach) * cell, right = (x0 + reach) * cell;
        const double back = (z0 - reach) * cell, front = (z0 + reach) * cell;
        draw({x, 0, back}, {x, 0, front}, x == 0 ? QColor(70, 110, 220, 170) : plain, 1);
        draw({left, 0, z}, {right, 0, z}, z == 0 ? QColor(210, 70, 70, 170) : plain, 1);
    }
}

QColor Viewport::colourOf(ItemId item) const {
    if (marked_[Scene::positionOf(item)]) return {245, 160, 40};
    return itemColour(document_.scene().item(item).type, isDark(palette()));
}

void Viewport::paintShape(QPainter& painter, const ScreenShape& shape) const {
    QPolygonF outline;
    for (const ScreenPoint& point : shape.points)
        outline << QPointF(point.x, point.y);
    const QColor colour = colourOf(shape.item);
    const QColor fill = QColor::fromHsvF(colour.hsvHueF(), colour.hsvSaturationF(),
                                         static_cast<float>(colour.valueF() * shape.light));
    painter.setPen(QPen(outline.size() == 2 ? colour : colour.darker(150), 1));
    painter.setBrush(fill);
    painter.drawPolygon(outline);
}

// What faces away is faint, so that the shape is seen and not the net: the colours are mixed here,
// since transparent lines take twice as long.
void Viewport::paintMesh(QPainter& painter, const ScreenShape& mesh) const {
    const QColor colour = colourOf(mesh.item), ground = palette().color(QPalette::Base);
    const auto draw = [&](const std::vector<ScreenLine>& lines, float share) {
        const auto mixed = [&](float own, float behind) { return behind + share * (own - behind); };
        QList<QLineF> all;
        all.reserve(static_cast<qsizetype>(lines.size()));
        for (const ScreenLine& line : lines)
            all.emplace_back(line.x1, line.y1, line.x2, line.y2);
        painter.setPen(QPen(QColor::fromRgbF(mixed(colour.redF(), ground.redF()),
                                             mixed(colour.greenF(), ground.greenF()),
                                             mixed(colour.blueF(), ground.blueF())),
                            1));
        painter.drawLines(all);
    };
    draw(mesh.away, 0.2f);
    draw(mesh.facing, 0.85f);
}

void Viewport::mousePressEvent(QMouseEvent* event) {
    if (event->buttons() != event->button()) { // a second button makes it no click
        isDrag_ = true;
        return;
    }
    pressed_ = dragged_ = event->position();
    isDrag_ = false;
}

void Viewport::mouseMoveEvent(QMouseEvent* event) {
    const qreal way = (event->position() - pressed_).manhattanLength();
    isDrag_ = isDrag_ || way >= QApplication::startDragDistance();
    if (!isDrag_) return; // the hand shakes when it clicks
    const QPointF moved = event->position() - dragged_;
    dragged_ = event->position();
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    if (event->buttons() & Qt::MiddleButton || (event->buttons() & Qt::LeftButton && shift))
        camera_.pan(moved.x() / height(), -moved.y() / height());
    else if (event->buttons() & Qt::LeftButton)
        camera_.orbit(moved.x() * 0.008, moved.y() * 0.008);
    else if (event->buttons() & Qt::RightButton)
        camera_.zoom(std::pow(1.006, moved.y() - moved.x()));
    update();
}

void Viewport::mouseReleaseEvent(QMouseEvent* event) {
    if (isDrag_ || event->button() != Qt::LeftButton) return;
    constexpr double reach = 5; // pixels
    const QPointF at = event->position();
    const ItemId item = pickedItem(drawnShapes(), at.x(), at.y(), reach);
    const bool toggles = event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
    document_.select(selectionAfterClick(document_.scene().selection, item, toggles));
}

void Viewport::wheelEvent(QWheelEvent* event) {
    camera_.zoom(std::pow(0.999, event->angleDelta().y()));
    update();
    event->accept();
}

} // namespace cadencora::stage
