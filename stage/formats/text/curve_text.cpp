#include "stage/formats/text/curve_text.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace cadencora::stage {

namespace {

constexpr std::array<std::string_view, 5> behaviourNames{"constant", "repeat", "mirror",
                                                         "offset-repeat", "linear"};

bool isZero(double value) {
    return identical(value, 0);
}

constexpr std::size_t longestNumber = 32;

char* putNumber(char* at, double value) {
    char* end = std::to_chars(at, at + longestNumber, value).ptr;
    if (value != 0 || !std::signbit(value)) return end;
    *end++ = '.';
    *end++ = '0';
    return end;
}

void dropZeros(std::string& text) {
    while (text.ends_with('0'))
        text.pop_back();
    if (text.ends_with('.')) text.pop_back();
}

} // namespace

void appendNumber(std::string& text, double value) {
    char buffer[longestNumber];
    text.append(buffer, putNumber(buffer, value));
}

void appendFixed(std::string& text, double value) {
    constexpr double unit = 1e6; // the last decimal
    if (!(std::abs(value) < 1e9)) {
        char buffer[400]; // the largest double has 309 digits before the point
        const auto result =
            std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
        text.append(buffer, result.ptr);
        if (std::isfinite(value)) dropZeros(text);
        return;
    }
    // Much faster than the general method, and the values of motion are all of this size.
    auto units = static_cast<std::uint64_t>(std::abs(value) * unit + 0.5);
    if (value < 0 && units != 0) text += '-';
    char buffer[24];
    char* start = buffer + sizeof buffer;
    int decimals = 6;
    while (decimals > 0 && units % 10 == 0) {
        units /= 10;
        --decimals;
    }
    if (decimals > 0) {
        for (; decimals > 0; --decimals, units /= 10)
            *--start = static_cast<char>('0' + units % 10);
        *--start = '.';
    }
    do {
        *--start = static_cast<char>('0' + units % 10);
        units /= 10;
    } while (units != 0);
    text.append(start, buffer + sizeof buffer);
}

void appendKey(std::string& text, const KeyStore::Cursor& cursor, char separator) {
    // Put together here and added at once: a long curve has millions of numbers.
    char buffer[(parameterCount + 1) * (longestNumber + 1) + 2];
    char* at = buffer;
    const KeyData key = cursor.data();
    *at++ = separator;
    at = putNumber(at, key.value);
    std::size_t used = parameterCount;
    while (used > 0 && isZero(key.parameters[used - 1]))
        --used;
    if (used > 0 || key.shape != Shape::spline) {
        *at++ = separator;
        *at++ = static_cast<char>('0' + static_cast<int>(key.shape));
    }
    for (std::size_t p = 0; p < used; ++p) {
        *at++ = separator;
        at = putNumber(at, key.parameters[p]);
    }
    text.append(buffer, at);
}

std::optional<Shape> shapeNumbered(double number) {
    for (const Shape shape : {Shape::spline, Shape::linear, Shape::tangents, Shape::hold})
        if (static_cast<double>(shape) == number) return shape;
    return std::nullopt;
}

std::string_view behaviourName(Behaviour behaviour) {
    return behaviourNames[static_cast<std::size_t>(behaviour)];
}

std::optional<Behaviour> behaviourNamed(std::string_view name) {
    for (std::size_t b = 0; b < behaviourNames.size(); ++b)
        if (behaviourNames[b] == name) return static_cast<Behaviour>(b);
    return std::nullopt;
}

std::string behaviourList() {
    std::string text;
    for (const std::string_view name : behaviourNames)
        text += (text.empty() ? "" : ", ") + std::string(name);
    return text;
}

} // namespace cadencora::stage
