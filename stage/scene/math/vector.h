// Vectors of three numbers in double precision.
#pragma once

#include <array>
#include <cmath>

namespace cadencora::stage {

using Vec3 = std::array<double, 3>;

constexpr Vec3 operator+(const Vec3& a, const Vec3& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
constexpr Vec3 operator-(const Vec3& a, const Vec3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
constexpr Vec3 operator*(double factor, const Vec3& v) {
    return {factor * v[0], factor * v[1], factor * v[2]};
}
constexpr double dot(const Vec3& a, const Vec3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
constexpr Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double length(const Vec3& v) {
    return std::hypot(v[0], v[1], v[2]);
}

} // namespace cadencora::stage
