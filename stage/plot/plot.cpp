#include "stage/plot/plot.h"

#include "stage/base/text.h"
#include "stage/plot/chart.h"
#include "stage/plot/find_channels.h"
#include "stage/plot/svg_text.h"
#include "stage/plot/units.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace cadencora::stage {

namespace {

const Envelope& curveAt(const Scene& scene, ChannelId id) {
    return scene.envelope(scene.channel(id).envelope);
}

struct Range {
    std::int64_t from = 0, to = 0;
};

Result<Range> rangeOf(const PlotRequest& request, const std::vector<ChannelId>& channels) {
    const Scene& scene = request.scene;
    for (const auto& frame : {request.from, request.to})
        if (frame && std::abs(static_cast<double>(*frame)) > farthestPlotFrame)
            return Problem{"frame " + std::to_string(*frame) + " is too far", scene.name,
                           "from -2000000000 to 2000000000"};
    double first = 0, last = static_cast<double>(scene.lastFrame);
    for (const ChannelId id : channels)
        if (const KeyStore& keys = curveAt(scene, id).keys; !keys.empty()) {
            first = std::min(first, std::floor(scene.rate.frameOf(keys.begin().time()) + 1e-6));
            last = std::max(last, std::ceil(scene.rate.frameOf(keys.last().time()) - 1e-6));
        }
    const auto limited = [](double frame) {
        constexpr double far = farthestPlotFrame;
        return static_cast<std::int64_t>(std::clamp(frame, -far, far));
    };
    Range range{request.from.value_or(limited(first)), request.to.value_or(limited(last))};
    if (request.from && request.to && range.from > range.to)
        return Problem{"the frames " + std::to_string(range.from) + " to " +
                           std::to_string(range.to) + " run backwards",
                       scene.name, "the first frame comes first"};
    // Where only one end is given, it may be beyond the other.
    if (!request.to) range.to = std::max(range.from, range.to);
    range.from = std::min(range.from, range.to);
    return range;
}

std::string styleSheet() {
    std::string css = "<style>@media (prefers-color-scheme:dark){.cadencora-plot{color:#e6edf3}"
                      ".cadencora-plot .paper{fill:#0d1117}";
    for (std::size_t n = 0; n < colourCount; ++n)
        css += ".cadencora-plot .c" + std::to_string(n) + "{color:" + std::string(colours[n].dark) +
               "}";
    return css + "}</style>\n";
}

// Explains the marks and lines that the picture holds, in rows; answers where they end.
double drawKey(std::string& svg, const Shown& shown, double left, double top) {
    using layout::textSize;
    double x = left, y = top;
    const auto entry = [&](const auto& sample, double width, std::string_view words) {
        const double whole = width + textWidth(words, textSize);
        if (x > left && x + whole > layout::width - layout::right) {
            x = left;
            y += layout::rowHeight;
        }
        sample();
        drawText(svg, x + width, y + 13, words);
        x += whole + 22;
    };
    const auto mark = [&](Shape shape, bool filled, std::string_view words) {
        entry(
            [&] {
                drawMark(svg, "sample", shape, filled, x + 5, y + 9, 3.4,
                         filled ? R"( fill="currentColor")" : R"( stroke="currentColor")");
            },
            15, words);
    };
    const auto line = [&](std::string_view dash, std::string_view words) {
        entry(
            [&] {
                drawLine(svg, x, y + 9, x + 24, y + 9,
                         R"( stroke="currentColor" stroke-width="1.6")" + std::string(dash));
            },
            30, words);
    };
    svg += "<g class=\"key-to-marks\" opacity=\".75\">\n";
    for (const Shape shape : shown.shapes)
        mark(shape, true,
             shape == Shape::spline     ? "spline key"
             : shape == Shape::linear   ? "linear key"
             : shape == Shape::tangents ? "tangents key"
                                        : "hold key");
    if (shown.betweenFrames) mark(*shown.shapes.begin(), false, "between frames");
    if (shown.outside) line(outsideDash, "outside the keys");
    if (shown.ghost) line(ghostDash, "before");
    if (shown.crowded) entry([] {}, 0, "keys too close together are not marked");
    svg += "</g>\n";
    return x > left ? y + layout::rowHeight : y;
}

std::vector<Chart> chartsOf(const PlotRequest& request, const std::vector<ChannelId>& channels,
                            double first, double last) {
    std::array<Chart, units.size()> all;
    for (const ChannelId id : channels) {
        const std::size_t unit = unitOf(request.scene, id);
        const auto drawn = [&](const Scene& scene, ChannelId channel) {
            return drawnCurve(curveAt(scene, channel), first, last, units[unit].factor, scene.rate);
        };
        Series series{request.scene.channelPath(id), drawn(request.scene, id), {}};
        if (request.before) {
            const ChannelId old = channelAt(*request.before, series.name);
            if (old != ChannelId::none) series.ghost.push_back(drawn(*request.before, old));
        }
        all[unit].unit = units[unit].name;
        all[unit].series.push_back(std::move(series));
    }
    std::vector<Chart> used;
    for (Chart& chart : all)
        if (!chart.series.empty()) used.push_back(std::move(chart));
    return used;
}

} // namespace

Result<std::string> plotSvg(const PlotRequest& request) {
    using layout::textSize;
    const Scene& scene = request.scene;
    auto channels = channelsAt(scene, request.channels);
    if (!channels) return channels.problem();
    if (channels->empty())
        return Problem{"there is no channel to draw", scene.name, "expected at least one"};
    auto range = rangeOf(request, *channels);
    if (!range) return range.problem();

    // A single frame stands in the middle of its own width.
    const double margin = range->from == range->to ? 0.5 : 0;
    const Extent shownFrames{static_cast<double>(range->from) - margin,
                             static_cast<double>(range->to) + margin};
    const double rate = scene.rate.perSecond();
    // An edge on a frame has that frame's own time, so that a key there is within.
    const Extent seconds{shownFrames.low / rate, shownFrames.high / rate};

    auto charts = chartsOf(request, *channels, seconds.low, seconds.high);
    const double height = charts.size() == 1 ? 300 : charts.size() == 2 ? 220 : 170;
    double left = 68;
    for (Chart& chart : charts) {
        for (const Series& series : chart.series)
            if (!series.curve.drawable() ||
                !std::ranges::all_of(series.ghost, &DrawnCurve::drawable))
                return Problem{"the values of " + inQuotes(series.name) + " are too large to draw",
                               scene.name, "they reach beyond 1e150 in the frames shown"};
        chart.scale(height);
        left = std::max(left, chart.labelWidth() + 16);
    }
    const double right = layout::width - layout::right, width = right - left;
    Frames frames{seconds.low, seconds.high, timeTicks(shownFrames, width, textSize, true, "")};
    for (Tick& tick : frames.ticks)
        tick.at /= rate;

    std::string body;
    const std::string title = scene.name.empty() ? "Curves" : scene.name;
    drawText(body, 16, 27, shortened(title, 17, layout::width - 32),
             R"( font-size="16" font-weight="bold")");
    const std::string span = range->from == range->to ? "frame " + std::to_string(range->from)
                                                      : "frames " + std::to_string(range->from) +
                                                            " to " + std::to_string(range->to);
    const std::string subtitle = span + ", " + scene.rate.text() + " per second";
    drawText(body, 16, 45, subtitle, R"( opacity=".75")");

    Shown shown;
    double y = 56;
    for (const Chart& chart : charts)
        y = drawChart(body, chart, frames, left, y, height, shown);
    y -= layout::gap;
    const double labels = y - layout::rowHeight + 16; // the baseline of the lowest frame numbers
    drawText(body, 12, labels, "frame", R"( opacity=".75")");
    drawText(body, 12, labels + 15, "time", R"( opacity=".75")");
    for (const Tick& tick : timeTicks(seconds, width, textSize, false, " s"))
        drawTimeLabel(body, left + (tick.at - seconds.low) / (seconds.high - seconds.low) * width,
                      labels + 15, tick.label, R"( class="second" opacity=".75")");
    y = drawKey(body, shown, left, y + 22) + 10;

    const std::string name = svgEscaped(title + ": " + subtitle);
    const std::string size = "0 0 " + pixels(layout::width) + " " + pixels(y);
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"" + size + "\" width=\"" +
           pixels(layout::width) + "\" height=\"" + pixels(y) +
           "\" class=\"cadencora-plot\" color=\"#24292f\" role=\"img\" font-family=\"system-ui, "
           "-apple-system, 'Segoe UI', Helvetica, Arial, sans-serif\" font-size=\"" +
           pixels(textSize) + "\">\n<title>" + name + "</title>\n" + styleSheet() +
           "<rect class=\"paper\" width=\"" + pixels(layout::width) + "\" height=\"" + pixels(y) +
           "\" rx=\"6\" fill=\"#ffffff\"/>\n<g fill=\"currentColor\">\n" + body + "</g>\n</svg>\n";
}

} // namespace cadencora::stage
