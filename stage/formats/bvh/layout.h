// How BVH files hold joints: their channels, the order of their rotations, and what is remembered
// of a file that was read. The reader and the writer share it.
#pragma once

#include "stage/formats/format.h"

#include <numbers>

namespace cadencora::stage::bvh {

constexpr double radiansPerDegree = std::numbers::pi / 180;

// What a scene that was read from a BVH file remembers of it.
struct Memory final : SourceMemory {
    FrameRate rate;
    std::string frameTime; // as the file says it
    std::size_t frames = 0;

    // By the item's position in the scene: the rotations of each frame in degrees, in the joint's
    // complete order; empty for joints whose values are taken over one by one.
    std::vector<std::vector<Vec3>> angles;

    bool knows(ItemId item) const { return static_cast<std::size_t>(item) <= angles.size(); }
    const std::vector<Vec3>& anglesOf(ItemId item) const { return angles[Scene::positionOf(item)]; }
};

// True where the character at `at` is a brace that is a word of its own: names end before it.
bool isOpeningWord(std::string_view line, std::size_t at);

// The BVH names of the six channels that BVH has, by MotionChannel.
constexpr std::array<std::string_view, 6> channelNames{"Xposition", "Yposition", "Zposition",
                                                       "Yrotation", "Xrotation", "Zrotation"};

constexpr bool isPosition(MotionChannel channel) {
    return channel <= positionZ;
}
constexpr bool isRotation(MotionChannel channel) {
    return channel >= heading && channel <= bank;
}

// How the rotation columns of a joint turn it.
struct RotationColumns {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    bool direct = true;                // the columns are heading, pitch and bank as they are
    RotationOrder order{};             // the columns' axes, then the axes without a column
    std::array<std::size_t, 3> column; // by place in `order`: index in the channels, or none
};

// Angles about the axes of one order, in the places that another order gives these axes.
Vec3 reordered(const Vec3& angles, const RotationOrder& from, const RotationOrder& to);

// The channels must differ from each other.
RotationColumns rotationColumns(std::span<const MotionChannel> channels);

} // namespace cadencora::stage::bvh
