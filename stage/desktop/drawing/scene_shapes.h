// A scene at a time as shapes in the world: meshes where items have them; bones, lights and cameras
// as signs; marks for all that has no shape of its own.
//
// Calls only stage/scene and the camera, by which signs have their size.
#pragma once

#include "stage/desktop/drawing/orbit_camera.h"
#include "stage/scene/journal.h"
#include "stage/scene/mesh/mesh.h"

#include <vector>

namespace cadencora::stage {

struct Bone { // from its joint to another, or to an end site
    ItemId item = ItemId::none;
    Vec3 from{}, to{};
};

struct Mark {
    ItemId item = ItemId::none;
    Vec3 at{};
};

struct Edge {
    ItemId item = ItemId::none;
    Vec3 from{}, to{};
};

struct Surface {
    ItemId item = ItemId::none;
    std::shared_ptr<const MeshShape> shape;
    std::vector<Vec3> points;       // of the shape, in the world
    std::vector<MeshPoint> normals; // by vertex, of any length; empty where not asked for
    bool isMirrored = false;        // its triangles go clockwise seen from outside
};

struct SceneShapes {
    std::vector<Bone> bones;
    std::vector<Mark> marks;
    std::vector<Edge> edges; // of the signs of lights and cameras
    std::vector<Surface> surfaces;
    std::vector<Affine> world; // of every item, by its number from 0
};

// What the user wants to see.
struct Sight {
    bool meshes = true, bones = true; // bones: signs and marks, too
    bool normals = false;             // of meshes
};

// Objects that are dissolved, and their bones, are left out. A last bone goes on as its own joint
// came from the one above. Signs have the same size on the screen wherever they are.
SceneShapes shapesAt(const Scene& scene, double time, const View& view, const Sight& sight = {});

// The scene as it was before the last edit, which shares what that left; nothing where there is no
// edit, or it touched no key. It must end before the scene does.
std::optional<Scene> sceneBefore(const Scene& scene, const Journal& journal);

// Takes out of shapes what is where it is in other shapes of the same scene.
void keepMoved(SceneShapes& shapes, const SceneShapes& now);

// A sphere around items, as far as their meshes and bones reach.
struct Sphere {
    Vec3 center{};
    double radius = 1;
};
Sphere sphereAround(const Scene& scene, const std::vector<ItemId>& items, double time);
Sphere sphereAroundAll(const Scene& scene, double time);
// Around all meshes and bones, else all items, wherever they are in the preview range, as far as
// looking a number of times can tell.
Sphere sphereAroundMotion(const Scene& scene);

// Where an item's pivot is at every frame of the preview range, of a long one at some of them.
std::vector<Vec3> trailOf(const Scene& scene, ItemId item);

} // namespace cadencora::stage
