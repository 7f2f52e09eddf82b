// The curves of one node and path as the one sampler that glTF has for them.
//
// Curves of straight, held or smooth spans become LINEAR, STEP or CUBICSPLINE keys at the times of
// all their keys, which says the same. Held spans beside others are sampled on frames. Rotations
// are checked span by span, since linear angles are not a linear rotation: spans that would differ
// too much get further keys on frames. Nothing here uses documents.
#pragma once

#include "stage/formats/gltf/animation/samplers.h"
#include "stage/scene/keys/envelope.h"

namespace cadencora::stage::gltf {

// What the file had for the same node and path.
struct Remembered {
    Track track;
    std::vector<KeyStore> keys; // as the reader makes them of it
};

struct Merged {
    Track track;           // in the file's units; the times are not negative
    bool onFrames = false; // keys were added on frames
    double error =
        0; // the largest distance from the curves between keys: units, radians of rotations
    std::size_t early = 0;  // keys before frame 0, left out
    std::size_t merged = 0; // keys nearer to another than single precision can represent
};

// A difference that nobody notices, in radians: spans of rotations below it get no further keys.
constexpr double unnoticedTurn = 1e-3;

// A difference in units that is a rounding.
constexpr double unnoticedValue = 1e-9;

// The curves of a path other than rotation; at least one has keys. Where nothing else decides, the
// keys are of the kind `usual`. Fails where the frames would be too many, or a value is not finite.
Result<Merged> mergeCurves(std::span<const Envelope* const> curves, const FrameRate& rate,
                           Interpolation usual, const Remembered* remembered);

// Heading, pitch and bank. Keys that are as the file had them keep the file's own numbers.
Result<Merged> mergeRotation(std::span<const Envelope* const> curves, const FrameRate& rate,
                             Interpolation usual, const Remembered* remembered);

// True where the keys are those of the file as far as it can hold them.
bool sameFileKeys(const KeyStore& keys, const KeyStore& remembered);

} // namespace cadencora::stage::gltf
