// A key as a value, and the meaning of its attributes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace cadencora::stage {

// How the curve comes into a key from the one before (key attribute 2).
enum class Shape : std::uint8_t {
    spline = 0,   // smooth, with tension, continuity and bias
    linear = 1,   // straight
    tangents = 2, // cubic with explicit slopes at both ends
    hold = 4      // the previous key's value stands until this key
};

constexpr bool isShape(int number) {
    return number == 0 || number == 1 || number == 2 || number == 4;
}

// Key attributes 3 to 9 by their place in a parameter array.
enum Parameter : std::size_t {
    tension = 0,       // attribute 3, spline
    continuity = 1,    // attribute 4, spline
    bias = 2,          // attribute 5, spline
    incomingSlope = 3, // attribute 6, tangents: units per second where the curve arrives
    outgoingSlope = 4, // attribute 7, tangents: units per second where the curve leaves
    parameterCount = 7 // attributes 8 and 9 are kept as they are
};

// A whole key as a value.
struct KeyData {
    double time = 0; // seconds
    double value = 0;
    Shape shape = Shape::spline;
    std::array<double, parameterCount> parameters{};
};

} // namespace cadencora::stage
