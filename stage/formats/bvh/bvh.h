// BVH motion capture: a skeleton of joints with fixed offsets, and a table of channel values, one
// row per frame.
//
// A file becomes one object named after the file, which owns every joint as a bone. A joint's
// OFFSET is the rest value of its position channels. The file's rotations are degrees about X, Y
// and Z in any order; they become heading, pitch and bank. Where the file's order agrees with that
// order values are taken over one by one; else each frame's rotation is decomposed again, unrolled
// from the frame before, and the file's own angles are remembered for writing.
#pragma once

#include "stage/formats/format.h"

namespace cadencora::stage::bvh {

bool isText(std::string_view head);

// Messages name `path`; the object gets its stem as name.
Result<Loaded> read(std::string_view text, const std::filesystem::path& path,
                    const ReadOptions& options);

// Refuses a scene without bones. Curves are sampled on each frame of the scene's rate.
Result<Written> write(const Scene& scene, const std::filesystem::path& path,
                      const WriteOptions& options = {});

} // namespace cadencora::stage::bvh
