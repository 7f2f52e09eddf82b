// Text in an SVG: what it may hold, how wide it is, and how numbers are written.
#pragma once

#include <string>
#include <string_view>

namespace cadencora::stage {

// For text and attribute values: special characters as entities; what is not UTF-8, or no
// character of XML, as U+FFFD.
std::string svgEscaped(std::string_view text);

// The width in pixels in a common sans-serif font: an estimate on the wide side.
double textWidth(std::string_view text, double fontSize);

// The text, or its beginning and its longer end with an ellipsis between them, where it is wider
// than `width` pixels: the end of a channel's path tells more than its beginning.
std::string shortened(std::string_view text, double fontSize, double width);

// A length in pixels, to a hundredth.
std::string pixels(double value);

} // namespace cadencora::stage
