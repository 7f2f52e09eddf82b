// The bar of frames: scrubbing, the keys of the selection, the preview range.
#pragma once

#include "stage/desktop/document/document.h"
#include "stage/desktop/drawing/curve_lines.h"

#include <QWidget>

namespace cadencora::stage {

class Timeline : public QWidget {
public:
    explicit Timeline(Document& document, QWidget* parent = nullptr);

    // Where a frame lies, in pixels from the left edge.
    double xOf(double frame) const;

protected:
    QSize sizeHint() const override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum class Drag { none, time, first, last };

    std::int64_t firstShown() const; // frames
    std::int64_t lastShown() const;
    std::int64_t frameAt(double x) const; // the nearest whole one on show
    void drag(double x);
    void findKeys();
    int rangeHeight() const;
    void paintRuler(QPainter& painter) const;
    void paintRange(QPainter& painter) const;

    Document& document_;
    std::vector<int> keyColumns_;
    Drag drag_ = Drag::none;
};

} // namespace cadencora::stage
