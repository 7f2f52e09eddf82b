#include "stage/scene/math/rotation.h"

#include <cmath>
#include <numbers>

namespace cadencora::stage {

namespace {

constexpr double pi = std::numbers::pi;

std::size_t place(Axis axis) {
    return static_cast<std::size_t>(axis);
}

// +1 where the order is x, y, z turned round, -1 otherwise.
double handedness(const RotationOrder& order) {
    return (place(order[0]) + 1) % 3 == place(order[1]) ? 1.0 : -1.0;
}

// Multiplies from the right by a rotation about one axis.
void turn(Mat3& matrix, Axis axis, double angle) {
    const double s = std::sin(angle), c = std::cos(angle);
    const std::size_t j = (place(axis) + 1) % 3, k = (place(axis) + 2) % 3;
    for (Vec3& row : matrix) {
        const double a = row[j], b = row[k];
        row[j] = a * c + b * s;
        row[k] = b * c - a * s;
    }
}

double nearestTurn(double angle, double near) {
    return angle + 2 * pi * std::round((near - angle) / (2 * pi));
}

double distance(const Vec3& a, const Vec3& b) {
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
}

} // namespace

Mat3 product(const Mat3& a, const Mat3& b) {
    Mat3 m{};
    for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c)
            m[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
    return m;
}

Vec3 product(const Mat3& a, const Vec3& v) {
    return {a[0][0] * v[0] + a[0][1] * v[1] + a[0][2] * v[2],
            a[1][0] * v[0] + a[1][1] * v[1] + a[1][2] * v[2],
            a[2][0] * v[0] + a[2][1] * v[1] + a[2][2] * v[2]};
}

Mat3 rotation(const Vec3& angles, const RotationOrder& order) {
    Mat3 matrix{Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
    for (std::size_t n = 0; n < 3; ++n)
        turn(matrix, order[n], angles[n]);
    return matrix;
}

Vec3 anglesNear(const Mat3& matrix, const RotationOrder& order, const Vec3& near) {
    const std::size_t i = place(order[0]), j = place(order[1]), k = place(order[2]);
    const double sign = handedness(order);
    const double flat = std::hypot(matrix[i][i], matrix[i][j]); // cosine of the middle angle
    Vec3 angles{0, std::atan2(sign * matrix[i][k], flat), 0};
    if (flat > 1e-6) {
        angles[0] = std::atan2(-sign * matrix[j][k], matrix[k][k]);
        angles[2] = std::atan2(-sign * matrix[i][j], matrix[i][i]);
    } else {
        // Outer and inner axis (nearly) coincide: only their sum is certain.
        angles[2] = near[2];
        Mat3 rest = matrix;
        turn(rest, order[2], -near[2]);
        angles[0] = std::atan2(sign * rest[k][j], rest[j][j]);
    }
    const Vec3 other{angles[0] + pi, pi - angles[1], angles[2] + pi};
    Vec3 first{}, second{};
    for (std::size_t n = 0; n < 3; ++n) {
        first[n] = nearestTurn(angles[n], near[n]);
        second[n] = nearestTurn(other[n], near[n]);
    }
    return distance(first, near) <= distance(second, near) ? first : second;
}

} // namespace cadencora::stage
