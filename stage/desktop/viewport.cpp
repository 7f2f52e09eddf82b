#include "stage/desktop/viewport.h"

#include "stage/desktop/drawing/curve_lines.h"
#include "stage/desktop/item_icons.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

Viewport::Viewport(Document& document, QWidget* parent) : QWidget(parent), document_(document) {
    setMinimumSize(200, 120);
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
    const View view(camera_, width(), height());
    paintGrid(painter, view);
    paintShapes(painter, view);
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
    const auto& selection = document_.scene().selection;
    if (std::ranges::find(selection, item) != selection.end()) return {245, 160, 40};
    return itemColour(document_.scene().item(item).type, isDark(palette()));
}

// What is farther away is drawn first.
void Viewport::paintShapes(QPainter& painter, const View& view) const {
    const SceneShapes shapes = shapesAt(document_.scene(), document_.scene().currentTime, unit_);
    struct Drawn {
        double depth = 0;
        QPolygonF outline;
        ItemId item = ItemId::none;
        double light = 1;
    };
    std::vector<Drawn> all;
    for (const Face& face : shapes.faces) {
        Drawn drawn;
        drawn.item = face.item;
        for (const Vec3& corner : face.corners)
            if (const auto point = view.point(corner)) {
                drawn.outline << QPointF(point->x, point->y);
                drawn.depth += point->depth / static_cast<double>(face.corners.size());
            }
        if (drawn.outline.size() < static_cast<qsizetype>(face.corners.size())) continue;
        drawn.light = lightOf(face);
        all.push_back(std::move(drawn));
    }
    for (const Edge& edge : shapes.edges)
        if (const auto line = view.line(edge.from, edge.to))
            all.push_back(
                {(line->first.depth + line->second.depth) / 2,
                 QPolygonF{{line->first.x, line->first.y}, {line->second.x, line->second.y}},
                 edge.item, 1});
    std::ranges::stable_sort(all, std::greater(), &Drawn::depth);
    for (const Drawn& drawn : all) {
        const QColor colour = colourOf(drawn.item);
        QColor fill = QColor::fromHsvF(colour.hsvHueF(), colour.hsvSaturationF(),
                                       static_cast<float>(colour.valueF() * drawn.light));
        fill.setAlpha(225);
        painter.setPen(QPen(drawn.outline.size() == 2 ? colour : colour.darker(150), 1));
        painter.setBrush(fill);
        painter.drawPolygon(drawn.outline);
    }
}

void Viewport::mousePressEvent(QMouseEvent* event) {
    dragged_ = event->position();
}

void Viewport::mouseMoveEvent(QMouseEvent* event) {
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

void Viewport::wheelEvent(QWheelEvent* event) {
    camera_.zoom(std::pow(0.999, event->angleDelta().y()));
    update();
    event->accept();
}

} // namespace cadencora::stage
