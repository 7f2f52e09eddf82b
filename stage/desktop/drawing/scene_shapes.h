// A scene at a time as simple shapes: bones taper, objects are cubes, lights and cameras have
// signs.
//
// Calls stage/scene alone.
#pragma once

#include "stage/scene/transform.h"

#include <vector>

namespace cadencora::stage {

struct Face {
    ItemId item = ItemId::none;
    std::vector<Vec3> corners; // in the world, around the face
};

// How bright a face is under a light from above the viewer's left, 0.45 to 1; both sides alike.
double lightOf(const Face& face);

struct Edge {
    ItemId item = ItemId::none;
    Vec3 from{}, to{};
};

struct SceneShapes {
    std::vector<Face> faces;
    std::vector<Edge> edges;
};

// The place of every item in the world, by its number from 0.
std::vector<Affine> worldTransforms(const Scene& scene, double time);

// `unit` is the edge of a cube that stands for an unscaled object. Objects that are dissolved, and
// their bones, are left out.
SceneShapes shapesAt(const Scene& scene, double time, double unit);

// A sphere around items.
struct Sphere {
    Vec3 center{};
    double radius = 1;
};
Sphere sphereAround(const Scene& scene, const std::vector<ItemId>& items, double time);
Sphere sphereAroundAll(const Scene& scene, double time);

} // namespace cadencora::stage
