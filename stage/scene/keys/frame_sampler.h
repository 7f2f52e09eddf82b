// The values of a curve frame after frame, for formats that hold a value per frame.
#pragma once

#include "stage/scene/keys/envelope.h"
#include "stage/scene/keys/frame_rate.h"

namespace cadencora::stage {

// Walks along the keys, so that a key on each frame costs a step and no search. The envelope must
// outlive the sampler and stay as it is.
class FrameSampler {
public:
    FrameSampler(const Envelope& envelope, const FrameRate& rate)
        : envelope_(&envelope), next_(envelope.keys.begin()),
          slack_(FrameRate::slack / rate.perSecond()),
          keysBeforeStart_(next_ && next_.time() < -slack_) {
        while (next_ && next_.time() < -slack_)
            next_.advance();
    }

    // The value at a frame's time in seconds; the times must not go back nor lie before 0.
    double at(double time) {
        for (; next_ && next_.time() < time - slack_; next_.advance())
            keysBetween_ = true;
        if (!next_ || next_.time() > time + slack_) return envelope_->evaluate(time);
        const double value = next_.value();
        next_.advance();
        return value;
    }

    bool keysBetween() const { return keysBetween_; } // keys that stood on none of the frames
    bool keysBeforeStart() const { return keysBeforeStart_; }

private:
    const Envelope* envelope_;
    KeyStore::Cursor next_;
    double slack_; // seconds
    bool keysBeforeStart_;
    bool keysBetween_ = false;
};

} // namespace cadencora::stage
