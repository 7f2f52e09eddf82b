// Which parts of a scene go into a BVH file, decided before anything is written.
#pragma once

#include "stage/formats/bvh/layout.h"

namespace cadencora::stage::bvh {

// A joint of the file.
struct Joint {
    ItemId item;
    std::size_t depth = 0;               // 0: a ROOT
    std::vector<MotionChannel> channels; // its columns
    bool plainLeaf = false;              // gets an End Site at its own place
};

struct Plan {
    const Memory* memory = nullptr; // null where the scene came from elsewhere
    std::vector<Joint> joints;      // parents before children, each with its whole branch
    std::int64_t frames = 0;        // rows
    std::size_t columns = 0;
    std::vector<std::string> warnings;
};

// Fails where there is no bone, or where there would be too many rows.
Result<Plan> makePlan(const Scene& scene, const std::filesystem::path& path);

// What BVH cannot hold of the scene, in words.
std::vector<std::string> findLosses(const Scene& scene);

// The curve has the one value at all times, as near as `within`.
bool isConstantAt(const Envelope& envelope, double value, double within = 0);

} // namespace cadencora::stage::bvh
