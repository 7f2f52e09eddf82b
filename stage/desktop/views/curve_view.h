// The curves of the selected items: a lane for each unit, keys by their shape, the curves before
// the last command, and the range that it touched.
//
// A click goes to the frame, and takes the curve there; left draws a box that marks a range, middle
// or right drags the view; the wheel zooms the time, with Shift the values of a lane.
#pragma once

#include "stage/desktop/views/shown_channels.h"
#include "stage/desktop/views/time_axis.h"

#include <QPixmap>
#include <QWidget>

namespace cadencora::stage {

class CurveView : public QWidget {
public:
    CurveView(Document& document, TimeAxis& axis, ShownChannels& channels,
              QWidget* parent = nullptr);

    void fit(); // all values; the time axis fits by itself

    // The curves of one unit over each other.
    struct Lane {
        std::size_t unit = 0;
        std::vector<ShownCurve> curves;
        Range values{-1, 1};
        double top = 0, height = 0; // pixels
        bool isFitted = true;       // its values follow the curves

        double yOf(double value) const {
            return top + height * (values.high - value) / (values.high - values.low);
        }
        double valueOf(double y) const {
            return values.high - (y - top) / height * (values.high - values.low);
        }
    };
    const std::vector<Lane>& lanes() const { return lanes_; }

protected:
    QSize sizeHint() const override { return {600, 240}; }
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void findLanes();
    void placeLanes();
    void fitLane(Lane& lane) const;
    Lane* laneAt(double y);
    void redraw(); // the picture, at the next paint
    TimeWindow times() const { return axis_.window(width()); }
    double xOf(double seconds) const { return axis_.xOf(seconds, width()); }

    void paintPicture();
    void paintRanges(QPainter& painter) const;
    void paintGrid(QPainter& painter, const Lane& lane) const;
    void paintCurves(QPainter& painter, const Lane& lane) const;
    void paintTangents(QPainter& painter, const Lane& lane) const;
    void paintHint(QPainter& painter) const;
    void paintReadout(QPainter& painter);
    void markBox();

    // The curve of a lane that is nearest to a place, if one is near.
    const ShownCurve* curveAt(const Lane& lane, const QPointF& at) const;

    Document& document_;
    TimeAxis& axis_;
    ShownChannels& channels_;
    std::vector<Lane> lanes_;
    QPixmap picture_; // all but the time and the pointer; null: to be painted
    QPointF pressed_, dragged_;
    std::optional<QPointF> pointer_;
    std::optional<QRectF> box_; // being drawn
};

} // namespace cadencora::stage
