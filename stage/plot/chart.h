// One chart of a plot: the curves of one unit over their axes, with a legend.
#pragma once

#include "stage/plot/axis.h"
#include "stage/plot/curve_pieces.h"
#include "stage/plot/marks.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace cadencora::stage {

namespace layout { // pixels
constexpr double width = 960, right = 22, gap = 12;
constexpr double captions = 48; // where the names of the time axes end
constexpr double textSize = 11, rowHeight = 18;
} // namespace layout

struct Series {
    std::string name;
    DrawnCurve curve;
    std::vector<DrawnCurve> ghost; // one or none
};

struct Chart {
    std::string unit; // "Position (scene units)"
    std::vector<Series> series;
    Extent extent; // of all its curves
    AxisTicks axis;

    void scale(double height); // finds extent and axis
    double labelWidth() const; // of the widest tick
};

// What the picture holds and its key explains.
struct Shown {
    std::set<Shape> shapes;
    bool betweenFrames = false, outside = false, ghost = false, crowded = false;
};

struct Frames {
    double first = 0, last = 0; // the seconds at the left and the right edge
    std::vector<Tick> ticks;    // at seconds
};

// Draws a chart from `top` down, its curves between `left` and the right margin in `height` pixels.
// Returns its lower edge.
double drawChart(std::string& svg, const Chart& chart, const Frames& frames, double left,
                 double top, double height, Shown& shown);

// The mark of a key's shape, filled, or hollow for one between frames, as an element of a class.
void drawMark(std::string& svg, std::string_view className, Shape shape, bool filled, double x,
              double y, double radius, std::string_view attributes = {});

void drawText(std::string& svg, double x, double y, std::string_view words,
              std::string_view attributes = {});
// Centred below a tick; left out where it would leave the picture or meet the axes' captions.
void drawTimeLabel(std::string& svg, double x, double y, std::string_view label,
                   std::string_view attributes);
void drawLine(std::string& svg, double x1, double y1, double x2, double y2,
              std::string_view attributes);

constexpr std::string_view outsideDash = R"( stroke-dasharray="2 3")";
constexpr std::string_view ghostDash = R"( stroke-dasharray="6 4")";

} // namespace cadencora::stage
