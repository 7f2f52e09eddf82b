#include "stage/formats/gltf/document/quaternion.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage::gltf {

namespace {

Quaternion product(const Quaternion& a, const Quaternion& b) {
    return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
            a[3] * b[1] + a[1] * b[3] + a[2] * b[0] - a[0] * b[2],
            a[3] * b[2] + a[2] * b[3] + a[0] * b[1] - a[1] * b[0],
            a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}

double distance(const Quaternion& a, const Quaternion& b, double sign) {
    double squares = 0;
    for (std::size_t n = 0; n < 4; ++n)
        squares += (a[n] - sign * b[n]) * (a[n] - sign * b[n]);
    return std::sqrt(squares);
}

} // namespace

Quaternion quaternionAt(const float* numbers) {
    return {static_cast<double>(numbers[0]), static_cast<double>(numbers[1]),
            static_cast<double>(numbers[2]), static_cast<double>(numbers[3])};
}

double dot(const Quaternion& a, const Quaternion& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

double lengthOf(const Quaternion& q) {
    return std::sqrt(dot(q, q));
}

Quaternion normalized(const Quaternion& q) {
    const double length = lengthOf(q);
    return {q[0] / length, q[1] / length, q[2] / length, q[3] / length};
}

Mat3 matrixOf(const Quaternion& any) {
    const auto [x, y, z, w] = normalized(any);
    return {Vec3{1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
            Vec3{2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
            Vec3{2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)}};
}

Quaternion quaternionOf(const Vec3& angles) {
    const double h = angles[0] / 2, p = angles[1] / 2, b = angles[2] / 2;
    return product(product(Quaternion{0, std::sin(h), 0, std::cos(h)},
                           Quaternion{std::sin(p), 0, 0, std::cos(p)}),
                   Quaternion{0, 0, std::sin(b), std::cos(b)});
}

Quaternion quaternionOfMatrix(const Mat3& m) {
    // The largest of the four first, so that nothing is divided by a number near zero.
    const std::array<double, 4> squares{
        1 + m[0][0] - m[1][1] - m[2][2], 1 - m[0][0] + m[1][1] - m[2][2],
        1 - m[0][0] - m[1][1] + m[2][2], 1 + m[0][0] + m[1][1] + m[2][2]};
    const auto largest =
        static_cast<std::size_t>(std::ranges::max_element(squares) - squares.begin());
    const double size = std::sqrt(squares[largest]) / 2, part = 0.25 / size;
    Quaternion q{};
    q[largest] = size;
    if (largest == 3) {
        for (std::size_t n = 0; n < 3; ++n)
            q[n] = (m[(n + 2) % 3][(n + 1) % 3] - m[(n + 1) % 3][(n + 2) % 3]) * part;
    } else {
        const std::size_t i = largest, j = (i + 1) % 3, k = (i + 2) % 3;
        q[j] = (m[i][j] + m[j][i]) * part;
        q[k] = (m[i][k] + m[k][i]) * part;
        q[3] = (m[k][j] - m[j][k]) * part;
    }
    return q;
}

double angleBetween(const Quaternion& a, const Quaternion& b) {
    const double same = distance(a, b, 1), other = distance(a, b, -1);
    return 4 * std::atan2(std::min(same, other), std::max(same, other));
}

Quaternion slerp(const Quaternion& a, const Quaternion& b, double part) {
    const double sign = dot(a, b) < 0 ? -1 : 1;
    const double half = angleBetween(a, b) / 2, whole = std::sin(half);
    const bool tiny = whole < 1e-9;
    const double from = tiny ? 1 - part : std::sin((1 - part) * half) / whole;
    const double to = sign * (tiny ? part : std::sin(part * half) / whole);
    Quaternion q{};
    for (std::size_t n = 0; n < 4; ++n)
        q[n] = from * a[n] + to * b[n];
    return normalized(q);
}

Vec3 angleRates(const Quaternion& q, const Quaternion& slope, const Vec3& angles) {
    // Only the part of the slope that rotates counts: along q itself it changes the length.
    const double squared = dot(q, q);
    const Quaternion back{-q[0] / squared, -q[1] / squared, -q[2] / squared, q[3] / squared};
    const Quaternion half = product(slope, back);
    const Vec3 turn{2 * half[0], 2 * half[1], 2 * half[2]}; // radians per second about x, y, z
    const double s = std::sin(angles[0]), c = std::cos(angles[0]);
    const double flat = std::cos(angles[1]);
    const double bankRate = std::abs(flat) < 1e-4 ? 0 : (turn[0] * s + turn[2] * c) / flat;
    return {turn[1] + bankRate * std::sin(angles[1]), turn[0] * c - turn[2] * s, bankRate};
}

Quaternion quaternionRate(const Quaternion& q, const Vec3& angles, const Vec3& rates) {
    const double s = std::sin(angles[0]), c = std::cos(angles[0]);
    const double up = std::sin(angles[1]), flat = std::cos(angles[1]);
    const Quaternion halfTurn{(rates[1] * c + rates[2] * flat * s) / 2,
                              (rates[0] - rates[2] * up) / 2,
                              (rates[2] * flat * c - rates[1] * s) / 2, 0};
    return product(halfTurn, q);
}

} // namespace cadencora::stage::gltf
