// From an item's own space to the world, or parts of that way, as matrices.
//
// Calls the host's item service for the values and parents of items. Each item's way to its parent
// is pivot shift, scale, rotation, second rotation, position, in this order; then its parent's
// follows, up to the top of the hierarchy. Every get_transform routine multiplies the caller's
// matrix, normally the identity, from the right. Times are seconds, angles radians.
#pragma once

#include "plugin/host/item_info.h"
#include "plugin/math/matrices.h"

namespace cadencora {

struct HPB {
    double heading, pitch, bank; // about Y, X and Z; a vector is banked first, headed last
};

// A three-component parameter of an item by its ItemParam code, and one that holds angles.
DVec3 readVector(const host::ItemInfo* info, host::Item item, int code, double time);
HPB readAngles(const host::ItemInfo* info, host::Item item, int code, double time);

// Writes the rotation into the upper left three rows and columns; the rest stays.
void get_rotate(const HPB* a, Mat4* m);

// The whole way from the item's space to the world.
void get_transform(const host::ItemInfo* info, host::Item item, double time, Mat4* m);

// The same with the caller's values in place of the item's own; ancestors keep theirs.
void get_transform_NO_INITIAL_VALUES(const host::ItemInfo* info, host::Item item, double time,
                                     Mat4* m, const DVec3* pos, const HPB* rot, const DVec3* scale);

// Only the scales: a diagonal, the product axis by axis up the chain.
void get_transform_ONLY_SCALE(const host::ItemInfo* info, host::Item item, double time, Mat4* m);

// Only the rotations, `rot` in place of the item's own. Row 3 holds pivots and is not used.
void get_transform_ONLY_ROTATION(const host::ItemInfo* info, host::Item item, double time, Mat4* m,
                                 const HPB* rot);
void get_transform_ONLY_ROTATIONS(const host::ItemInfo* info, host::Item item, double time,
                                  Mat4* m);

// Heading, pitch and bank of a rotation, in that order; heading and bank in [-pi, pi]. Within
// 0.001 of a vertical pitch the heading is 0 and the bank is the sum of both turns.
void getYXZrotations(float out[3], const Mat3* r);

} // namespace cadencora
