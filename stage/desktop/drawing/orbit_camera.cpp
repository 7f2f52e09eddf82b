#include "stage/desktop/drawing/orbit_camera.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

const double halfHeight = std::tan(viewHalfAngle); // of the view, at distance 1

Mat3 cameraAxes(const OrbitCamera& camera) {
    return rotation({camera.heading, camera.pitch, 0}, headingPitchBank);
}

Vec3 column(const Mat3& m, std::size_t i) {
    return {m[0][i], m[1][i], m[2][i]};
}

} // namespace

void OrbitCamera::orbit(double acrossRadians, double downRadians) {
    constexpr double most = 1.55;
    heading -= acrossRadians;
    pitch = std::clamp(pitch - downRadians, -most, most);
}

void OrbitCamera::pan(double right, double up) {
    const Mat3 axes = cameraAxes(*this);
    const double unit = 2 * halfHeight * distance;
    for (std::size_t i = 0; i < 3; ++i)
        target[i] -= unit * (right * axes[i][0] + up * axes[i][1]);
}

void OrbitCamera::zoom(double factor) {
    distance = std::clamp(distance * factor, 1e-4, 1e7);
}

void OrbitCamera::frame(const Vec3& center, double radius) {
    target = center;
    distance = std::max(radius, 1e-3) / halfHeight * 1.15;
}

// The eye looks along its own minus Z.
Vec3 OrbitCamera::eye() const {
    const Vec3 back = column(cameraAxes(*this), 2);
    return {target[0] + distance * back[0], target[1] + distance * back[1],
            target[2] + distance * back[2]};
}

View::View(const OrbitCamera& camera, double width, double height)
    : eye_(camera.eye()), near_(camera.distance * 0.01), scale_(height / 2 / halfHeight),
      centerX_(width / 2), centerY_(height / 2) {
    const Mat3 axes = cameraAxes(camera);
    axes_ = {column(axes, 0), column(axes, 1), column(axes, 2)};
}

Vec3 View::toEye(const Vec3& world) const {
    return product(axes_, Vec3{world[0] - eye_[0], world[1] - eye_[1], world[2] - eye_[2]});
}

ScreenPoint View::project(const Vec3& seen) const {
    const double depth = -seen[2];
    return {centerX_ + scale_ * seen[0] / depth, centerY_ - scale_ * seen[1] / depth, depth};
}

std::optional<ScreenPoint> View::point(const Vec3& world) const {
    const Vec3 seen = toEye(world);
    if (-seen[2] < near_) return std::nullopt;
    return project(seen);
}

double View::pixelAt(const Vec3& world) const {
    return std::max(-toEye(world)[2], 0.0) / scale_;
}

std::optional<std::pair<ScreenPoint, ScreenPoint>> View::line(const Vec3& a, const Vec3& b) const {
    Vec3 from = toEye(a), to = toEye(b);
    if (-from[2] < near_ && -to[2] < near_) return std::nullopt;
    const auto clip = [&](Vec3& end, const Vec3& other) {
        if (-end[2] >= near_) return;
        const double share = (near_ + other[2]) / (other[2] - end[2]);
        for (std::size_t i = 0; i < 3; ++i)
            end[i] = other[i] + (end[i] - other[i]) * share;
    };
    clip(from, to);
    clip(to, from);
    return std::pair{project(from), project(to)};
}

} // namespace cadencora::stage
