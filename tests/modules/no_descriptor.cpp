#include "tests/modules/descriptor.h"

EXPORTED int something;
int something = 1;
