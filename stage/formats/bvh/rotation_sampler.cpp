#include "stage/formats/bvh/rotation_sampler.h"

#include <cmath>

namespace cadencora::stage::bvh {

RotationSampler::RotationSampler(const Scene& scene, const Memory* memory, ItemId item,
                                 const RotationOrder& order)
    : samplers_{FrameSampler(scene.motion(item, heading), scene.rate),
                FrameSampler(scene.motion(item, pitch), scene.rate),
                FrameSampler(scene.motion(item, bank), scene.rate)},
      order_(order), memory_(memory) {
    if (memory && memory->knows(item)) remembered_ = &memory->anglesOf(item);
}

const Vec3* RotationSampler::rememberedAt(double time) const {
    if (!remembered_ || remembered_->empty()) return nullptr;
    const double frame = memory_->rate.frameOf(time);
    const double whole = std::round(frame);
    if (std::abs(frame - whole) > FrameRate::slack || whole < 0 ||
        whole >= static_cast<double>(remembered_->size()))
        return nullptr;
    return &(*remembered_)[static_cast<std::size_t>(whole)];
}

Vec3 RotationSampler::at(double time) {
    // Radians. More than the error of decomposing a rotation where two axes nearly coincide, and
    // far less than anyone sees.
    constexpr double same = 3.5e-6;

    const Vec3 own{samplers_[0].at(time), samplers_[1].at(time), samplers_[2].at(time)};
    const Mat3 matrix = rotation(own, headingPitchBank);
    Vec3 near = before_;
    if (const Vec3* degrees = rememberedAt(time)) {
        Vec3 angles{};
        for (std::size_t n = 0; n < 3; ++n)
            angles[n] = (*degrees)[n] * radiansPerDegree;
        const Mat3 there = rotation(angles, order_);
        double squares = 0;
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 3; ++c)
                squares += (matrix[r][c] - there[r][c]) * (matrix[r][c] - there[r][c]);
        if (squares <= 2 * same * same) {
            started_ = true;
            before_ = angles;
            return *degrees;
        }
        if (!started_) near = angles;
    } else if (!started_) {
        near = reordered(own, headingPitchBank, order_);
    }
    started_ = true;
    before_ = anglesNear(matrix, order_, near);
    Vec3 written{};
    for (std::size_t n = 0; n < 3; ++n)
        written[n] = before_[n] / radiansPerDegree;
    return written;
}

} // namespace cadencora::stage::bvh
