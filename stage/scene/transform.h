// Where items are: their own values and their place in the world, in double precision.
#pragma once

#include "stage/scene/math/rotation.h"
#include "stage/scene/scene.h"

namespace cadencora::stage {

// A transform of points: p -> linear * p + offset.
struct Affine {
    Mat3 linear{Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
    Vec3 offset{};
};

inline Vec3 transformed(const Affine& by, const Vec3& point) {
    const Vec3 turned = product(by.linear, point);
    return {turned[0] + by.offset[0], turned[1] + by.offset[1], turned[2] + by.offset[2]};
}

// The transform by the inner one, then by the outer one.
inline Affine product(const Affine& outer, const Affine& inner) {
    return {product(outer.linear, inner.linear), transformed(outer, inner.offset)};
}

// Three neighbouring motion channels at a time: position, rotation (radians) or scale.
Vec3 motionValues(const Scene& scene, ItemId item, MotionChannel first, double time);

// From the item's own space to its parent's: pivot, scale, rotation, second rotation, position.
Affine localTransform(const Scene& scene, ItemId item, double time);

// From the item's own space to the world.
Affine worldTransform(const Scene& scene, ItemId item, double time);

// worldTransform of every item, by its place in the scene; parents are computed once.
std::vector<Affine> worldTransforms(const Scene& scene, double time);

// Where the item's pivot point is in the world.
Vec3 worldPosition(const Scene& scene, ItemId item, double time);

// The channel that hides an object, in its own group, where it has been added.
constexpr std::string_view dissolveChannelName = "Dissolve";

// Whether an object is dissolved completely: the value of that channel is 1.
bool isHidden(const Scene& scene, ItemId item, double time);

} // namespace cadencora::stage
