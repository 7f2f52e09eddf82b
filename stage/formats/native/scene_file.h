// Scene files (.stage): everything of a scene, as JSON.
//
//   {
//     "cadencora": "scene", "version": 1,           these two are required
//     "name": "Walk",
//     "rate": "24000/1001",                         frames per second; "30"
//     "lastFrame": 48, "preview": [0, 48],          frames; the last key's, 0 to lastFrame
//     "currentTime": 0.5,                           seconds; 0
//     "selection": [1],                             items by index; none
//     "items": [
//       {"type": "object", "name": "Hero"},         object, light, camera or bone; required
//       {"type": "bone", "name": "Hips",
//        "parent": 0,                               index of an item before this one; none
//        "owner": 0,                                of bones, required: the object
//        "pivot": [0, 0, 0],
//        "secondRotation": [0, 0, 0],               heading, pitch, bank in radians
//        "joint": {"channels": ["Rotation.H"],      how a motion-capture file holds the bone
//                  "endSites": [[0, 1, 0]]},
//        "channels": [
//          {"name": "Position.Y",
//           "rest": 90,                             the value without keys; 0, of scales 1
//           "before": "constant", "after": "linear",
//           "keys": [[0, 1.5, 1], [0.1, 2]]},       seconds, value, shape, shape parameters
//          {"name": "Dissolve",
//           "frames": [[0, 1.5], [10, 0, 2, 0, 0, 0, 3.5]]}],   the same with frames for seconds
//        "groups": [{"name": "Face", "channels": [], "groups": []}]}
//     ]
//   }
//
// What is left out has the value given above, or is empty. The nine motion channels exist whether
// listed or not; any other name adds a channel. A frame's time is the rate's own time of it, the
// same bits as everywhere in the stage. Shapes: 0 spline, 1 linear, 2 tangents, 4 hold; the
// parameters are key attributes 3 to 9. A name that is not UTF-8 is an array of its bytes.
//
// Numbers read back as the same bits. What a format remembers of another file is not kept.
#pragma once

#include "stage/formats/format.h"

namespace cadencora::stage {

constexpr int sceneFileVersion = 1;

bool isSceneText(std::string_view head);

// Problems name the place in the file: "walk.stage: items[3].channels[0].keys[7]".
Result<Loaded> readSceneFile(std::string_view text, const std::filesystem::path& path,
                             const ReadOptions& options);

// What a scene file of the scene holds. Refuses a scene with a number that is not finite.
Result<std::string> sceneText(const Scene& scene);

// Refuses the same.
Result<Written> writeSceneFile(const Scene& scene, const std::filesystem::path& path,
                               const WriteOptions& options = {});

} // namespace cadencora::stage
