#include "stage/desktop/views/viewport.h"

#include "stage/desktop/canvas/viewport_canvas.h"
#include "stage/desktop/drawing/selection_order.h"
#include "stage/desktop/widgets/colours.h"
#include "stage/desktop/widgets/item_icons.h"
#include "stage/desktop/widgets/qt_text.h"
#include "stage/plot/axis.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

const QColor selectedColour(245, 160, 40), xColour(210, 70, 70), yColour(80, 160, 60),
    zColour(70, 110, 220);

FlatShape flatLine(const ScreenLine& line, const QColor& colour, float width) {
    return {{QPointF(line.x1, line.y1), QPointF(line.x2, line.y2)}, 2, colour, width};
}

FlatShape flatShape(const ScreenShape& shape, const QColor& colour) {
    FlatShape flat{{}, shape.corners, colour};
    for (std::size_t i = 0; i < shape.points.size(); ++i)
        flat.points[i] = {shape.points[i].x, shape.points[i].y};
    return flat;
}

} // namespace

Viewport::Viewport(Document& document, Canvas canvas, QWidget* parent)
    : QWidget(parent), document_(document), kind_(canvas),
      canvas_((canvas == Canvas::shaded ? makeShadedCanvas
                                        : makeLineCanvas)([this] { return picture(); }, this)) {
    setMinimumSize(200, 120);
    setFocusPolicy(Qt::ClickFocus); // takes the keys away from fields
    connect(&document, &Document::changed, this, &Viewport::take);
    frameMotion();
}

void Viewport::take(Changes what) {
    if (what & (Changes(Change::scene) | Change::keys)) ghostIsNew_ = true;
    if (what & ~Changes(Change::time)) trailIsNew_ = true;
    const Scene& scene = document_.scene();
    if (what.testFlag(Change::scene)) {
        followed_.reset();
        ghost_.reset(); // it shares what the scene has
        // Another clip of the same file is looked at from where the camera is.
        const bool isSame = document_.path() == path_ && scene.itemCount() == items_;
        path_ = document_.path();
        items_ = scene.itemCount();
        if (!isSame) {
            camera_ = {};
            frameMotion();
        }
    }
    follow();
    redraw();
}

void Viewport::follow() {
    const Scene& scene = document_.scene();
    if (!options_.follow || scene.selection.empty()) return followed_.reset();
    const Vec3 now = worldPosition(scene, scene.selection.back(), scene.currentTime);
    if (followed_) camera_.target = camera_.target + (now - *followed_);
    followed_ = now;
}

void Viewport::frameMotion() {
    const Sphere whole = sphereAroundMotion(document_.scene());
    size_ = whole.radius;
    camera_.frame(whole.center, whole.radius);
    redraw();
}

void Viewport::frameSelection() {
    const Scene& scene = document_.scene();
    const Sphere sphere = scene.selection.empty()
                              ? sphereAroundAll(scene, scene.currentTime)
                              : sphereAround(scene, scene.selection, scene.currentTime);
    camera_.frame(sphere.center, sphere.radius);
    redraw();
}

void Viewport::lookFrom(Side side) {
    camera_.heading = side == Side::side ? std::numbers::pi / 2 : 0;
    camera_.pitch = side == Side::top ? -std::numbers::pi / 2 : 0;
    redraw();
}

void Viewport::setOptions(const ViewOptions& options) {
    options_ = options;
    followed_.reset();
    follow();
    redraw();
}

void Viewport::resizeEvent(QResizeEvent*) {
    canvas_->resize(size());
}

void Viewport::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) redraw();
    QWidget::changeEvent(event);
}

Sight Viewport::sight() const {
    return {options_.meshes, options_.bones, kind_ == Canvas::shaded};
}

std::vector<bool> Viewport::selectedItems() const {
    const Scene& scene = document_.scene();
    std::vector<bool> selected(scene.itemCount(), false);
    for (const ItemId item : scene.selection)
        selected[Scene::positionOf(item)] = true;
    return selected;
}

QColor Viewport::colourOf(ItemId item, bool isSelected) const {
    return isSelected ? selectedColour
                      : itemColour(document_.scene().item(item).type, isDark(palette()));
}

ViewportPicture Viewport::picture() {
    const Scene& scene = document_.scene();
    ViewportPicture picture;
    picture.camera = camera_;
    picture.ground = palette().color(QPalette::Base);
    if (options_.grid) addGrid(picture);
    SceneShapes shapes = shapesAt(scene, scene.currentTime, view(), sight());
    const std::vector<bool> selected = selectedItems();
    ScreenPicture drawn =
        screenShapes(shapes, camera_, width(), height(), selected,
                     kind_ == Canvas::lines ? MeshLines::all : MeshLines::selectedOutlines);
    if (options_.ghost) addGhost(picture, shapes);
    addShapes(picture, drawn);
    if (options_.trail) addTrail(picture);
    picture.surfaces = std::move(shapes.surfaces);
    if (kind_ == Canvas::lines) picture.lines = std::move(drawn.meshes);
    picture.lineColour = [this, selected](ItemId item) {
        return colourOf(item, selected[Scene::positionOf(item)]);
    };
    picture.paintWords = [this, places = std::move(shapes)](QPainter& painter) {
        paintNames(painter, places);
        paintGizmo(painter);
    };
    return picture;
}

void Viewport::addLine(std::vector<FlatShape>& to, const View& view, const Vec3& a, const Vec3& b,
                       const QColor& colour, float thick) const {
    const auto line = view.line(a, b);
    if (!line) return;
    const auto shown = clippedLine({line->first.x, line->first.y, line->second.x, line->second.y},
                                   width(), height());
    if (shown) to.push_back(flatLine(*shown, colour, thick));
}

// On the ground below the scene, lines on whole steps.
void Viewport::addGrid(ViewportPicture& picture) const {
    constexpr int reach = 12; // cells
    const View seen = view();
    const double cell = niceStep(2 * size_, 8);
    const double x0 = std::round(camera_.target[0] / cell),
                 z0 = std::round(camera_.target[2] / cell);
    const QColor plain = faint(palette().color(QPalette::Text), 38);
    for (int i = -reach; i <= reach; ++i) {
        const double x = (x0 + i) * cell, z = (z0 + i) * cell;
        const double left = (x0 - reach) * cell, right = (x0 + reach) * cell;
        const double back = (z0 - reach) * cell, front = (z0 + reach) * cell;
        addLine(picture.below, seen, {x, 0, back}, {x, 0, front},
                x == 0 ? faint(zColour, 170) : plain, 1);
        addLine(picture.below, seen, {left, 0, z}, {right, 0, z},
                z == 0 ? faint(xColour, 170) : plain, 1);
    }
}

const Scene* Viewport::ghostScene() {
    if (ghostIsNew_) ghost_ = sceneBefore(document_.scene(), document_.host().journal());
    ghostIsNew_ = false;
    return ghost_ ? &*ghost_ : nullptr;
}

void Viewport::addGhost(ViewportPicture& picture, const SceneShapes& now) {
    const Scene* before = ghostScene();
    if (!before) return;
    SceneShapes shapes = shapesAt(*before, document_.scene().currentTime, view(), sight());
    keepMoved(shapes, now);
    const QColor colour = faint(isDark(palette()) ? QColor(150, 175, 235) : QColor(95, 120, 190),
                                kind_ == Canvas::shaded ? 130 : 90);
    ScreenPicture drawn = screenShapes(shapes, camera_, width(), height(), {},
                                       kind_ == Canvas::lines ? MeshLines::all : MeshLines::none);
    for (const ScreenMesh& mesh : drawn.meshes)
        for (const ScreenLine& line : mesh.facing)
            picture.over.push_back(flatLine(line, faint(colour, 60), 1));
    for (const ScreenShape& shape : drawn.shapes)
        picture.over.push_back(flatShape(shape, colour));
    picture.ghosts = std::move(shapes.surfaces);
}

void Viewport::addShapes(ViewportPicture& picture, const ScreenPicture& drawn) const {
    constexpr std::size_t mostEdged = 4000; // an outline costs four times what the shape does
    const bool edged = drawn.shapes.size() <= mostEdged;
    const Scene& scene = document_.scene();
    std::array<QColor, itemTypes.size()> colours;
    for (const ItemType type : itemTypes)
        colours[static_cast<std::size_t>(type)] = itemColour(type, isDark(palette()));
    for (const ScreenMesh& mesh : drawn.meshes)
        for (const ScreenLine& line : mesh.outline)
            picture.over.push_back(flatLine(line, selectedColour, 2));
    picture.over.reserve(picture.over.size() + drawn.shapes.size());
    for (const ScreenShape& shape : drawn.shapes) {
        FlatShape& flat = picture.over.emplace_back(
            flatShape(shape, shape.isSelected
                                 ? selectedColour
                                 : colours[static_cast<std::size_t>(scene.item(shape.item).type)]));
        flat.width = shape.isSelected ? 2 : 1.2f;
        if (edged || shape.isSelected)
            flat.edge = shape.isSelected ? QColor(60, 35, 0) : flat.colour.darker(190);
    }
}

// A line with a dot for each frame, where frames are far enough apart to be told.
void Viewport::addTrail(ViewportPicture& picture) {
    const Scene& scene = document_.scene();
    if (trailIsNew_)
        trail_ =
            scene.selection.empty() ? std::vector<Vec3>() : trailOf(scene, scene.selection.back());
    trailIsNew_ = false;
    if (trail_.size() < 2) return;
    const View seen = view();
    const QColor colour = isDark(palette()) ? QColor(235, 130, 175) : QColor(185, 40, 110);
    std::optional<QPointF> dot;
    for (std::size_t i = 0; i < trail_.size(); ++i) {
        if (i > 0) addLine(picture.over, seen, trail_[i - 1], trail_[i], faint(colour, 190), 1.2f);
        const auto point = seen.point(trail_[i]);
        if (!point) continue;
        const QPointF at(point->x, point->y);
        constexpr double apart = 4; // pixels
        if (dot && (at - *dot).manhattanLength() < apart) continue;
        dot = at;
        const auto corner = [&](double dx, double dy) { return at + QPointF(dx, dy); };
        picture.over.push_back(
            {{corner(0, -1.6), corner(1.6, 0), corner(0, 1.6), corner(-1.6, 0)}, 4, colour});
    }
}

// Of what is selected, and of all items where they are asked for: as many as can be read.
void Viewport::paintNames(QPainter& painter, const SceneShapes& shapes) const {
    if (!options_.names) return;
    constexpr std::size_t most = 400;
    const Scene& scene = document_.scene();
    const View seen = view();
    const std::vector<bool> selected = selectedItems();
    std::size_t count = 0;
    const bool all = scene.itemCount() <= most;
    for (std::size_t i = 0; i < scene.itemCount() && count < most; ++i) {
        if (!all && !selected[i]) continue;
        const Item& item = scene.item(Scene::itemAt(i));
        const auto at = seen.point(transformed(shapes.world[i], item.pivot));
        if (!at || at->x < 0 || at->x > width() || at->y < 0 || at->y > height()) continue;
        ++count;
        painter.setPen(selected[i] ? selectedColour.darker(isDark(palette()) ? 100 : 150)
                                   : faint(palette().color(QPalette::Text), 190));
        painter.drawText(QPointF(at->x + 6, at->y - 4), qtText(item.name));
    }
}

// Which way the axes of the world go, at the lower left.
void Viewport::paintGizmo(QPainter& painter) const {
    const double size = 2.2 * fontMetrics().height();
    const QPointF middle(1.5 * size, height() - 1.5 * size);
    const Mat3 axes = view().axes();
    struct Arrow {
        Vec3 way; // right, up, towards the viewer
        QColor colour;
        QString name;
    };
    std::array<Arrow, 3> all{Arrow{{}, xColour, QStringLiteral("X")},
                             Arrow{{}, yColour, QStringLiteral("Y")},
                             Arrow{{}, zColour, QStringLiteral("Z")}};
    for (std::size_t i = 0; i < 3; ++i)
        all[i].way = {axes[0][i], axes[1][i], axes[2][i]};
    std::ranges::sort(all, {}, [](const Arrow& axis) { return axis.way[2]; });
    for (const Arrow& axis : all) {
        const QPointF way(axis.way[0] * size, -axis.way[1] * size);
        painter.setPen(QPen(axis.colour, 2));
        painter.drawLine(middle, middle + way);
        const QPointF at = middle + 1.25 * way;
        const double half = fontMetrics().height();
        painter.drawText(QRectF(at.x() - half, at.y() - half, 2 * half, 2 * half), Qt::AlignCenter,
                         axis.name);
    }
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
    redraw();
}

void Viewport::mouseReleaseEvent(QMouseEvent* event) {
    if (isDrag_ || event->button() != Qt::LeftButton) return;
    constexpr double reach = 5; // pixels
    const QPointF at = event->position();
    const Scene& scene = document_.scene();
    const ScreenPicture drawn =
        screenShapes(shapesAt(scene, scene.currentTime, view(), sight()), camera_, width(),
                     height(), selectedItems(), MeshLines::all);
    const ItemId item = pickedItem(drawn, at.x(), at.y(), reach);
    const bool toggles = event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
    document_.select(selectionAfterClick(scene.selection, item, toggles));
}

void Viewport::wheelEvent(QWheelEvent* event) {
    camera_.zoom(std::pow(0.999, event->angleDelta().y()));
    redraw();
    event->accept();
}

} // namespace cadencora::stage
