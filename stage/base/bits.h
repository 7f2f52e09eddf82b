// Numbers compared bit by bit: 0 and -0 differ, and a value that is not a number equals itself.
#pragma once

#include <bit>
#include <cstdint>

namespace cadencora::stage {

constexpr std::uint64_t bitsOf(double number) {
    return std::bit_cast<std::uint64_t>(number);
}
constexpr bool identical(double a, double b) {
    return bitsOf(a) == bitsOf(b);
}

} // namespace cadencora::stage
