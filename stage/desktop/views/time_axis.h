// The stretch of time that the curves and the timeline show: one axis, with the same margins in
// both.
#pragma once

#include "stage/desktop/document/document.h"
#include "stage/desktop/drawing/curve_lines.h"

namespace cadencora::stage {

class TimeAxis : public QObject {
    Q_OBJECT
public:
    static constexpr int left = 58, right = 16; // margins, pixels

    explicit TimeAxis(Document& document);

    // The whole scene; the preview range where that is narrower and on show as a whole already.
    void fit();

    // The window that fills a widget of a width; its columns begin after the left margin.
    TimeWindow window(int width) const;
    double xOf(double seconds, int width) const { return left + window(width).columnOf(seconds); }
    double timeOf(double x, int width) const { return window(width).timeOf(x - left); }
    double frameOf(double x, int width) const; // with its fraction

    // The first and the last frame of the scene, its preview range included.
    std::pair<std::int64_t, std::int64_t> sceneFrames() const;

    // Moves what is on show by pixels; makes it longer by a factor, while the time at x stays
    // there.
    void pan(double pixels, int width);
    void zoom(double factor, double x, int width);

signals:
    void changed();

private:
    struct Stretch {
        double first = 0, last = 1; // seconds
        bool operator==(const Stretch&) const = default;
    };
    Stretch wholeScene() const;
    Stretch preview() const;
    void show(const Stretch& stretch);
    void take(Changes what);

    Document& document_;
    Stretch shown_, whole_;
};

} // namespace cadencora::stage
