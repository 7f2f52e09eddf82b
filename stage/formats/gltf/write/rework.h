// Edits of a whole glTF document, before anything is read from it: names of nodes, and all lengths.
#pragma once

#include "stage/formats/gltf/document/memory.h"

namespace cadencora::stage::gltf {

// The bytes of the edited file, for the same place. Lengths are those of nodes, of translations in
// all clips, of meshes with their morph targets, and of inverse bind matrices. A buffer beside the
// document that changes goes into it. What cannot be scaled is a Problem, and so are more numbers
// than a clip may have keys.
Result<std::string> reworked(const SourceDocument& document, const FileEdits& edits,
                             const ReadLimits& limits);

} // namespace cadencora::stage::gltf
