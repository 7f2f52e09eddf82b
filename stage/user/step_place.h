// Where a step is taken: the selection, the time and the preview range.
#pragma once

#include "stage/user/scripted_user.h"

namespace cadencora::stage {

// Puts the scene where the step asks for it before its press; what it does not name stays. A
// Problem names the name or pattern that no item has, and leaves the scene as it was. A host has to
// refresh its records afterwards.
Result<> goToStep(Scene& scene, const Step& step);

} // namespace cadencora::stage
