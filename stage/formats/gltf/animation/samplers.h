// The samplers of a clip: their key times and values as the file has them, and the keys that they
// become.
#pragma once

#include "stage/formats/gltf/document/clock.h"
#include "stage/formats/gltf/document/numbers.h"
#include "stage/scene/keys/key_store.h"

namespace cadencora::stage::gltf {

// A sampler's numbers for one node and path.
struct Track {
    Interpolation interpolation = Interpolation::linear;
    std::size_t components = 0;
    Times times;
    // By key; of CUBICSPLINE the slopes in, the values, the slopes out, in units per second.
    std::vector<float> values;

    std::size_t size() const { return times->size(); }
    const float* at(std::size_t key, std::size_t part) const {
        const bool cubic = interpolation == Interpolation::cubic;
        return values.data() + (cubic ? key * 3 + part : key) * components;
    }
    const float* value(std::size_t key) const { return at(key, 1); }
    const float* arriving(std::size_t key) const { return at(key, 0); } // only of CUBICSPLINE
    const float* leaving(std::size_t key) const { return at(key, 2); }
};

// `place` names the member that counts the accessor.
Result<Times> readTimes(const Source& source, std::size_t accessor, const std::string& place);

// The numbers of a channel of a clip; `times` are those of its sampler.
Result<Track> readTrack(const Source& source, std::size_t clip, std::size_t channel, Times times);

// "animations[3].samplers[1]"
std::string samplerPlace(std::size_t clip, std::size_t sampler);

// Adds the keys of a track after the last ones: three stores for motions, one per target for
// weights. Rotations become heading, pitch and bank near `rest`, then near the key before.
void appendKeys(const Track& track, Path path, const Clock& clock, const Vec3& rest,
                std::span<KeyStore* const> keys);

} // namespace cadencora::stage::gltf
