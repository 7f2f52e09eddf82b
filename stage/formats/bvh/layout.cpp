#include "stage/formats/bvh/layout.h"

#include <algorithm>

namespace cadencora::stage::bvh {

namespace {

// By MotionChannel, from heading on.
constexpr std::array<Axis, 3> axes{Axis::y, Axis::x, Axis::z};

} // namespace

bool isOpeningWord(std::string_view line, std::size_t at) {
    const auto isBlank = [&](std::size_t i) { return line[i] == ' ' || line[i] == '\t'; };
    return line[at] == '{' && (at == 0 || isBlank(at - 1)) &&
           (at + 1 == line.size() || isBlank(at + 1));
}

Vec3 reordered(const Vec3& angles, const RotationOrder& from, const RotationOrder& to) {
    Vec3 byAxis{}, found{};
    for (std::size_t n = 0; n < 3; ++n)
        byAxis[static_cast<std::size_t>(from[n])] = angles[n];
    for (std::size_t n = 0; n < 3; ++n)
        found[n] = byAxis[static_cast<std::size_t>(to[n])];
    return found;
}

RotationColumns rotationColumns(std::span<const MotionChannel> channels) {
    RotationColumns columns;
    std::array<MotionChannel, 3> turned{};
    std::size_t count = 0;
    for (std::size_t i = 0; i < channels.size() && count < 3; ++i) {
        if (!isRotation(channels[i])) continue;
        columns.column[count] = i;
        turned[count++] = channels[i];
    }
    columns.direct = std::is_sorted(turned.begin(), turned.begin() + count);
    for (const MotionChannel other : {heading, pitch, bank}) {
        if (std::find(turned.begin(), turned.begin() + count, other) != turned.begin() + count)
            continue;
        columns.column[count] = RotationColumns::none;
        turned[count++] = other;
    }
    for (std::size_t n = 0; n < 3; ++n)
        columns.order[n] = axes[turned[n] - heading];
    return columns;
}

} // namespace cadencora::stage::bvh
