// Rotations for columns that are not heading, pitch and bank: sampled and converted for the file.
#pragma once

#include "stage/formats/bvh/layout.h"
#include "stage/scene/keys/frame_sampler.h"

namespace cadencora::stage::bvh {

// The rotation of a joint whose columns are not heading, pitch and bank, frame after frame.
class RotationSampler {
public:
    RotationSampler(const Scene& scene, const Memory* memory, ItemId item,
                    const RotationOrder& order);

    // Degrees about the axes of the order. The file's own angles where the rotation still is what
    // they make; else the angles nearest to those of the frame before.
    Vec3 at(double time);

    // Of heading, pitch and bank.
    const std::array<FrameSampler, 3>& samplers() const { return samplers_; }

private:
    const Vec3* rememberedAt(double time) const;

    std::array<FrameSampler, 3> samplers_;
    RotationOrder order_;
    const Memory* memory_;
    const std::vector<Vec3>* remembered_ = nullptr; // degrees, by frame of the file
    bool started_ = false;
    Vec3 before_{}; // radians, of the frame before
};

} // namespace cadencora::stage::bvh
