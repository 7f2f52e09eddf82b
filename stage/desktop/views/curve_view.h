// The curves of the selected items, their keys, and faintly how they were before the last command.
//
// Left drags the time, middle or right drags the view; the wheel zooms, with Ctrl only the time,
// with Shift only the values.
#pragma once

#include "stage/desktop/document/document.h"
#include "stage/desktop/drawing/curve_lines.h"

#include <QPixmap>
#include <QWidget>

namespace cadencora::stage {

class CurveView : public QWidget {
public:
    explicit CurveView(Document& document, QWidget* parent = nullptr);

    void fit(); // the preview range and all values in it

    const Range& values() const { return values_; } // on show, as times() are
    const TimeWindow& times() const { return times_; }
    const std::vector<ShownCurve>& curves() const { return curves_; }

protected:
    QSize sizeHint() const override { return {600, 240}; }
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    double yOf(double value) const;
    void redraw(); // the picture, at the next paint
    void paintPicture();
    void paintGrid(QPainter& painter) const;
    void paintCurves(QPainter& painter) const;
    void paintNames(QPainter& painter) const;
    void scrub(double x);

    Document& document_;
    std::vector<ShownCurve> curves_;
    std::size_t left_ = 0; // curves that are too many to be drawn
    TimeWindow times_;
    Range values_{-1, 1};
    QPixmap picture_; // all but the time; null: to be painted
    QPointF dragged_;
};

} // namespace cadencora::stage
