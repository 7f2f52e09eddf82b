#include "stage/desktop/canvas/flat_renderer.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <cmath>

namespace cadencora::stage {

namespace {

constexpr auto vertexShader = R"(#version 330
uniform vec2 size;
layout(location = 0) in vec2 place;
layout(location = 1) in vec4 bgra;
layout(location = 2) in vec2 acrossAndReach;
out vec4 colour;
out vec2 line;
void main() {
    colour = bgra.bgra;
    line = acrossAndReach;
    gl_Position = vec4(2.0 * place.x / size.x - 1.0, 1.0 - 2.0 * place.y / size.y, 0.0, 1.0);
})";
constexpr auto fragmentShader = R"(#version 330
in vec4 colour;
in vec2 line;
out vec4 shown;
void main() {
    float share = clamp(line.y + 0.5 - abs(line.x), 0.0, 1.0); // of the pixel that is covered
    shown = vec4(colour.rgb, 1.0) * (colour.a * share);
})";

} // namespace

FlatRenderer::FlatRenderer() : buffer_(QOpenGLBuffer::VertexBuffer) {
    program_.addShaderFromSourceCode(QOpenGLShader::Vertex, vertexShader);
    program_.addShaderFromSourceCode(QOpenGLShader::Fragment, fragmentShader);
    program_.link();
    layout_.create();
    buffer_.create();
    buffer_.setUsagePattern(QOpenGLBuffer::StreamDraw);
    const QOpenGLVertexArrayObject::Binder bound(&layout_);
    buffer_.bind();
    program_.enableAttributeArray(0);
    program_.enableAttributeArray(1);
    program_.setAttributeBuffer(0, GL_FLOAT, 0, 2, sizeof(Corner));
    QOpenGLContext::currentContext()->functions()->glVertexAttribPointer(
        1, 4, GL_UNSIGNED_BYTE, GL_TRUE, sizeof(Corner),
        reinterpret_cast<const void*>(offsetof(Corner, colour)));
    program_.enableAttributeArray(2);
    program_.setAttributeBuffer(2, GL_FLOAT, offsetof(Corner, across), 2, sizeof(Corner));
}

void FlatRenderer::add(const QPointF& point, QRgb colour, double across, double reach) {
    corners_.push_back({static_cast<float>(point.x()), static_cast<float>(point.y()),
                        static_cast<float>(across), static_cast<float>(reach), colour});
}

void FlatRenderer::addLine(const QPointF& from, const QPointF& to, double width,
                           const QColor& colour) {
    const QPointF way = to - from;
    const double size = std::hypot(way.x(), way.y());
    if (!(size > 0)) return;
    const double room = width / 2 + 1; // for the pixels that the line covers in part
    const QPointF side = QPointF(-way.y(), way.x()) * (room / size);
    const QRgb rgb = colour.rgba();
    const auto corner = [&](const QPointF& end, double which) {
        add(end + which * side, rgb, which * room, width / 2);
    };
    corner(from, 1), corner(from, -1), corner(to, 1);
    corner(to, 1), corner(from, -1), corner(to, -1);
}

void FlatRenderer::draw(std::span<const FlatShape> shapes, const QSizeF& size) {
    corners_.clear();
    corners_.reserve(6 * shapes.size());
    QRgb known = 0, dark = 0;
    for (const FlatShape& shape : shapes) {
        const auto& [a, b, c, d] = shape.points;
        if (shape.corners == 2) {
            addLine(a, b, static_cast<double>(shape.width), shape.colour);
            continue;
        }
        if (shape.edge.isValid()) {
            addLine(a, b, 1.6, shape.edge);
            addLine(b, c, 1.6, shape.edge);
            addLine(c, d, 1.6, shape.edge);
            addLine(d, a, 1.6, shape.edge);
        }
        const QRgb light = shape.colour.rgba();
        if (light != known) { // neighbours mostly have the same colour, and mixing takes long
            known = light;
            dark = shape.colour.darker(130).rgba();
        }
        for (const QPointF& point : {a, b, c})
            add(point, light);
        for (const QPointF& point : {a, c, d})
            add(point, dark);
    }
    if (corners_.empty()) return;
    const QOpenGLVertexArrayObject::Binder bound(&layout_);
    buffer_.bind();
    buffer_.allocate(corners_.data(), static_cast<int>(corners_.size() * sizeof(Corner)));
    program_.bind();
    program_.setUniformValue("size", size);
    QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
    gl->glDisable(GL_DEPTH_TEST);
    gl->glDisable(GL_CULL_FACE);
    gl->glEnable(GL_BLEND);
    gl->glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    gl->glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(corners_.size()));
    program_.release();
}

} // namespace cadencora::stage
