#include "stage/formats/gltf_track.h"

#include "stage/base/text.h"
#include "stage/formats/gltf_quaternion.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace cadencora::stage {

namespace {

enum ComponentType : std::uint32_t {
    signedByte = 5120,
    unsignedByte = 5121,
    signedShort = 5122,
    unsignedShort = 5123,
    unsignedInt = 5125,
    single = 5126
};

// 0 where there is no such type.
std::size_t bytesOfType(std::uint32_t type) {
    switch (type) {
    case signedByte:
    case unsignedByte:
        return 1;
    case signedShort:
    case unsignedShort:
        return 2;
    case unsignedInt:
    case single:
        return 4;
    default:
        return 0;
    }
}

template <class Number>
Number numberAt(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

template <class Integer>
float whole(const char* bytes, bool normalized) {
    const auto number = static_cast<float>(numberAt<Integer>(bytes));
    constexpr auto most = static_cast<float>(std::numeric_limits<Integer>::max());
    return normalized ? std::max(number / most, -1.0f) : number;
}

float componentAt(const char* bytes, std::uint32_t type, bool normalized) {
    switch (type) {
    case signedByte:
        return whole<std::int8_t>(bytes, normalized);
    case unsignedByte:
        return whole<std::uint8_t>(bytes, normalized);
    case signedShort:
        return whole<std::int16_t>(bytes, normalized);
    case unsignedShort:
        return whole<std::uint16_t>(bytes, normalized);
    case unsignedInt:
        return whole<std::uint32_t>(bytes, normalized);
    default:
        return numberAt<float>(bytes);
    }
}

// Elements of `size` bytes within a buffer view.
struct Elements {
    const char* first = nullptr;
    std::size_t stride = 0;
    const char* operator[](std::size_t i) const { return first + i * stride; }
};

Result<Elements> elementsOf(const GltfSource& source, const GltfAccessor::Part& part,
                            std::size_t count, std::size_t size, bool mayStride,
                            const std::string& place) {
    const auto fail = [&](const std::string& what, std::string detail) {
        return Problem{what, source.where + ": " + place, std::move(detail)};
    };
    const GltfView& view = source.model.views[part.view];
    const std::string name = "bufferViews[" + std::to_string(part.view) + "]";
    if (view.isCompressed)
        return fail("the animation is compressed by an extension that is not known", name);
    const std::size_t there = source.buffers[view.buffer].size();
    if (view.offset > there || view.length > there - view.offset)
        return fail("the numbers reach beyond their buffer",
                    name + " ends at byte " + std::to_string(view.offset + view.length) +
                        ", buffers[" + std::to_string(view.buffer) + "] at " +
                        std::to_string(there));
    const std::size_t stride = mayStride && view.stride > 0 ? view.stride : size;
    if (stride < size) return fail("the elements overlap", name + ".byteStride is too small");
    const std::size_t needed = count == 0 ? 0 : (count - 1) * stride + size;
    if (part.offset > view.length || needed > view.length - part.offset)
        return fail("the numbers reach beyond their buffer view",
                    std::to_string(count) + " elements need " +
                        std::to_string(part.offset + needed) + " bytes, " + name + " has " +
                        std::to_string(view.length));
    return Elements{source.buffers[view.buffer].data() + view.offset + part.offset, stride};
}

// Puts the elements that a sparse accessor lists into their places.
Result<> applySparse(const GltfSource& source, const GltfAccessor& accessor, std::size_t size,
                     std::vector<float>& values, const std::string& place) {
    const auto fail = [&](const std::string& what, std::string detail) {
        return Problem{what, source.where + ": " + place, std::move(detail)};
    };
    const std::uint32_t type = accessor.sparseIndexType;
    if (type != unsignedByte && type != unsignedShort && type != unsignedInt)
        return fail("a sparse accessor's indices are bytes, shorts or integers without sign", "");
    if (accessor.sparseCount > accessor.count)
        return fail("a sparse accessor lists more elements than it has", "");
    const std::size_t indexSize = bytesOfType(type);
    const auto indices =
        elementsOf(source, accessor.sparseIndices, accessor.sparseCount, indexSize, false, place);
    if (!indices) return indices.problem();
    const auto listed =
        elementsOf(source, accessor.sparseValues, accessor.sparseCount, size, false, place);
    if (!listed) return listed.problem();
    const std::size_t step = size / accessor.components;
    for (std::size_t i = 0; i < accessor.sparseCount; ++i) {
        std::size_t index = 0;
        for (std::size_t n = indexSize; n-- > 0;)
            index = index << 8 | static_cast<unsigned char>(indices.value()[i][n]);
        if (index >= accessor.count)
            return fail("a sparse accessor lists an element that it does not have",
                        "index " + std::to_string(index) + " of " + std::to_string(accessor.count));
        for (std::size_t c = 0; c < accessor.components; ++c)
            values[index * accessor.components + c] = componentAt(
                listed.value()[i] + c * step, accessor.componentType, accessor.normalized);
    }
    return done();
}

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

Result<std::vector<float>> gltfFloats(const GltfSource& source, std::size_t index,
                                      const std::string& place) {
    const GltfAccessor& accessor = source.model.accessors[index];
    const std::string here = place + " (accessors[" + std::to_string(index) + "])";
    const std::size_t step = bytesOfType(accessor.componentType);
    if (step == 0)
        return Problem{"the numbers are of an unknown type", source.where + ": " + here,
                       "componentType " + std::to_string(accessor.componentType)};
    const std::size_t size = step * accessor.components;
    Elements elements;
    if (accessor.values.view != gltfNone) {
        const auto found = elementsOf(source, accessor.values, accessor.count, size, true, here);
        if (!found) return found.problem();
        elements = found.value();
    }
    std::vector<float> values(accessor.count * accessor.components);
    if (elements.first && accessor.componentType == single && elements.stride == size) {
        if (!values.empty()) std::memcpy(values.data(), elements.first, accessor.count * size);
    } else if (elements.first) {
        for (std::size_t i = 0; i < accessor.count; ++i)
            for (std::size_t c = 0; c < accessor.components; ++c)
                values[i * accessor.components + c] = componentAt(
                    elements[i] + c * step, accessor.componentType, accessor.normalized);
    }
    if (accessor.sparseCount > 0)
        if (auto applied = applySparse(source, accessor, size, values, here); !applied)
            return applied.problem();
    return values;
}

Result<GltfTimes> gltfTimes(const GltfSource& source, std::size_t index, const std::string& place) {
    const auto fail = [&](const std::string& what, std::string detail = {}) {
        return Problem{what, source.where + ": " + place, std::move(detail)};
    };
    const GltfAccessor& accessor = source.model.accessors[index];
    if (accessor.components != 1 || accessor.componentType != single)
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
