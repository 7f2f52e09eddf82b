// A glTF document for a scene that came from elsewhere: its items as nodes, without any motion.
#pragma once

#include "stage/formats/gltf/write/draft.h"

namespace cadencora::stage::gltf {

// Node i is the item at place i. Bones become joints of skins without meshes. Adds warnings about
// what glTF does not hold; fails where a rest value is not finite.
Result<Draft> freshDraft(const Scene& scene, std::vector<std::string>& warnings);

} // namespace cadencora::stage::gltf
