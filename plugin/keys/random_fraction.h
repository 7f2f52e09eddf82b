// Random fractions from the standard generator, which the commands seed.
#pragma once

#include <cstdlib>

namespace cadencora {

static_assert(RAND_MAX == 2147483647, "the fractions below need 31 random bits");

// 0 to 1, both reachable.
inline double randomFraction() {
    return std::rand() / 2147483647.0;
}

// -1 to 1.
inline double randomSignFraction() {
    return (std::rand() - 1073741823.5) / 1073741823.5;
}

} // namespace cadencora
