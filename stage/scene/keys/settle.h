// Keys brought onto frames.
#pragma once

#include "stage/scene/keys/frame_rate.h"
#include "stage/scene/keys/key_store.h"

namespace cadencora::stage {

// Moves keys that miss a frame by a rounding to the frame's own time, which exact comparisons meet.
// Order and number of keys stay: where two keys are that near to one frame, both stay.
void settleOnFrames(KeyStore& keys, const FrameRate& rate);

} // namespace cadencora::stage
