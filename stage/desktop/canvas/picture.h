// What the viewport shows, ready to be painted: surfaces in the world, and flat shapes on the
// screen, below and over them.
#pragma once

#include "stage/desktop/drawing/screen_shapes.h"

#include <QColor>
#include <QPointF>

#include <functional>
#include <vector>

class QPainter;

namespace cadencora::stage {

// A line, or a four-sided shape around its corners, whose second half is in shade.
struct FlatShape {
    std::array<QPointF, 4> points; // pixels from the top left corner
    int corners = 0;               // 2 or 4
    QColor colour;
    float width = 1;  // of a line, pixels
    QColor edge = {}; // of the outline of the four-sided; invalid: it has none
};

struct ViewportPicture {
    OrbitCamera camera;
    QColor ground;
    std::vector<FlatShape> below; // the surfaces
    std::vector<Surface> surfaces, ghosts;
    std::vector<ScreenMesh> lines; // of the surfaces, where they are not shaded
    std::vector<FlatShape> over;   // the surfaces, in their order
    std::function<QColor(ItemId)> lineColour;
    std::function<void(QPainter&)> paintWords; // over all
};

} // namespace cadencora::stage
