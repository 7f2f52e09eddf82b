// A library that is not a plug-in.

#include "tests/modules/descriptor.h"

EXPORTED int something;
int something = 1;
