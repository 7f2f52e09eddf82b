// The scene in space at the current time, drawn without a graphics card.
//
// Left orbits, middle (or Shift and left) pans, right and the wheel zoom. A click selects what is
// under the pointer, with Ctrl or Shift it adds or takes out.
#pragma once

#include "stage/desktop/document/document.h"
#include "stage/desktop/drawing/orbit_camera.h"
#include "stage/desktop/drawing/screen_shapes.h"

#include <QWidget>

namespace cadencora::stage {

class Viewport : public QWidget {
public:
    explicit Viewport(Document& document, QWidget* parent = nullptr);

    void frameSelection(); // all items where none is selected

    const OrbitCamera& camera() const { return camera_; }

protected:
    QSize sizeHint() const override { return {600, 420}; }
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void takeSizes();
    void paintGrid(QPainter& painter, const View& view) const;
    std::vector<ScreenShape> drawnShapes() const;
    void paintShape(QPainter& painter, const ScreenShape& shape) const;
    void paintMesh(QPainter& painter, const ScreenShape& mesh) const;
    QColor colourOf(ItemId item) const;

    Document& document_;
    OrbitCamera camera_;
    Sphere whole_;             // around the scene as it was opened
    double unit_ = 1;          // of shapes that have no size of their own
    std::vector<bool> marked_; // which items are selected, at the last paint
    QPointF pressed_, dragged_;
    bool isDrag_ = false; // the pointer went too far since the press for a click
};

} // namespace cadencora::stage
