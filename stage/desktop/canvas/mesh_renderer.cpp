#include "stage/desktop/canvas/mesh_renderer.h"

#include <QImage>
#include <QMatrix4x4>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QVector4D>

#include <algorithm>
#include <cmath>

namespace cadencora::stage {

namespace {

constexpr auto vertexShader = R"(#version 330
uniform mat4 toEye, toScreen;
layout(location = 0) in vec3 place;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec2 image;
out vec3 seen, facing;
out vec2 onImage;
void main() {
    vec4 at = toEye * vec4(place, 1.0);
    seen = at.xyz;
    facing = mat3(toEye) * normal;
    onImage = image;
    gl_Position = toScreen * at;
})";
// A surface without normals is flat, and both sides of it are lit.
constexpr auto fragmentShader = R"(#version 330
uniform vec4 colour;
uniform bool hasImage;
uniform sampler2D picture;
in vec3 seen, facing;
in vec2 onImage;
out vec4 shown;
void main() {
    vec3 normal = dot(facing, facing) > 0.0 ? facing : cross(dFdx(seen), dFdy(seen));
    normal = normalize(normal);
    if (dot(normal, seen) > 0.0) normal = -normal;
    float light = 0.42 + 0.42 * max(dot(normal, normalize(vec3(-0.45, 0.75, 0.5))), 0.0)
                + 0.16 * max(normal.z, 0.0);
    vec4 base = hasImage ? colour * texture(picture, onImage) : colour;
    shown = vec4(base.rgb * light * base.a, base.a);
})";

const QVector4D ghostColour(0.45f, 0.62f, 0.95f, 0.42f);

} // namespace

MeshRenderer::MeshRenderer() {
    program_.addShaderFromSourceCode(QOpenGLShader::Vertex, vertexShader);
    program_.addShaderFromSourceCode(QOpenGLShader::Fragment, fragmentShader);
    program_.link();
}

MeshRenderer::Model& MeshRenderer::modelOf(const std::shared_ptr<const MeshShape>& shape) {
    std::unique_ptr<Model>& model = models_[shape.get()];
    if (model) {
        model->isUsed = true;
        return *model;
    }
    model = std::make_unique<Model>();
    model->isUsed = true;
    model->shape = shape;
    model->parts = shape->parts;
    const bool plain = shape->vertices.empty();
    const auto& triangles = plain ? shape->triangles : shape->corners;
    if (model->parts.empty()) model->parts.push_back({0, triangles.size(), {}});
    std::vector<std::array<float, 2>> images(plain ? shape->points.size() : 0);
    for (const MeshVertex& vertex : shape->vertices)
        images.push_back(vertex.image);

    model->layout.create();
    const QOpenGLVertexArrayObject::Binder bound(&model->layout);
    program_.bind();
    model->vertices.create();
    model->vertices.setUsagePattern(QOpenGLBuffer::StreamDraw);
    model->vertices.bind();
    program_.enableAttributeArray(0);
    program_.enableAttributeArray(1);
    program_.setAttributeBuffer(0, GL_FLOAT, 0, 3, sizeof(Vertex));
    program_.setAttributeBuffer(1, GL_FLOAT, sizeof(Vertex::place), 3, sizeof(Vertex));
    model->images.create();
    model->images.bind();
    model->images.allocate(images.data(), static_cast<int>(images.size() * sizeof(images[0])));
    program_.enableAttributeArray(2);
    program_.setAttributeBuffer(2, GL_FLOAT, 0, 2);
    model->triangles.create();
    model->triangles.bind();
    model->triangles.allocate(triangles.data(),
                              static_cast<int>(triangles.size() * sizeof(triangles[0])));
    return *model;
}

QOpenGLTexture* MeshRenderer::textureOf(const std::shared_ptr<const std::string>& image) {
    if (!image) return nullptr;
    const auto [place, isNew] = textures_.try_emplace(image);
    if (isNew) {
        const QImage read = QImage::fromData(reinterpret_cast<const uchar*>(image->data()),
                                             static_cast<int>(image->size()));
        if (!read.isNull()) {
            place->second = std::make_unique<QOpenGLTexture>(read); // rows from the top, as glTF
            place->second->setWrapMode(QOpenGLTexture::Repeat);
        }
    }
    return place->second.get();
}

void MeshRenderer::place(Model& model, const Surface& surface, const Vec3& eye) {
    const MeshShape& shape = *model.shape;
    const auto from = [&](std::size_t point) {
        const Vec3& p = surface.points[point];
        return std::array{static_cast<float>(p[0] - eye[0]), static_cast<float>(p[1] - eye[1]),
                          static_cast<float>(p[2] - eye[2])};
    };
    vertices_.clear();
    const std::size_t count = shape.vertices.empty() ? shape.points.size() : shape.vertices.size();
    vertices_.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        vertices_.push_back({from(shape.vertices.empty() ? i : shape.vertices[i].point),
                             i < surface.normals.size() ? surface.normals[i] : MeshPoint{}});
    model.vertices.bind();
    model.vertices.allocate(vertices_.data(), static_cast<int>(vertices_.size() * sizeof(Vertex)));
}

void MeshRenderer::drawParts(Model& model, Pass pass) {
    QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
    const QOpenGLVertexArrayObject::Binder bound(&model.layout);
    for (const MeshPart& part : model.parts) {
        const auto& c = part.material.colour;
        const bool isTransparent = c[3] < 0.99f;
        if (pass != Pass::ghost && isTransparent != (pass == Pass::transparent)) continue;
        QOpenGLTexture* texture = pass == Pass::ghost ? nullptr : textureOf(part.material.image);
        if (texture) texture->bind();
        program_.setUniformValue("hasImage", texture != nullptr);
        program_.setUniformValue("colour", pass == Pass::ghost ? ghostColour
                                                               : QVector4D(c[0], c[1], c[2], c[3]));
        gl->glDrawElements(
            GL_TRIANGLES, static_cast<GLsizei>(3 * part.triangles), GL_UNSIGNED_INT,
            reinterpret_cast<const void*>(part.firstTriangle * sizeof(MeshTriangle)));
    }
}

void MeshRenderer::draw(const ViewportPicture& picture, const QSizeF& size) {
    if (size.isEmpty()) return;
    const View view(picture.camera, size.width(), size.height());
    const Mat3& axes = view.axes();
    QMatrix4x4 toEye, toScreen;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            toEye(r, c) =
                static_cast<float>(axes[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]);
    constexpr float reach = 1e5f; // of the farthest place from the nearest; beyond, depths meet
    const auto near = static_cast<float>(view.nearest());
    toScreen.perspective(static_cast<float>(2 * viewHalfAngle * 180 / std::numbers::pi),
                         static_cast<float>(size.width() / size.height()), near, near * reach);

    QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
    gl->glEnable(GL_DEPTH_TEST);
    gl->glDepthMask(GL_TRUE);
    gl->glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    const auto drawAll = [&](const std::vector<Surface>& surfaces, Pass pass) {
        for (const Surface& surface : surfaces) {
            Model& model = modelOf(surface.shape);
            const bool wanted =
                pass == Pass::ghost || std::ranges::any_of(model.parts, [&](const MeshPart& part) {
                    return (part.material.colour[3] < 0.99f) == (pass == Pass::transparent);
                });
            if (!wanted) continue;
            program_.bind();
            program_.setUniformValue("toEye", toEye);
            program_.setUniformValue("toScreen", toScreen);
            place(model, surface, view.eye());
            drawParts(model, pass);
        }
    };
    gl->glDisable(GL_BLEND);
    drawAll(picture.surfaces, Pass::opaque);
    gl->glEnable(GL_BLEND);
    drawAll(picture.surfaces, Pass::transparent);
    drawAll(picture.ghosts, Pass::ghost);
    program_.release();
    forgetUnused();
}

// Shapes of a scene that is no longer shown, or of items that are hidden.
void MeshRenderer::forgetUnused() {
    std::erase_if(models_, [](const auto& model) { return !model.second->isUsed; });
    for (auto& [shape, model] : models_)
        model->isUsed = false;
    std::erase_if(textures_, [](const auto& texture) { return texture.first.use_count() == 1; });
}

} // namespace cadencora::stage
