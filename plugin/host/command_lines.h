// Host command lines: complete lines of text that the host's evaluator executes.
//
// Calls the host only through `evaluate`. What a line did is not reported back.
#pragma once

#include "plugin/host/types.h"

namespace cadencora {

// Every line is built in a buffer of this many bytes.
constexpr int commandLineSize = 256;

// Issues one complete line; does nothing when the host gave no evaluator.
void issueCommand(const char* line);

// "SelectItem": makes the item the host's only selected item. The earlier selection is lost.
void selectItem(host::Item item);

// The line of a name and three numbers, each with six decimals ("%f") whatever the
// locale: "Position 1.000000 2.000000 3.000000". Issues nothing where they do not fit a line.
void issueTriple(const char* name, double x, double y, double z);

} // namespace cadencora
