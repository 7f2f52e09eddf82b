#include "stage/plot/axis.h"

#include "stage/plot/svg_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace cadencora::stage {

namespace {

// mantissa × 10^power
struct Step {
    double mantissa = 1;
    int power = 0;

    // The multiple of the step, by at most one rounding, so that labels are what they mean.
    double times(double k) const {
        return power < 0 ? k * mantissa / std::pow(10, -power) : k * mantissa * std::pow(10, power);
    }
};

Step stepFor(double span, double most) {
    Step step{1, static_cast<int>(std::floor(std::log10(span / most)))};
    for (const double mantissa : {1.0, 2.0, 5.0, 10.0}) {
        step.mantissa = mantissa;
        if (span / step.times(1) <= most) break;
    }
    if (step.mantissa == 10) step = {1, step.power + 1};
    return step;
}

std::vector<Tick> ticksAt(Extent extent, Step step, int exponent) {
    std::vector<Tick> ticks;
    const double unit = step.times(1);
    const int decimals = std::max(0, exponent - step.power);
    const double last = std::floor(extent.high / unit + 1e-9);
    for (double k = std::ceil(extent.low / unit - 1e-9); k <= last && ticks.size() < 100; ++k) {
        const double shown = Step{step.mantissa, step.power - exponent}.times(k);
        char text[64];
        const auto end = std::to_chars(text, text + sizeof text, k == 0 ? 0.0 : shown,
                                       std::chars_format::fixed, decimals);
        ticks.push_back({step.times(k), std::string(text, end.ptr)});
    }
    return ticks;
}

} // namespace

Extent roomFor(Extent values) {
    const double size = std::max(std::abs(values.low), std::abs(values.high));
    if (size < 1e-280) return {-1, 1};
    if (values.high - values.low > 1e-9 * size) return values;
    return {values.low - 0.1 * size, values.high + 0.1 * size};
}

double niceStep(double span, double most) {
    return span > 0 && most > 0 ? stepFor(span, most).times(1) : 1;
}

AxisTicks valueAxis(Extent extent, int most) {
    AxisTicks axis;
    const double size = std::max(std::abs(extent.low), std::abs(extent.high));
    if (size >= 1e6 || size < 1e-3)
        axis.exponent = 3 * static_cast<int>(std::floor(std::log10(size) / 3));
    axis.ticks = ticksAt(extent, stepFor(extent.high - extent.low, most), axis.exponent);
    return axis;
}

std::vector<Tick> timeTicks(Extent extent, double width, double fontSize, bool whole,
                            const std::string& suffix) {
    const double span = extent.high - extent.low;
    std::vector<Tick> ticks;
    for (int most = 16; most >= 1; --most) {
        Step step = stepFor(span, most);
        if (whole && step.power < 0) step = {1, 0};
        ticks = ticksAt(extent, step, 0);
        double widest = 0;
        for (Tick& tick : ticks)
            widest = std::max(widest, textWidth(tick.label += suffix, fontSize));
        if ((widest + 14) * span <= step.times(1) * width) return ticks;
    }
    if (ticks.size() > 1) ticks.resize(1);
    return ticks;
}

} // namespace cadencora::stage
