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

struct ScreenShape {
    ItemId item = ItemId::none;
    double depth = 0; // by which it has its place in the order
    double light = 1; // of a face, as lightOf says

    // Around a face; the two ends of an edge; of a mesh its points by number, those that are not in
    // front of the eye with no depth.
    std::vector<ScreenPoint> points;

    std::shared_ptr<const MeshShape> mesh; // null: a face or an edge
    std::vector<ScreenLine> facing, away;  // a mesh's edges on the eye's side, and beyond
};

// Faces that face away are left out. What is farther away comes first. A mesh, which can be seen
// through, comes before all that is nearer than its farthest point, so that bones show within a
// body. Of meshes with very many edges the outlines and a part of the others are drawn.
std::vector<ScreenShape> screenShapes(const SceneShapes& shapes, const OrbitCamera& camera,
                                      double width, double height);

// The item at a place on the screen: of the faces, edges and insides of meshes there the one drawn
// last, of meshes only the nearest. Where nothing is, the same within `reach` pixels; none where
// nothing is that near.
ItemId pickedItem(std::span<const ScreenShape> drawn, double x, double y, double reach);

} // namespace cadencora::stage
