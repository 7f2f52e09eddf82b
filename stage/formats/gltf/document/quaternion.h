// Rotations as glTF has them, x, y, z, w, and as heading, pitch and bank, with their derivatives.
#pragma once

#include "stage/scene/math/rotation.h"

namespace cadencora::stage::gltf {

using Quaternion = std::array<double, 4>; // x, y, z, w

Quaternion quaternionAt(const float* numbers);
double lengthOf(const Quaternion& q);
double dot(const Quaternion& a, const Quaternion& b);
Quaternion normalized(const Quaternion& q); // the length must not be 0

// The quaternion need not have the length 1.
Mat3 matrixOf(const Quaternion& q);
Quaternion quaternionOf(const Vec3& headingPitchBankAngles);
Quaternion quaternionOfMatrix(const Mat3& rotation);

// The smallest angle that turns one into the other, in radians.
double angleBetween(const Quaternion& a, const Quaternion& b);

// Along the shorter arc from a to b.
Quaternion slerp(const Quaternion& a, const Quaternion& b, double part);

// The rates of heading, pitch and bank, per second, for a quaternion's rate `slope`. Where heading
// and bank turn about the same axis, heading gets all of it.
Vec3 angleRates(const Quaternion& q, const Quaternion& slope, const Vec3& angles);

// The rate of the quaternion of the angles, per second, for their `rates`. `q` is that quaternion,
// with either sign.
Quaternion quaternionRate(const Quaternion& q, const Vec3& angles, const Vec3& rates);

} // namespace cadencora::stage::gltf
