#include "stage/scene/keys/settle.h"

namespace cadencora::stage {

void settleOnFrames(KeyStore& keys, const FrameRate& rate) {
    bool all = true;
    for (auto key = keys.begin(); key && all; key.advance())
        all = rate.settled(key.time()) == key.time();
    if (all) return;
    KeyStore moved;
    for (auto key = keys.begin(); key;) {
        KeyData data = key.data();
        const double settled = rate.settled(data.time);
        key.advance();
        const bool meetsBefore = !moved.empty() && settled <= moved.last().time();
        const bool meetsNext = key && settled >= key.time();
        if (!meetsBefore && !meetsNext) data.time = settled;
        moved.append(data);
    }
    keys.swap(moved);
}

} // namespace cadencora::stage
