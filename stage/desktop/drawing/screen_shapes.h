// The shapes of a scene on the screen, in the order in which they are drawn, and which of them is
// under the pointer: what is picked is what is seen on top.
//
// Calls only stage/scene.
#pragma once

#include "stage/desktop/drawing/orbit_camera.h"
#include "stage/desktop/drawing/scene_shapes.h"

#include <span>

namespace cadencora::stage {

struct ScreenLine {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0; // pixels, within the screen
};

// A bone as a slim kite: its joint, its left, its other end, its right. A mark as a small diamond.
// A line of a sign by its two ends.
struct ScreenShape {
    ItemId item = ItemId::none;
    double depth = 0;
    bool isSelected = false;
    int corners = 0; // 2 or 4
    std::array<ScreenPoint, 4> points;
};

struct ScreenMesh {
    ItemId item = ItemId::none;
    double depth = 0; // of its farthest point
    bool isSelected = false;
    std::shared_ptr<const MeshShape> shape;
    std::vector<ScreenPoint> points; // of the shape; with no depth where not in front of the eye
    std::vector<ScreenLine> facing, away, outline; // its edges on the eye's side, and beyond; where
                                                   // the one meets the other
};

struct ScreenPicture {
    std::vector<ScreenMesh> meshes;  // the farthest first
    std::vector<ScreenShape> shapes; // drawn over all meshes; the farthest first, what is selected
                                     // after all others
};

// Which lines of meshes are wanted: of very many edges the outlines and a part of the others are
// drawn.
enum class MeshLines { none, selectedOutlines, all };

// `selected`: by the item's number from 0; what is beyond its end is not.
ScreenPicture screenShapes(const SceneShapes& shapes, const OrbitCamera& camera, double width,
                           double height, const std::vector<bool>& selected, MeshLines lines);

// The item at a place on the screen: of bones, marks and signs the one drawn last, else of meshes
// the nearest. Where nothing is, the same within `reach` pixels; none where nothing is that near.
ItemId pickedItem(const ScreenPicture& drawn, double x, double y, double reach);

// The part of a line that is within the screen.
std::optional<ScreenLine> clippedLine(const ScreenLine& line, double width, double height);

} // namespace cadencora::stage
