// Surfaces by OpenGL, shaded by a light above the viewer's left.
#pragma once

#include "stage/desktop/canvas/picture.h"

#include <QOpenGLBuffer>
#include <QOpenGLShaderProgram>
#include <QOpenGLTexture>
#include <QOpenGLVertexArrayObject>

#include <map>
#include <memory>

namespace cadencora::stage {

// Made, used and ended with the context current.
class MeshRenderer {
public:
    MeshRenderer();

    // Into a screen of a size in pixels, whose depths have been cleared.
    void draw(const ViewportPicture& picture, const QSizeF& size);

private:
    struct Vertex {
        std::array<float, 3> place, normal; // in the world, from the eye on
    };
    struct Model { // what stays the same of a shape
        std::shared_ptr<const MeshShape> shape;
        QOpenGLVertexArrayObject layout;
        QOpenGLBuffer vertices{QOpenGLBuffer::VertexBuffer}, images{QOpenGLBuffer::VertexBuffer},
            triangles{QOpenGLBuffer::IndexBuffer};
        std::vector<MeshPart> parts;
        bool isUsed = false; // by the picture
    };
    enum class Pass { opaque, transparent, ghost };

    Model& modelOf(const std::shared_ptr<const MeshShape>& shape);
    QOpenGLTexture* textureOf(const std::shared_ptr<const std::string>& image);
    void place(Model& model, const Surface& surface, const Vec3& eye);
    void drawParts(Model& model, Pass pass);
    void forgetUnused();

    QOpenGLShaderProgram program_;
    std::map<const MeshShape*, std::unique_ptr<Model>> models_;
    // By the image's bytes, which are kept; null: they are no image that can be shown.
    std::map<std::shared_ptr<const std::string>, std::unique_ptr<QOpenGLTexture>> textures_;
    std::vector<Vertex> vertices_;
};

} // namespace cadencora::stage
