#include "stage/formats/gltf/animation/samplers.h"

#include "stage/base/text.h"
#include "stage/formats/gltf/document/quaternion.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage::gltf {

std::string samplerPlace(std::size_t clip, std::size_t sampler) {
    return "animations[" + std::to_string(clip) + "].samplers[" + std::to_string(sampler) + "]";
}

Result<Times> readTimes(const Source& source, std::size_t index, const std::string& place) {
    const auto fail = [&](const std::string& what, std::string detail = {}) {
        return Problem{what, source.where + ": " + place, std::move(detail)};
    };
    const Accessor& accessor = source.model.accessors[index];
    if (accessor.components != 1 || accessor.componentType != floatType)
        return fail("expected key times as single numbers",
                    "accessors[" + std::to_string(index) + "] is of another type");
    if (accessor.values.view == none) return fail("the key times have no bytes");
    if (accessor.count == 0) return fail("there are no key times");
    auto times = readFloats(source, index, place);
    if (!times) return times.problem();
    for (std::size_t i = 0; i < times->size(); ++i) {
        const float time = times.value()[i];
        if (!std::isfinite(time))
            return fail("a key time is not finite", "key " + std::to_string(i));
        if (i > 0 && time <= times.value()[i - 1])
            return fail("the key times do not increase", "key " + std::to_string(i) + " at " +
                                                             shortest(static_cast<double>(time)) +
                                                             " is not after the one before");
    }
    return Times(std::make_shared<const std::vector<float>>(std::move(*times)));
}

Result<Track> readTrack(const Source& source, std::size_t clip, std::size_t channelIndex,
                        Times times) {
    const Clip& open = source.model.clips[clip];
    const Channel& channel = open.channels[channelIndex];
    const Sampler& sampler = open.samplers[channel.sampler];
    const Accessor& output = source.model.accessors[sampler.output];
    const std::string place = samplerPlace(clip, channel.sampler) + ".output";
    const auto fail = [&](const std::string& what, std::string detail) {
        return Problem{what, source.where + ": " + place, std::move(detail)};
    };
    Track track{sampler.interpolation, 3, std::move(times), {}};
    const bool isWeights = channel.path == Path::weights;
    if (channel.path == Path::rotation) track.components = 4;
    if (isWeights) track.components = source.model.targetsOf(channel.node);
    const std::size_t type = isWeights ? 1 : track.components;
    if (output.components != type)
        return fail("the numbers do not fit the animated property",
                    "expected " + std::to_string(type) + " in an element, found " +
                        std::to_string(output.components));
    const std::size_t each = (sampler.interpolation == Interpolation::cubic ? 3 : 1) *
                             (isWeights ? track.components : 1);
    if (output.count != track.size() * each)
        return fail("the count does not match the key times",
                    "expected " + std::to_string(track.size() * each) + " elements, found " +
                        std::to_string(output.count));
    auto values = readFloats(source, sampler.output, place);
    if (!values) return values.problem();
    track.values = std::move(*values);
    for (std::size_t i = 0; i < track.values.size(); ++i)
        if (!std::isfinite(track.values[i]))
            return fail("a number is not finite", "number " + std::to_string(i));
    if (channel.path == Path::rotation)
        for (std::size_t key = 0; key < track.size(); ++key)
            if (!(lengthOf(quaternionAt(track.value(key))) > 1e-6))
                return fail("a rotation has length 0", "key " + std::to_string(key));
    return track;
}

void appendKeys(const Track& track, Path path, const Clock& clock, const Vec3& rest,
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
        if (path == Path::rotation) {
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

} // namespace cadencora::stage::gltf
