// World values of items, and the values that an item needs in its parent's terms to have them.
//
// Calls the host's item service. Use a world routine on the source and the local routine of the
// same kind on the target, at the same time in seconds. Nothing is reported: a null service gives
// position and rotation 0 and scale 1; where a parent chain cannot be inverted, the world value
// passes as if the chain were neutral. What goes through a matrix is good to single
// precision. `out` is the caller's.
#pragma once

#include "plugin/math/item_transforms.h"

namespace cadencora {

void getWorldPos(const host::ItemInfo* info, host::Item item, double time, DVec3* out);

// Takes the item's pivot and second rotation into account as if they came after its position: a
// target that has either is not at `world` itself.
void getLocalPos(const host::ItemInfo* info, host::Item item, double time, const DVec3* world,
                 DVec3* out);

// Of the upper left three rows and columns.
void getRotations(const Mat4* m, HPB* out);

// `m` receives the rotation of which `out` holds the angles. An item without a parent answers its
// rotation only, without the second one.
void getWorldRot(const host::ItemInfo* info, host::Item item, double time, HPB* out, Mat4* m);

// From the matrix of getWorldRot; `worldRot` counts for an item without a parent only. The answer
// still holds the item's own second rotation.
void getLocalRot(const host::ItemInfo* info, host::Item item, double time, const HPB* worldRot,
                 HPB* out, const Mat4* worldMatrix);

// Axis by axis up the chain, as if no rotation stood between.
void getWorldScale(const host::ItemInfo* info, host::Item item, double time, DVec3* out);
void getLocalScale(const host::ItemInfo* info, host::Item item, double time,
                   const DVec3* worldScale, DVec3* out);

} // namespace cadencora
