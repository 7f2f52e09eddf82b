// Flat shapes by OpenGL: all of a layer in one call.
#pragma once

#include "stage/desktop/canvas/picture.h"

#include <QOpenGLBuffer>
#include <QOpenGLShaderProgram>
#include <QOpenGLVertexArrayObject>

#include <span>

namespace cadencora::stage {

// Made, used and ended with the context current.
class FlatRenderer {
public:
    FlatRenderer();

    // `size`: of the screen, in the pixels of the shapes.
    void draw(std::span<const FlatShape> shapes, const QSizeF& size);

private:
    struct Corner {
        float x, y;
        float across, reach; // pixels from the middle of a line, and to its edge
        QRgb colour;
    };
    void addLine(const QPointF& from, const QPointF& to, double width, const QColor& colour);
    void add(const QPointF& point, QRgb colour, double across = 0, double reach = 1e6);

    QOpenGLShaderProgram program_;
    QOpenGLVertexArrayObject layout_;
    QOpenGLBuffer buffer_;
    std::vector<Corner> corners_; // three to a triangle
};

} // namespace cadencora::stage
