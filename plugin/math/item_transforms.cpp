#include "plugin/math/item_transforms.h"

#include <algorithm>
#include <cmath>

namespace cadencora {

static float narrow(double number) {
    return static_cast<float>(number);
}

DVec3 readVector(const host::ItemInfo* info, host::Item item, int code, double time) {
    double values[3] = {0, 0, 0};
    info->param(item, code, time, values);
    return {values[0], values[1], values[2]};
}

HPB readAngles(const host::ItemInfo* info, host::Item item, int code, double time) {
    const DVec3 values = readVector(info, item, code, time);
    return {values.x, values.y, values.z};
}

// Translations and scales are multiplied out by hand: most of their factors would be 0 and 1.

static void translate(Mat4* matrix, float x, float y, float z) {
    for (float* row = matrix->m; row != matrix->m + 16; row += 4) {
        row[0] += row[3] * x;
        row[1] += row[3] * y;
        row[2] += row[3] * z;
    }
}

static void translateTo(Mat4* m, const DVec3& position) {
    translate(m, narrow(position.x), narrow(position.y), narrow(position.z));
}

// Pivots and second rotations are mostly zero: the identity that they make changes nothing.
static void shiftPivot(Mat4* m, const DVec3& pivot) {
    if (pivot.x == 0 && pivot.y == 0 && pivot.z == 0) return;
    translate(m, -narrow(pivot.x), -narrow(pivot.y), -narrow(pivot.z));
}

static void scaleBy(Mat4* matrix, const DVec3& scale) {
    const float x = narrow(scale.x), y = narrow(scale.y), z = narrow(scale.z);
    for (float* row = matrix->m; row != matrix->m + 16; row += 4) {
        row[0] *= x;
        row[1] *= y;
        row[2] *= z;
    }
}

static void rotateBy(Mat4* m, const HPB& angles) {
    if (angles.heading == 0 && angles.pitch == 0 && angles.bank == 0) return;
    Mat4 factor;
    identity4(&factor);
    get_rotate(&angles, &factor);
    matmul4(m, &factor, m);
}

void get_rotate(const HPB* a, Mat4* m) {
    const float sh = narrow(std::sin(a->heading)), ch = narrow(std::cos(a->heading));
    const float sp = narrow(std::sin(a->pitch)), cp = narrow(std::cos(a->pitch));
    const float sb = narrow(std::sin(a->bank)), cb = narrow(std::cos(a->bank));
    // Bank times pitch times heading, which are (cb, sb, 0; -sb, cb, 0; 0, 0, 1),
    // (1, 0, 0; 0, cp, sp; 0, -sp, cp) and (ch, 0, -sh; 0, 1, 0; sh, 0, ch).
    const float rows[3][3] = {{cb * ch + sb * sp * sh, sb * cp, sb * sp * ch - cb * sh},
                              {cb * sp * sh - sb * ch, cb * cp, cb * sp * ch + sb * sh},
                              {cp * sh, -sp, cp * ch}};
    for (int row = 0; row < 3; ++row)
        std::copy(rows[row], rows[row] + 3, m->m + 4 * row);
}

void get_transform(const host::ItemInfo* info, host::Item item, double time, Mat4* m) {
    const DVec3 position = readVector(info, item, host::itemPosition, time);
    const HPB rotation = readAngles(info, item, host::itemRotation, time);
    const DVec3 scale = readVector(info, item, host::itemScale, time);
    get_transform_NO_INITIAL_VALUES(info, item, time, m, &position, &rotation, &scale);
}

void get_transform_NO_INITIAL_VALUES(const host::ItemInfo* info, host::Item item, double time,
                                     Mat4* m, const DVec3* pos, const HPB* rot,
                                     const DVec3* scale) {
    shiftPivot(m, readVector(info, item, host::itemPivot, time));
    scaleBy(m, *scale);
    rotateBy(m, *rot);
    rotateBy(m, readAngles(info, item, host::itemSecondRotation, time));
    translateTo(m, *pos);
    if (const host::Item parent = info->parent(item)) get_transform(info, parent, time, m);
}

void get_transform_ONLY_SCALE(const host::ItemInfo* info, host::Item item, double time, Mat4* m) {
    scaleBy(m, readVector(info, item, host::itemScale, time));
    if (const host::Item parent = info->parent(item))
        get_transform_ONLY_SCALE(info, parent, time, m);
}

void get_transform_ONLY_ROTATION(const host::ItemInfo* info, host::Item item, double time, Mat4* m,
                                 const HPB* rot) {
    shiftPivot(m, readVector(info, item, host::itemPivot, time));
    rotateBy(m, *rot);
    rotateBy(m, readAngles(info, item, host::itemSecondRotation, time));
    if (const host::Item parent = info->parent(item))
        get_transform_ONLY_ROTATIONS(info, parent, time, m);
}

void get_transform_ONLY_ROTATIONS(const host::ItemInfo* info, host::Item item, double time,
                                  Mat4* m) {
    const HPB rotation = readAngles(info, item, host::itemRotation, time);
    get_transform_ONLY_ROTATION(info, item, time, m, &rotation);
}

// From a rotation's last row, (cos p sin h, -sin p, cos p cos h).
static float pitchOf(const float* row) {
    const float sine = -row[1];
    // Near the vertical the arcsine would lose half the digits: what is left of the row tells the
    // cosine, as long as the row is one of a rotation.
    const float cosine = std::hypot(row[0], row[2]);
    if (std::fabs(sine * sine + cosine * cosine - 1) < 1e-4f) return std::atan2(sine, cosine);
    if (sine < -1) return std::asin(-1.0f);
    if (sine > 1) return std::asin(1.0f);
    return std::asin(sine);
}

void getYXZrotations(float out[3], const Mat3* matrix) {
    const float* r = matrix->m;
    const float pitch = pitchOf(r + 6);
    const double cosine = std::cos(static_cast<double>(pitch));
    if (cosine >= 0.001 || cosine <= -0.001) {
        out[0] = narrow(std::atan2(r[6] / cosine, r[8] / cosine));
        out[1] = pitch;
        // The bank is what remains once the heading is taken off. Read from r[1] and r[4] it would
        // not make up for the heading's rounding, which grows towards the vertical.
        const double sh = std::sin(static_cast<double>(out[0]));
        const double ch = std::cos(static_cast<double>(out[0]));
        out[2] = narrow(std::atan2(r[5] * sh - r[3] * ch, r[0] * ch - r[2] * sh));
        return;
    }
    // Looking straight up or down, heading and bank turn about the same line.
    out[0] = 0;
    out[1] = pitch;
    out[2] = std::atan2(r[2], r[5]);
    const double fromUp = static_cast<double>(pitch) + 1.5708;
    if (fromUp > -0.001 && fromUp < 0.001) {
        out[0] = -out[0];
        out[1] = -out[1];
        out[2] = -out[2];
    }
}

} // namespace cadencora
