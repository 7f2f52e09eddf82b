#include "stage/plot/chart.h"

#include "stage/plot/svg_path.h"
#include "stage/plot/svg_text.h"

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

constexpr double inset = 8;        // between the outermost values and the frame of a chart
constexpr double keyDistance = 5;  // pixels that keys need on average to be marked one by one
constexpr double sampleWidth = 24; // of a line in a legend
constexpr double longestName = 340;

std::string attribute(std::string_view name, double value) {
    return " " + std::string(name) + "=\"" + pixels(value) + "\"";
}

// The group of the n-th curve: a light colour that a style sheet may replace.
std::string colourGroup(std::size_t n, std::string_view more) {
    return "<g class=\"c" + std::to_string(n % colourCount) + std::string(more) + "\" color=\"" +
           std::string(colours[n % colourCount].light) + "\"";
}

// Curves beyond the number of colours are told apart by their line.
std::string_view lineDash(std::size_t n) {
    return n / colourCount % 2 ? R"( stroke-dasharray="11 2.5 3 2.5")" : "";
}

// A radius for marks of a curve; 0 where they have no room.
double markRadius(const DrawnCurve& curve, const Mapping& mapping) {
    if (curve.marks.size() < 2) return 3.4;
    const double width = (curve.marks.back().time - curve.marks.front().time) * mapping.perSecond;
    const double each = width / static_cast<double>(curve.marks.size() - 1);
    return each < keyDistance ? 0 : std::clamp(each * 0.3, 2.2, 3.4);
}

std::vector<std::string> pathsOf(const DrawnCurve& curve, const Mapping& mapping) {
    std::vector<std::string> paths;
    for (const CurveRun& run : curve.runs)
        paths.push_back(pathOf(run, mapping));
    return paths;
}

void drawPath(std::string& svg, bool keyed, const std::string& path, std::string_view dash,
              double width) {
    svg += "<path class=\"" + std::string(keyed ? "keyed" : "outside") + "\" fill=\"none\"" +
           attribute("stroke-width", width) + std::string(dash) + " d=\"" + path + "\"/>\n";
}

void drawMarks(std::string& svg, const DrawnCurve& curve, const Mapping& mapping, double radius) {
    for (const CurveMark& mark : curve.marks)
        drawMark(svg, mark.onFrame ? "key" : "key between", mark.shape, mark.onFrame,
                 mapping.x(mark.time), mapping.y(mark.value), radius);
}

std::string keyCount(const DrawnCurve& curve) {
    if (curve.keys == 0) return "no key";
    return std::to_string(curve.keys) + (curve.keys == 1 ? " key" : " keys");
}

// The unit and the names, in rows from `top` down; answers where they end.
double drawLegend(std::string& svg, const Chart& chart, double left, double top) {
    using layout::textSize;
    const double right = layout::width - layout::right;
    std::string unit = chart.unit;
    if (chart.axis.exponent != 0) unit += " × 1e" + std::to_string(chart.axis.exponent);
    drawText(svg, left, top + 13, unit, R"( font-weight="bold")");
    struct Entry {
        std::string name, count;
        double width = 0;
    };
    std::vector<Entry> entries;
    double whole = 0, widest = 0;
    for (const Series& series : chart.series) {
        Entry entry{shortened(series.name, textSize, longestName), keyCount(series.curve), 0};
        entry.width = sampleWidth + 13 + textWidth(entry.name + entry.count, textSize) + 20;
        whole += entry.width;
        widest = std::max(widest, entry.width);
        entries.push_back(std::move(entry));
    }
    // Beside the unit where there is room for all; else below it, in columns.
    const double beside = left + textWidth(unit, textSize) * 1.12 + 20;
    const bool oneRow = beside + whole <= right + 20;
    const auto columns = static_cast<std::size_t>(std::max(1.0, (right + 20 - left) / widest));
    double x = oneRow ? beside : left, y = top;
    for (std::size_t n = 0; n < entries.size(); ++n) {
        const Entry& entry = entries[n];
        if (!oneRow && n % columns == 0) {
            x = left;
            y += layout::rowHeight;
        }
        svg += colourGroup(n, " legend") + " stroke=\"currentColor\"><title>" +
               svgEscaped(chart.series[n].name) + "</title>";
        drawLine(svg, x, y + 9, x + sampleWidth, y + 9,
                 R"( stroke-width="2")" + std::string(lineDash(n)));
        svg += "</g>\n<text" + attribute("x", x + sampleWidth + 6) + attribute("y", y + 13) + ">" +
               svgEscaped(entry.name) + "<tspan dx=\"7\" opacity=\".65\">" + entry.count +
               "</tspan></text>\n";
        x += oneRow ? entry.width : widest;
    }
    return y + layout::rowHeight;
}

} // namespace

void drawMark(std::string& svg, std::string_view className, Shape shape, bool filled, double x,
              double y, double radius, std::string_view attributes) {
    const std::string kind = std::string(attributes) + (filled ? "" : R"( fill="#ffffff")");
    const std::string name = std::string(className) + (filled ? "" : " paper");
    const auto corners = markCorners(shape);
    if (corners.empty()) {
        svg += "<circle class=\"" + name + "\"" + attribute("cx", x) + attribute("cy", y) +
               attribute("r", radius) + kind + "/>\n";
        return;
    }
    std::string path;
    for (const auto& [dx, dy] : corners)
        path += (path.empty()                  ? "M"
                 : path.find('L') == path.npos ? "L"
                                               : " ") +
                pixels(x + dx * radius) + "," + pixels(y + dy * radius);
    svg += "<path class=\"" + name + "\" d=\"" + path + "Z\"" + kind + "/>\n";
}

void drawText(std::string& svg, double x, double y, std::string_view words,
              std::string_view attributes) {
    svg += "<text" + attribute("x", x) + attribute("y", y) + std::string(attributes) + ">" +
           svgEscaped(words) + "</text>\n";
}

void drawTimeLabel(std::string& svg, double x, double y, std::string_view label,
                   std::string_view attributes) {
    const double half = textWidth(label, layout::textSize) / 2;
    if (x - half < layout::captions || x + half > layout::width) return;
    drawText(svg, x, y, label, R"( text-anchor="middle")" + std::string(attributes));
}

void drawLine(std::string& svg, double x1, double y1, double x2, double y2,
              std::string_view attributes) {
    svg += "<path d=\"M" + pixels(x1) + "," + pixels(y1) + "L" + pixels(x2) + "," + pixels(y2) +
           "\"" + std::string(attributes) + "/>\n";
}

void Chart::scale(double height) {
    Extent values{series.front().curve.low, series.front().curve.high};
    const auto cover = [&](const DrawnCurve& curve) {
        values.low = std::min(values.low, curve.low);
        values.high = std::max(values.high, curve.high);
    };
    for (const Series& one : series) {
        cover(one.curve);
        for (const DrawnCurve& ghost : one.ghost)
            cover(ghost);
    }
    extent = roomFor(values);
    axis = valueAxis(extent, static_cast<int>(height / 34));
}

double Chart::labelWidth() const {
    double widest = 0;
    for (const Tick& tick : axis.ticks)
        widest = std::max(widest, textWidth(tick.label, layout::textSize));
    return widest;
}

double drawChart(std::string& svg, const Chart& chart, const Frames& frames, double left,
                 double top, double height, Shown& shown) {
    svg += "<g class=\"panel\">\n";
    const double right = layout::width - layout::right;
    const double upper = drawLegend(svg, chart, left, top) + 4, lower = upper + height;
    const Mapping mapping{left,
                          frames.first,
                          (right - left) / (frames.last - frames.first),
                          lower - inset,
                          chart.extent.low,
                          (height - 2 * inset) / (chart.extent.high - chart.extent.low)};

    svg += "<g stroke=\"currentColor\" stroke-opacity=\".14\">\n";
    for (const Tick& tick : chart.axis.ticks)
        drawLine(svg, left, mapping.y(tick.at), right, mapping.y(tick.at), "");
    for (const Tick& tick : frames.ticks)
        drawLine(svg, mapping.x(tick.at), upper, mapping.x(tick.at), lower, "");
    svg += "</g>\n";
    drawLine(svg, left, lower, right, lower, R"( stroke="currentColor" stroke-opacity=".6")");
    for (const Tick& tick : chart.axis.ticks)
        drawText(svg, left - 7, mapping.y(tick.at) + 4, tick.label,
                 R"( class="value" text-anchor="end")");
    for (const Tick& tick : frames.ticks) {
        drawLine(svg, mapping.x(tick.at), lower, mapping.x(tick.at), lower + 4,
                 R"( stroke="currentColor" stroke-opacity=".6")");
        drawTimeLabel(svg, mapping.x(tick.at), lower + 16, tick.label, R"( class="frame")");
    }

    std::vector<std::vector<std::string>> paths;
    for (const Series& series : chart.series)
        paths.push_back(pathsOf(series.curve, mapping));
    for (std::size_t n = 0; n < chart.series.size(); ++n)
        for (const DrawnCurve& ghost : chart.series[n].ghost) {
            const auto ghostPaths = pathsOf(ghost, mapping);
            if (ghostPaths == paths[n]) continue;
            svg += colourGroup(n, " ghost") + " stroke=\"currentColor\" opacity=\".5\">\n";
            // Where nothing changed a ghost would only fill the gaps of the dotted curve.
            for (std::size_t i = 0; i < ghostPaths.size(); ++i)
                if (std::ranges::find(paths[n], ghostPaths[i]) == paths[n].end())
                    drawPath(svg, ghost.runs[i].keyed, ghostPaths[i], ghostDash, 1.5);
            if (markRadius(ghost, mapping) > 0)
                for (const CurveMark& mark : ghost.marks)
                    svg += "<circle" + attribute("cx", mapping.x(mark.time)) +
                           attribute("cy", mapping.y(mark.value)) + attribute("r", 2) +
                           " fill=\"currentColor\" stroke=\"none\"/>\n";
            svg += "</g>\n";
            shown.ghost = true;
        }
    for (std::size_t n = 0; n < chart.series.size(); ++n) {
        const DrawnCurve& curve = chart.series[n].curve;
        svg += colourGroup(n, " curve") +
               " stroke=\"currentColor\" stroke-linejoin=\"round\"><title>" +
               svgEscaped(chart.series[n].name) + "</title>\n";
        for (std::size_t i = 0; i < paths[n].size(); ++i) {
            const bool keyed = curve.runs[i].keyed;
            drawPath(svg, keyed, paths[n][i], keyed ? lineDash(n) : outsideDash, 1.8);
            shown.outside = shown.outside || !keyed;
        }
        if (const double radius = markRadius(curve, mapping); radius > 0) {
            svg += "<g fill=\"currentColor\" stroke-width=\"1.3\">\n";
            drawMarks(svg, curve, mapping, radius);
            svg += "</g>\n";
            for (const CurveMark& mark : curve.marks) {
                shown.shapes.insert(mark.shape);
                shown.betweenFrames = shown.betweenFrames || !mark.onFrame;
            }
        } else {
            shown.crowded = true;
        }
        svg += "</g>\n";
    }
    svg += "</g>\n";
    return lower + layout::rowHeight + layout::gap;
}

} // namespace cadencora::stage
