// A scene at a time as shapes in the world: meshes where items have them, else cubes for objects;
// bones taper, lights and cameras have signs.
//
// Calls only stage/scene.
#pragma once

#include "stage/scene/mesh/mesh.h"

#include <vector>

namespace cadencora::stage {

struct Face {
    ItemId item = ItemId::none;
    std::vector<Vec3> corners; // in the world, around the face
    Vec3 inside{};             // a place within the closed shape that the face is a side of
};

// How bright a face is under a light from above the viewer's left, 0.45 to 1; both sides alike.
double lightOf(const Face& face);

bool facesEye(const Face& face, const Vec3& eye); // and so may be seen

struct Edge {
    ItemId item = ItemId::none;
    Vec3 from{}, to{};
};

struct Surface {
    ItemId item = ItemId::none;
    std::shared_ptr<const MeshShape> shape;
    std::vector<Vec3> points; // of the shape, in the world
    bool isMirrored = false;  // its triangles go clockwise seen from outside
};

struct SceneShapes {
    std::vector<Face> faces;
    std::vector<Edge> edges;
    std::vector<Surface> surfaces;
};

// `unit` is the edge of a cube that represents an unscaled object. Beside meshes, cubes are small
// marks, whatever their scale, and so are those that would hide a whole scene: rigs are often
// scaled a hundredfold at their root. Objects that are dissolved, and their bones, are left out.
SceneShapes shapesAt(const Scene& scene, double time, double unit);

// A sphere around items, as far as their meshes and bones reach.
struct Sphere {
    Vec3 center{};
    double radius = 1;
};
Sphere sphereAround(const Scene& scene, const std::vector<ItemId>& items, double time);
Sphere sphereAroundAll(const Scene& scene, double time);

} // namespace cadencora::stage
