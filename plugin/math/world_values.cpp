#include "plugin/math/world_values.h"

namespace cadencora {

static Vec3 narrowed(const DVec3& v) {
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

// The identity where the matrix has no inverse.
static Mat4 inverseOf(const Mat4& m) {
    Mat4 inverse;
    identity4(&inverse);
    inverse4(&m, &inverse);
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

void getWorldRot(const host::ItemInfo* info, host::Item item, double time, HPB* out, Mat4* m) {
    *out = {0, 0, 0};
    if (!info) return;
    identity4(m);
    if (info->parent(item)) {
        get_transform_ONLY_ROTATIONS(info, item, time, m);
        getRotations(m, out);
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
    getRotations(&local, out);
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
