// What the targets of scene readers share: tight limits, and what must hold of every scene that a
// reader hands over.
#pragma once

#include "stage/formats/registry.h"
#include "stage/scene/mesh/mesh.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace cadencora::stage {

inline ReadOptions fuzzOptions() {
    ReadOptions options;
    options.limits.items = 1000;
    options.limits.channels = 20'000;
    options.limits.keys = 200'000;
    options.limits.depth = 64;
    options.limits.meshNumbers = 500'000;
    options.meshes = true;
    return options;
}

inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

inline void checkCurve(const Envelope& curve) {
    double last = -HUGE_VAL;
    std::size_t count = 0;
    for (auto key = curve.keys.begin(); key; key.advance(), ++count) {
        require(std::isfinite(key.time()) && key.time() > last, "keys are in order of time");
        require(std::isfinite(key.value()), "values are finite");
        last = key.time();
    }
    require(count == curve.keys.size(), "keys are counted right");
}

// That deforming and drawing it uses no index that is out of range.
inline void checkMesh(const Scene& scene, const Mesh& mesh) {
    const MeshShape& shape = *mesh.shape;
    const auto isPoint = [&](std::uint32_t point) { return point < shape.points.size(); };
    for (const MeshTriangle& triangle : shape.triangles)
        require(std::ranges::all_of(triangle, isPoint), "triangles have their points");
    for (const MeshEdge& edge : shape.edges) {
        require(std::ranges::all_of(edge.points, isPoint), "edges have their points");
        for (const std::uint32_t beside : edge.triangles)
            require(beside == MeshEdge::none || beside < shape.triangles.size(),
                    "edges have their triangles");
    }
    for (const MeshPoint& point : shape.points)
        for (const float number : point)
            require(std::isfinite(number), "points are finite");
    require(mesh.morphs.size() == shape.targets.size(), "every morph has its channel");
    for (const ChannelId morph : mesh.morphs)
        require(scene.has(morph), "the channels of morphs are there");
    for (const MorphTarget& target : shape.targets)
        require(std::ranges::all_of(target.points, isPoint) &&
                    target.points.size() == target.deltas.size(),
                "every point of a morph has its difference");
    if (!mesh.skin) return;
    require(shape.jointWeights.size() == shape.points.size(), "a skin has weights for every point");
    require(mesh.skin->joints.size() == mesh.skin->inverseBinds.size(), "joints have their binds");
    for (const ItemId joint : mesh.skin->joints)
        require(scene.has(joint), "joints are items");
    for (const JointWeights& weights : shape.jointWeights)
        for (const std::uint16_t joint : weights.joints)
            require(joint < mesh.skin->joints.size(), "joints are of the skin");
}

inline void checkScene(const Scene& scene) {
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        const Item& item = scene.item(id);
        require(item.parent < id, "parents come before their children");
        require(item.type != ItemType::bone || scene.has(item.owner), "bones have an object");
        for (std::size_t c = 0; c < motionChannelCount; ++c)
            checkCurve(scene.motion(id, static_cast<MotionChannel>(c)));
        if (item.mesh) checkMesh(scene, *item.mesh);
    }
}

} // namespace cadencora::stage
