// A copy of what in a glTF document concerns motion: every member that is copied has been checked
// for its kind, its range and the table that it counts in; nothing else is copied.
#pragma once

#include "stage/formats/gltf/document/container.h"

namespace cadencora::stage {

// Problems name the place: "robot.glb: animations[3].samplers[1].input".
Result<GltfJson> gltfOutline(const GltfJson& document, const std::string& where);

} // namespace cadencora::stage
