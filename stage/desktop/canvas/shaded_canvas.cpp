#include "stage/desktop/canvas/flat_renderer.h"
#include "stage/desktop/canvas/mesh_renderer.h"
#include "stage/desktop/canvas/viewport_canvas.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLPaintDevice>
#include <QOpenGLWidget>
#include <QPainter>

namespace cadencora::stage {

namespace {

// Several samples in a pixel halve the speed of OpenGL by software.
bool isSoftware() {
    const auto* name = QOpenGLContext::currentContext()->functions()->glGetString(GL_RENDERER);
    const QByteArray renderer(reinterpret_cast<const char*>(name));
    return renderer.contains("llvmpipe") || renderer.contains("softpipe") ||
           renderer.contains("SwiftShader");
}

int samplesOfPixel = 4; // by canShade()

QSurfaceFormat shadedFormat() {
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    format.setSamples(samplesOfPixel);
    return format;
}

class ShadedCanvas : public QOpenGLWidget {
public:
    ShadedCanvas(MakePicture picture, QWidget* parent)
        : QOpenGLWidget(parent), picture_(std::move(picture)) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFormat(shadedFormat());
    }
    ~ShadedCanvas() override { end(); }

private:
    void initializeGL() override {
        connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { end(); });
        flat_.emplace();
        meshes_.emplace();
    }

    void end() {
        if (!flat_) return;
        makeCurrent();
        flat_.reset();
        meshes_.reset();
        doneCurrent();
    }

    void paintGL() override {
        const ViewportPicture picture = picture_();
        QOpenGLFunctions* gl = context()->functions();
        gl->glClearColor(picture.ground.redF(), picture.ground.greenF(), picture.ground.blueF(), 1);
        gl->glDepthMask(GL_TRUE);
        gl->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const QSizeF size = this->size();
        flat_->draw(picture.below, size);
        meshes_->draw(picture, size);
        flat_->draw(picture.over, size);
        gl->glDisable(GL_DEPTH_TEST);
        // Not on the widget itself: while that is grabbed, a painter on it draws elsewhere.
        QOpenGLPaintDevice device(size.toSize() * devicePixelRatioF());
        device.setDevicePixelRatio(devicePixelRatioF());
        QPainter painter(&device);
        painter.setRenderHint(QPainter::Antialiasing);
        picture.paintWords(painter);
    }

    MakePicture picture_;
    std::optional<FlatRenderer> flat_;
    std::optional<MeshRenderer> meshes_;
};

} // namespace

bool canShade() {
    // Platforms without windows say so only in a warning.
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
        return false;
    QOpenGLContext context;
    context.setFormat(shadedFormat());
    QOffscreenSurface surface;
    surface.setFormat(shadedFormat());
    if (!context.create()) return false;
    surface.create();
    if (!surface.isValid() || !context.makeCurrent(&surface)) return false;
    const bool isNew = context.format().version() >= std::pair(3, 3) && !context.isOpenGLES();
    if (isNew && isSoftware()) samplesOfPixel = 0;
    context.doneCurrent();
    return isNew;
}

QWidget* makeShadedCanvas(MakePicture picture, QWidget* parent) {
    return new ShadedCanvas(std::move(picture), parent);
}

} // namespace cadencora::stage
