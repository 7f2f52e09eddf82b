// Rotations in double precision: matrices and angle triples about the axes in any order.
//
// Right-handed, Y up; a matrix turns column vectors. Angles are radians.
#pragma once

#include "stage/scene/math/vector.h"

#include <cstdint>

namespace cadencora::stage {

using Mat3 = std::array<Vec3, 3>; // rows

enum class Axis : std::uint8_t { x = 0, y = 1, z = 2 };

// Three different axes, from the outermost rotation to the innermost.
using RotationOrder = std::array<Axis, 3>;
constexpr RotationOrder headingPitchBank{Axis::y, Axis::x, Axis::z};

Mat3 product(const Mat3& a, const Mat3& b);
Vec3 product(const Mat3& a, const Vec3& v);

// angles[n] turns about order[n].
Mat3 rotation(const Vec3& angles, const RotationOrder& order);

// Angles about the axes of `order` that make the rotation: of all that do, the triple nearest to
// `near`. Where the first and the last axis fall together, the last angle is near[2].
Vec3 anglesNear(const Mat3& matrix, const RotationOrder& order, const Vec3& near);

} // namespace cadencora::stage
