#include "plugin/math/world_values.h"

#include <algorithm>
#include <cmath>

namespace cadencora {

static Vec3 narrowed(const DVec3& v) {
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

// The lengths of the first three rows: the scale of a chain, axis by axis.
static Vec3 rowLengths(const Mat4& m) {
    return {std::hypot(m.m[0], m.m[1], m.m[2]), std::hypot(m.m[4], m.m[5], m.m[6]),
            std::hypot(m.m[8], m.m[9], m.m[10])};
}

// The identity where the matrix has no inverse. Armatures are often scaled by 0.01, whose
// determinant is as small as that of a flattened chain: the scale is divided out first and put back
// afterwards.
static Mat4 inverseOf(const Mat4& m) {
    Mat4 inverse;
    identity4(&inverse);
    const Vec3 scale = rowLengths(m);
    const float lengths[3] = {scale.x, scale.y, scale.z};
    Mat4 unscaled = m;
    for (int row = 0; row < 3; ++row) {
        if (!(lengths[row] > 0)) return inverse;
        for (int column = 0; column < 4; ++column)
            unscaled.m[4 * row + column] /= lengths[row];
    }
    if (std::fabs(det4(&unscaled)) < 1e-6f) return inverse; // then inverse4 does nothing either
    inverse4(&unscaled, &inverse);
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 3; ++column)
            inverse.m[4 * row + column] /= lengths[column];
    return inverse;
}

void getWorldPos(const host::ItemInfo* info, host::Item item, double time, DVec3* out) {
    *out = {0, 0, 0};
    if (info) *out = readVector(info, item, host::itemWorldPosition, time);
}

void getLocalPos(const host::ItemInfo* info, host::Item item, double time, const DVec3* world,
                 DVec3* out) {
    const DVec3 place = *world; // `out` may be `world`
    *out = {0, 0, 0};
    if (!info) return;
    if (!info->parent(item)) {
        *out = place;
        return;
    }
    const DVec3 origin = {0, 0, 0};
    const HPB unturned = {0, 0, 0};
    const DVec3 unscaled = {1, 1, 1};
    Mat4 toWorld;
    identity4(&toWorld);
    get_transform_NO_INITIAL_VALUES(info, item, time, &toWorld, &origin, &unturned, &unscaled);
    const Mat4 fromWorld = inverseOf(toWorld);
    const Vec3 point = narrowed(place);
    Vec3 local;
    transformp(&point, &fromWorld, &local);
    *out = {local.x, local.y, local.z};
}

void getRotations(const Mat4* m, HPB* out) {
    const float* a = m->m;
    Mat3 turn;
    initm3(&turn, a[0], a[1], a[2], a[4], a[5], a[6], a[8], a[9], a[10]);
    float angles[3];
    getYXZrotations(angles, &turn);
    *out = {angles[0], angles[1], angles[2]};
}

// How far the rotation of these angles is from the matrix, by its worst element.
static float missOf(const HPB& angles, const Mat4& m) {
    Mat4 rotation;
    get_rotate(&angles, &rotation);
    float miss = 0;
    for (const int i : {0, 1, 2, 4, 5, 6, 8, 9, 10})
        miss = std::max(miss, std::fabs(rotation.m[i] - m.m[i]));
    return miss;
}

// The angles of a rotation, also of one that points straight up or down: there getRotations may
// answer for the opposite direction, and another heading and bank are needed.
static HPB anglesOf(const Mat4& m) {
    HPB best;
    getRotations(&m, &best);
    constexpr float exact = 1e-5f;
    if (missOf(best, m) < exact) return best;
    const float* r = m.m;
    const double pitch = std::atan2(-r[9], std::hypot(r[8], r[10]));
    const double heading = std::atan2(r[8], r[10]);
    const double sh = std::sin(heading), ch = std::cos(heading);
    const HPB others[] = {
        {0, pitch, std::atan2(-r[4], r[0])},
        {heading, pitch, std::atan2(r[6] * sh - r[4] * ch, r[0] * ch - r[2] * sh)}};
    for (const HPB& other : others) {
        if (missOf(other, m) < missOf(best, m)) best = other;
        if (missOf(best, m) < exact) break;
    }
    return best;
}

void getWorldRot(const host::ItemInfo* info, host::Item item, double time, HPB* out, Mat4* m) {
    *out = {0, 0, 0};
    if (!info) return;
    identity4(m);
    if (info->parent(item)) {
        get_transform_ONLY_ROTATIONS(info, item, time, m);
        *out = anglesOf(*m);
        return;
    }
    *out = readAngles(info, item, host::itemRotation, time);
    get_rotate(out, m);
}

void getLocalRot(const host::ItemInfo* info, host::Item item, double time, const HPB* worldRot,
                 HPB* out, const Mat4* worldMatrix) {
    const HPB world = *worldRot; // `out` may be `worldRot`
    *out = {0, 0, 0};
    if (!info) return;
    const host::Item parent = info->parent(item);
    if (!parent) {
        *out = world;
        return;
    }
    Mat4 chain, local;
    identity4(&chain);
    get_transform_ONLY_ROTATIONS(info, parent, time, &chain);
    const Mat4 fromWorld = inverseOf(chain);
    matmul4(worldMatrix, &fromWorld, &local);
    *out = anglesOf(local);
}

void getWorldScale(const host::ItemInfo* info, host::Item item, double time, DVec3* out) {
    *out = {1, 1, 1};
    if (!info) return;
    if (!info->parent(item)) {
        *out = readVector(info, item, host::itemScale, time);
        return;
    }
    Mat4 scales;
    identity4(&scales);
    get_transform_ONLY_SCALE(info, item, time, &scales);
    *out = {scales.m[0], scales.m[5], scales.m[10]};
}

void getLocalScale(const host::ItemInfo* info, host::Item item, double time,
                   const DVec3* worldScale, DVec3* out) {
    const DVec3 world = *worldScale; // `out` may be `worldScale`
    *out = {1, 1, 1};
    if (!info) return;
    const host::Item parent = info->parent(item);
    if (!parent) {
        *out = world;
        return;
    }
    Mat4 chain, local;
    identity4(&chain);
    get_transform_ONLY_SCALE(info, parent, time, &chain);
    const Mat4 fromWorld = inverseOf(chain);
    const Vec3 factors = narrowed(world);
    identity4(&local);
    local.m[0] = factors.x;
    local.m[5] = factors.y;
    local.m[10] = factors.z;
    matmul4(&local, &fromWorld, &local);
    *out = {local.m[0], local.m[5], local.m[10]};
}

} // namespace cadencora
