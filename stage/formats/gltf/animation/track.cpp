#include "stage/formats/gltf/animation/track.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/animation/quaternion.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

double framesTolerance(float time, const FrameRate& rate) {
    // Some roundings of a single-precision number, or of the sum or product that it came from.
    const double frame = 1 / rate.perSecond();
    return std::min(3e-7 * std::max(std::abs(static_cast<double>(time)), frame), 0.01 * frame);
}

bool holds(const FrameRate& rate, const std::vector<float>& times) {
    double before = -1e300;
    for (const float time : times) {
        const double frame = std::round(static_cast<double>(time) * rate.perSecond());
        if (frame <= before || std::abs(frame) > 2e9) return false;
        before = frame;
        const double own = rate.timeOf(static_cast<std::int64_t>(frame));
        if (std::abs(own - static_cast<double>(time)) > framesTolerance(time, rate)) return false;
    }
    return true;
}

std::string perSecond(const FrameRate& rate) {
    return rate.text() + " frames per second";
}

} // namespace

std::string gltfSamplerPlace(std::size_t clip, std::size_t sampler) {
    return "animations[" + std::to_string(clip) + "].samplers[" + std::to_string(sampler) + "]";
}

Result<GltfTimes> gltfTimes(const GltfSource& source, std::size_t index, const std::string& place) {
    const auto fail = [&](const std::string& what, std::string detail = {}) {
        return Problem{what, source.where + ": " + place, std::move(detail)};
    };
    const GltfAccessor& accessor = source.model.accessors[index];
    if (accessor.components != 1 || accessor.componentType != gltfSingle)
        return fail("expected key times as single numbers",
                    "accessors[" + std::to_string(index) + "] is of another type");
    if (accessor.values.view == gltfNone) return fail("the key times have no bytes");
    if (accessor.count == 0) return fail("there are no key times");
    auto times = gltfFloats(source, index, place);
    if (!times) return times.problem();
    for (std::size_t i = 0; i < times->size(); ++i) {
        const float time = times.value()[i];
        if (!std::isfinite(time))
            return fail("a key time is not finite", "key " + std::to_string(i));
        if (i > 0 && time <= times.value()[i - 1])
            return fail("the key times do not go up", "key " + std::to_string(i) + " at " +
                                                          shortest(static_cast<double>(time)) +
                                                          " is not behind the one before");
    }
    return GltfTimes(std::make_shared<const std::vector<float>>(std::move(*times)));
}

Result<GltfTrack> gltfTrack(const GltfSource& source, std::size_t clip, std::size_t channelIndex,
                            GltfTimes times) {
    const GltfClip& open = source.model.clips[clip];
    const GltfChannel& channel = open.channels[channelIndex];
    const GltfSampler& sampler = open.samplers[channel.sampler];
    const GltfAccessor& output = source.model.accessors[sampler.output];
    const std::string place = gltfSamplerPlace(clip, channel.sampler) + ".output";
    const auto fail = [&](const std::string& what, std::string detail) {
        return Problem{what, source.where + ": " + place, std::move(detail)};
    };
    GltfTrack track{sampler.interpolation, 3, std::move(times), {}};
    const bool isWeights = channel.path == GltfPath::weights;
    if (channel.path == GltfPath::rotation) track.components = 4;
    if (isWeights) track.components = source.model.targetsOf(channel.node);
    const std::size_t type = isWeights ? 1 : track.components;
    if (output.components != type)
        return fail("the numbers do not fit what they move", "expected " + std::to_string(type) +
                                                                 " in an element, found " +
                                                                 std::to_string(output.components));
    const std::size_t each = (sampler.interpolation == GltfInterpolation::cubic ? 3 : 1) *
                             (isWeights ? track.components : 1);
    if (output.count != track.size() * each)
        return fail("the count does not match the key times",
                    "expected " + std::to_string(track.size() * each) + " elements, found " +
                        std::to_string(output.count));
    auto values = gltfFloats(source, sampler.output, place);
    if (!values) return values.problem();
    track.values = std::move(*values);
    for (std::size_t i = 0; i < track.values.size(); ++i)
        if (!std::isfinite(track.values[i]))
            return fail("a number is not finite", "number " + std::to_string(i));
    if (channel.path == GltfPath::rotation)
        for (std::size_t key = 0; key < track.size(); ++key)
            if (!(lengthOf(quaternionAt(track.value(key))) > 1e-6))
                return fail("a rotation has no length", "key " + std::to_string(key));
    return track;
}

double GltfClock::at(float time) const {
    if (!onFrames) return static_cast<double>(time);
    return grid.timeOf(std::llround(static_cast<double>(time) * grid.perSecond()));
}

GltfClock gltfClock(std::span<const GltfTimes> times, std::optional<FrameRate> wanted) {
    constexpr std::array<std::array<std::int64_t, 2>, 14> usual{{{24, 1},
                                                                 {25, 1},
                                                                 {30, 1},
                                                                 {60, 1},
                                                                 {120, 1},
                                                                 {24000, 1001},
                                                                 {30000, 1001},
                                                                 {60000, 1001},
                                                                 {48, 1},
                                                                 {50, 1},
                                                                 {90, 1},
                                                                 {100, 1},
                                                                 {144, 1},
                                                                 {240, 1}}};
    const auto fits = [&](const FrameRate& rate) {
        return std::ranges::all_of(times, [&](const GltfTimes& one) { return holds(rate, *one); });
    };
    GltfClock clock;
    const bool tells = std::ranges::any_of(times, [](const GltfTimes& one) {
        return std::ranges::any_of(*one, [](float time) { return time != std::round(time); });
    });
    if (wanted) {
        clock.rate = clock.grid = *wanted;
        clock.onFrames = fits(*wanted);
        clock.note = perSecond(*wanted) + ", as asked for";
    } else if (!tells) {
        clock.onFrames = fits(clock.rate);
        clock.grid = clock.rate;
        clock.note = perSecond(clock.rate) + ": the file does not tell";
    }
    if (clock.onFrames || (!wanted && !tells)) return clock;
    for (const auto& [frames, seconds] : usual) {
        const FrameRate rate = *FrameRate::of(frames, seconds);
        if (!fits(rate)) continue;
        clock.onFrames = true;
        clock.grid = rate;
        if (wanted) {
            clock.note += "; the keys of the file stand on the frames of " + rate.text();
        } else {
            clock.rate = rate;
            clock.note = perSecond(rate) + ": all keys of the file stand on these frames";
        }
        return clock;
    }
    if (!wanted)
        clock.note = perSecond(clock.rate) + ": the keys of the file stand on no usual frames";
    return clock;
}

void appendGltfKeys(const GltfTrack& track, GltfPath path, const GltfClock& clock, const Vec3& rest,
                    std::span<KeyStore* const> keys) {
    constexpr std::array shapes{Shape::linear, Shape::hold, Shape::tangents};
    const Shape shape = shapes[static_cast<std::size_t>(track.interpolation)];
    const bool cubic = shape == Shape::tangents;
    Vec3 angles = rest;
    for (std::size_t key = 0; key < track.size(); ++key) {
        KeyData data{clock.at((*track.times)[key]), 0, shape, {}};
        const auto append = [&](std::size_t c, double value, double in, double out) {
            data.value = value;
            data.parameters[incomingSlope] = in;
            data.parameters[outgoingSlope] = out;
            keys[c]->append(data);
        };
        if (path == GltfPath::rotation) {
            const Quaternion q = quaternionAt(track.value(key));
            angles = anglesNear(matrixOf(q), headingPitchBank, angles);
            Vec3 in{}, out{};
            if (cubic) {
                in = angleRates(q, quaternionAt(track.arriving(key)), angles);
                out = angleRates(q, quaternionAt(track.leaving(key)), angles);
            }
            for (std::size_t c = 0; c < 3; ++c)
                append(c, angles[c], in[c], out[c]);
            continue;
        }
        for (std::size_t c = 0; c < track.components; ++c)
            append(c, static_cast<double>(track.value(key)[c]),
                   cubic ? static_cast<double>(track.arriving(key)[c]) : 0,
                   cubic ? static_cast<double>(track.leaving(key)[c]) : 0);
    }
}

} // namespace cadencora::stage
