// The viewport's camera: orbits a point, and projects points of the world onto the screen.
//
// Right-handed, Y up. Calls only stage/scene.
#pragma once

#include "stage/scene/math/rotation.h"

#include <numbers>
#include <optional>
#include <utility>

namespace cadencora::stage {

struct ScreenPoint {
    double x = 0, y = 0; // pixels from the top left corner
    double depth = 0;    // distance in front of the eye
};

struct OrbitCamera {
    Vec3 target{};
    double heading = 0.6, pitch = -0.35; // radians: where the eye looks, as items turn
    double distance = 10;                // from the eye to the target

    void orbit(double acrossRadians, double downRadians); // never over the poles
    void pan(double right, double up);                    // in screen heights at the target's depth
    void zoom(double factor);                             // of the distance
    void frame(const Vec3& center, double radius);        // fills the view with a sphere

    Vec3 eye() const;
};

constexpr double viewHalfAngle = 20 * std::numbers::pi / 180; // from the middle to the upper edge

// A camera's view onto a screen of a size in pixels.
class View {
public:
    View(const OrbitCamera& camera, double width, double height);

    // Nothing behind the eye or too near to it.
    std::optional<ScreenPoint> point(const Vec3& world) const;
    // The part of the line in front of the eye.
    std::optional<std::pair<ScreenPoint, ScreenPoint>> line(const Vec3& a, const Vec3& b) const;

    // How long a pixel is at a point of the world; 0 behind the eye.
    double pixelAt(const Vec3& world) const;

    const Mat3& axes() const { return axes_; } // rows: right, up, back
    const Vec3& eye() const { return eye_; }
    double nearest() const { return near_; } // what is nearer to the eye is not shown

private:
    Vec3 toEye(const Vec3& world) const;
    ScreenPoint project(const Vec3& seen) const;

    Mat3 axes_;
    Vec3 eye_;
    double near_;
    double scale_, centerX_, centerY_;
};

} // namespace cadencora::stage
