// The scene in space at the current time.
//
// Left orbits, middle (or Shift and left) pans, right and the wheel zoom. A click selects what is
// under the pointer, with Ctrl or Shift it adds or takes out.
#pragma once

#include "stage/desktop/canvas/picture.h"
#include "stage/desktop/document/document.h"

#include <QWidget>

namespace cadencora::stage {

// What the viewport shows besides; kept from one start of the program to the next.
struct ViewOptions {
    bool meshes = true, bones = true, names = false, grid = true;
    bool ghost = true;   // the pose before the last command
    bool trail = true;   // of the item selected last, over the preview range
    bool follow = false; // the camera goes with that item
};

class Viewport : public QWidget {
public:
    enum class Canvas { shaded, lines };
    Viewport(Document& document, Canvas canvas, QWidget* parent = nullptr);

    void frameSelection(); // all items where none is selected
    void frameMotion();    // all that is anywhere in the preview range
    enum class Side { front, side, top };
    void lookFrom(Side side);

    const OrbitCamera& camera() const { return camera_; }
    const ViewOptions& options() const { return options_; }
    void setOptions(const ViewOptions& options);

protected:
    QSize sizeHint() const override { return {600, 420}; }
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void take(Changes what);
    void follow();
    void redraw() { canvas_->update(); }
    View view() const { return {camera_, double(width()), double(height())}; }
    Sight sight() const;
    std::vector<bool> selectedItems() const;
    const Scene* ghostScene();

    ViewportPicture picture();
    void addGrid(ViewportPicture& picture) const;
    void addGhost(ViewportPicture& picture, const SceneShapes& now);
    void addShapes(ViewportPicture& picture, const ScreenPicture& drawn) const;
    void addTrail(ViewportPicture& picture);
    void addLine(std::vector<FlatShape>& to, const View& view, const Vec3& a, const Vec3& b,
                 const QColor& colour, float thick) const;
    void paintNames(QPainter& painter, const SceneShapes& shapes) const;
    void paintGizmo(QPainter& painter) const;
    QColor colourOf(ItemId item, bool isSelected) const;

    Document& document_;
    const Canvas kind_;
    QWidget* canvas_;
    ViewOptions options_;
    OrbitCamera camera_;
    std::filesystem::path path_;   // of the scene that the camera has framed
    std::size_t items_ = 0;        // in it
    double size_ = 1;              // of the whole motion
    std::optional<Vec3> followed_; // where what the camera follows was

    std::optional<Scene> ghost_;
    bool ghostIsNew_ = true; // it is to be looked for
    std::vector<Vec3> trail_;
    bool trailIsNew_ = true;

    QPointF pressed_, dragged_;
    bool isDrag_ = false; // the pointer went too far since the press for a click
};

} // namespace cadencora::stage
