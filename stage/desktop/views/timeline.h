// The bar of frames: scrubbing, the keys of the selection, the preview range, the range that the
// last command touched, and the one that is marked or that an open dialog asks for.
//
// With Shift a drag marks a range; middle or right drags the view, the wheel zooms.
#pragma once

#include "stage/desktop/views/time_axis.h"

#include <QWidget>

namespace cadencora::stage {

class Timeline : public QWidget {
public:
    Timeline(Document& document, TimeAxis& axis, QWidget* parent = nullptr);

    // Where a frame lies, in pixels from the left edge.
    double xOf(double frame) const;
    // Marks a range for the next dialog, with all keys of the selected items in it.
    void markFrames(std::int64_t first, std::int64_t last);

protected:
    QSize sizeHint() const override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    enum class Drag { none, time, first, last, start, end, mark, view };

    std::int64_t frameAt(double x) const; // the nearest whole one
    Drag gripAt(const QPointF& at) const;
    void drag(double x);
    void findKeys();
    int rangeHeight() const;
    void paintRuler(QPainter& painter) const;
    void paintRange(QPainter& painter) const;
    void paintStretches(QPainter& painter) const;
    void paintTime(QPainter& painter) const;

    Document& document_;
    TimeAxis& axis_;
    std::vector<int> keyColumns_;
    Drag drag_ = Drag::none;
    double pressed_ = 0, dragged_ = 0; // x
};

} // namespace cadencora::stage
