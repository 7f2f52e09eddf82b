#include "stage/plot/svg_path.h"

#include "stage/plot/svg_text.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace cadencora::stage {

namespace {

// Pixels; together, with the rounding of the text, below a tenth.
constexpr double flatness = 0.02, columnWidth = 0.06, tolerance = 0.03;
constexpr double roomForCubic = 1.5; // the width from which a bent piece is written as a cubic

struct Point {
    double x = 0, y = 0;
};

// Takes points from left to right and writes the lines through as few of them as will do.
class LineWriter {
public:
    explicit LineWriter(std::string& path) : path_(path) {}

    // First by columns: three and more points in a column become one upright line, from the lowest
    // to the highest, in its middle.
    void add(Point point) {
        const double column = std::floor(point.x / columnWidth);
        if (!column_ || column != *column_) {
            flushColumn();
            column_ = column;
            low_ = high_ = point;
            lowFirst_ = true;
            inColumn_ = 1;
            return;
        }
        ++inColumn_;
        if (point.y < low_.y) {
            low_ = point;
            lowFirst_ = false;
        } else if (point.y >= high_.y) {
            high_ = point;
            lowFirst_ = true;
        }
    }

    // Everything up to here is written.
    void finish() {
        flushColumn();
        column_.reset();
        if (candidate_) write(*candidate_);
        candidate_.reset();
    }

    void cubicTo(Point a, Point b, Point end) {
        finish();
        const long long fromX = penX_, fromY = penY_;
        path_ += "c";
        for (const Point& point : {a, b, end}) {
            penX_ = std::llround(point.x * 100);
            penY_ = std::llround(point.y * 100);
            if (penX_ >= fromX && path_.back() != 'c') path_ += " ";
            appendPair(penX_ - fromX, penY_ - fromY);
        }
        anchor_ = end;
    }

private:
    void flushColumn() {
        if (!column_) return;
        if (inColumn_ > 2) low_.x = high_.x = (*column_ + 0.5) * columnWidth;
        straighten(lowFirst_ ? low_ : high_);
        if (inColumn_ > 1) straighten(lowFirst_ ? high_ : low_);
    }

    // Then a line grows for as long as it passes every point under it by the tolerance.
    void straighten(Point point) {
        if (!anchor_) {
            write(point);
            return;
        }
        if (candidate_) {
            const double width = point.x - anchor_->x;
            const double slope = (point.y - anchor_->y) / width;
            // A step has no slope to compare.
            if (!(width > 0) || candidate_->x == anchor_->x || slope < least_ || slope > most_) {
                write(*candidate_);
                candidate_.reset();
            }
        }
        if (!candidate_) {
            least_ = -1e300;
            most_ = 1e300;
        }
        const double width = point.x - anchor_->x;
        if (width > 0) {
            least_ = std::max(least_, (point.y - tolerance - anchor_->y) / width);
            most_ = std::min(most_, (point.y + tolerance - anchor_->y) / width);
        }
        candidate_ = point;
    }

    void write(Point point) {
        const long long x = std::llround(point.x * 100), y = std::llround(point.y * 100);
        if (!anchor_) {
            path_ += "M";
            appendPair(x, y);
        } else if (x != penX_) {
            path_ += "l";
            appendPair(x - penX_, y - penY_);
        } else if (y != penY_) {
            path_ += "v";
            append(y - penY_);
        }
        penX_ = x;
        penY_ = y;
        anchor_ = point;
    }

    // A number of hundredths, as short as it can be.
    void append(long long hundredths) {
        std::string number = pixels(static_cast<double>(hundredths) / 100);
        const std::size_t digits = number.starts_with('-') ? 1 : 0;
        if (number.compare(digits, 2, "0.") == 0) number.erase(digits, 1);
        path_ += number;
    }
    void appendPair(long long x, long long y) {
        append(x);
        if (y >= 0) path_ += ","; // a minus sign separates too
        append(y);
    }

    std::string& path_;
    std::optional<double> column_;
    Point low_, high_; // of the column; in pixels, so the low one is the upper
    bool lowFirst_ = true;
    int inColumn_ = 0;
    std::optional<Point> anchor_, candidate_;
    double least_ = 0, most_ = 0; // slopes
    // What is written, in hundredths of a pixel: steps from there add up without drifting.
    long long penX_ = 0, penY_ = 0;
};

} // namespace

std::string pathOf(const CurveRun& run, const Mapping& mapping) {
    std::string path;
    LineWriter writer(path);
    for (const CurvePiece& piece : run.pieces) {
        const double x0 = mapping.x(piece.from), width = mapping.x(piece.to) - x0;
        std::array<double, 4> y;
        std::ranges::transform(piece.values, y.begin(), [&](double v) { return mapping.y(v); });
        const double bend =
            std::max(std::abs(y[0] - 2 * y[1] + y[2]), std::abs(y[1] - 2 * y[2] + y[3]));
        // A cubic is nowhere farther from `parts` chords than 3/4 of its bend over parts².
        const double parts = std::clamp(std::ceil(std::sqrt(0.75 * bend / flatness)), 1.0, 200.0);
        writer.add({x0, y[0]});
        if (parts > 1 && width >= roomForCubic) {
            writer.finish();
            writer.cubicTo({x0 + width / 3, y[1]}, {x0 + 2 * width / 3, y[2]}, {x0 + width, y[3]});
            continue;
        }
        for (double part = 1; part < parts; ++part) {
            const double u = part / parts, w = 1 - u;
            writer.add({x0 + u * width, w * w * w * y[0] + 3 * w * w * u * y[1] +
                                            3 * w * u * u * y[2] + u * u * u * y[3]});
        }
        writer.add({x0 + width, y[3]});
    }
    writer.finish();
    return path;
}

} // namespace cadencora::stage
