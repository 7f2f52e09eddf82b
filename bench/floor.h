// The floor of the interface: the plug-in's own key operations over the least host that still
// checks every handle. Keys lie in linked slots of one array for each envelope; there is no
// journal, no report, no undo, and a curve has straight spans alone. What a command costs beyond
// this is what the stage does for it.
#pragma once

namespace cadencora::floor {

// Adds a benchmark "floor/NAME" for each operation that a command of the same name is measured by.
void registerBenchmarks();

} // namespace cadencora::floor
