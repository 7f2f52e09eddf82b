// What the targets of scene readers share: tight limits, and what must hold of every scene that a
// reader hands over.
#pragma once

#include "stage/formats/format.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace cadencora::stage {

inline ReadOptions fuzzOptions() {
    ReadOptions options;
    options.limits.items = 1000;
    options.limits.channels = 20'000;
    options.limits.keys = 200'000;
    options.limits.depth = 64;
    return options;
}

inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

inline void checkCurve(const Envelope& curve) {
    double last = -HUGE_VAL;
    std::size_t count = 0;
    for (auto key = curve.keys.begin(); key; key.advance(), ++count) {
        require(std::isfinite(key.time()) && key.time() > last, "keys stand in order of time");
        require(std::isfinite(key.value()), "values are finite");
        last = key.time();
    }
    require(count == curve.keys.size(), "keys are counted right");
}

inline void checkScene(const Scene& scene) {
    for (std::size_t i = 0; i < scene.itemCount(); ++i) {
        const ItemId id = Scene::itemAt(i);
        const Item& item = scene.item(id);
        require(item.parent < id, "parents come before their children");
        require(item.type != ItemType::bone || scene.has(item.owner), "bones have an object");
        for (std::size_t c = 0; c < motionChannelCount; ++c)
            checkCurve(scene.motion(id, static_cast<MotionChannel>(c)));
    }
}

} // namespace cadencora::stage
