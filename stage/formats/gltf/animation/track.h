// The numbers of an animation sampler, and the keys that they are.
#pragma once

#include "stage/formats/gltf/document/numbers.h"
#include "stage/scene/keys/frame_rate.h"
#include "stage/scene/keys/key_store.h"

#include <memory>
#include <span>

namespace cadencora::stage {

using GltfTimes = std::shared_ptr<const std::vector<float>>; // seconds, later and later

// A sampler's numbers for one node and path.
struct GltfTrack {
    GltfInterpolation interpolation = GltfInterpolation::linear;
    std::size_t components = 0;
    GltfTimes times;
    // By key; of CUBICSPLINE the slopes in, the values, the slopes out, in units per second.
    std::vector<float> values;

    std::size_t size() const { return times->size(); }
    const float* at(std::size_t key, std::size_t part) const {
        const bool cubic = interpolation == GltfInterpolation::cubic;
        return values.data() + (cubic ? key * 3 + part : key) * components;
    }
    const float* value(std::size_t key) const { return at(key, 1); }
    const float* arriving(std::size_t key) const { return at(key, 0); } // CUBICSPLINE alone
    const float* leaving(std::size_t key) const { return at(key, 2); }
};

// `place` names the member that counts the accessor.
Result<GltfTimes> gltfTimes(const GltfSource& source, std::size_t accessor,
                            const std::string& place);

// What a channel of a clip says; `times` are those of its sampler.
Result<GltfTrack> gltfTrack(const GltfSource& source, std::size_t clip, std::size_t channel,
                            GltfTimes times);

// "animations[3].samplers[1]"
std::string gltfSamplerPlace(std::size_t clip, std::size_t sampler);

// The frames that a clip's keys stand on.
struct GltfClock {
    FrameRate rate;
    bool onFrames = false; // every key stands on a frame of `grid` but for a rounding
    FrameRate grid;
    std::string note; // where the rate came from

    // The time of a key in seconds: the frame's own where it stands on one.
    double at(float time) const;
};

// Of the usual rates the first whose frames hold all the times. `wanted`, where given, counts.
GltfClock gltfClock(std::span<const GltfTimes> times, std::optional<FrameRate> wanted);

// Adds the keys of a track after the last ones: three stores for motions, one per target for
// weights. Rotations become heading, pitch and bank near `rest`, then near the key before.
void appendGltfKeys(const GltfTrack& track, GltfPath path, const GltfClock& clock, const Vec3& rest,
                    std::span<KeyStore* const> keys);

} // namespace cadencora::stage
