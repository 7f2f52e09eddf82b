// How curves and their keys are told apart: a colour by curve, a mark by the shape of a key.
#pragma once

#include "stage/scene/keys/envelope.h"

#include <span>
#include <string_view>
#include <utility>

namespace cadencora::stage {

// The colours of an n-th curve: for all kinds of colour vision apart from each other on white and
// on near-black.
struct Colour {
    std::string_view light, dark;
};
constexpr Colour colours[] = {
    {"#0956b0", "#57a1ff"}, {"#b44c13", "#ff8a4c"}, {"#00805c", "#2fc79a"}, {"#a63b82", "#e692c5"},
    {"#b78b00", "#e6c229"}, {"#3a9bcc", "#b6daff"}, {"#24292f", "#e5ecf2"}, {"#77302e", "#b8745c"},
};
constexpr std::size_t colourCount = std::size(colours);

// The corners of a key's mark around its place, of about the same area as a circle of radius 1,
// downward as on a screen; empty: a circle.
std::span<const std::pair<double, double>> markCorners(Shape shape);

} // namespace cadencora::stage
