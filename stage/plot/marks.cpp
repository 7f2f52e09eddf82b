#include "stage/plot/marks.h"

namespace cadencora::stage {

namespace {

constexpr std::pair<double, double> diamond[] = {{-1.3, 0}, {0, -1.3}, {1.3, 0}, {0, 1.3}};
constexpr std::pair<double, double> triangle[] = {{-1.25, 0.9}, {0, -1.4}, {1.25, 0.9}};
constexpr std::pair<double, double> square[] = {
    {-0.95, -0.95}, {0.95, -0.95}, {0.95, 0.95}, {-0.95, 0.95}};

} // namespace

std::span<const std::pair<double, double>> markCorners(Shape shape) {
    switch (shape) {
    case Shape::spline:
        return {};
    case Shape::linear:
        return diamond;
    case Shape::tangents:
        return triangle;
    case Shape::hold:
        return square;
    }
    return {};
}

} // namespace cadencora::stage
