#include "stage/desktop/canvas/viewport_canvas.h"

#include <QPainter>

namespace cadencora::stage {

namespace {

class LineCanvas : public QWidget {
public:
    LineCanvas(MakePicture picture, QWidget* parent)
        : QWidget(parent), picture_(std::move(picture)) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

private:
    void paintEvent(QPaintEvent*) override {
        const ViewportPicture picture = picture_();
        QPainter painter(this);
        painter.fillRect(rect(), picture.ground);
        painter.setRenderHint(QPainter::Antialiasing);
        paint(painter, picture.below);
        std::size_t lines = 0;
        for (const ScreenMesh& mesh : picture.lines)
            lines += mesh.facing.size() + mesh.away.size();
        constexpr std::size_t mostSmooth = 20'000; // lines; a frame takes no longer than it lasts
        painter.setRenderHint(QPainter::Antialiasing, lines <= mostSmooth);
        for (const ScreenMesh& mesh : picture.lines)
            paintMesh(painter, mesh, picture);
        painter.setRenderHint(QPainter::Antialiasing, picture.over.size() <= mostSmooth / 4);
        paint(painter, picture.over);
        painter.setRenderHint(QPainter::Antialiasing);
        picture.paintWords(painter);
    }

    static void paint(QPainter& painter, const std::vector<FlatShape>& shapes) {
        for (const FlatShape& shape : shapes) {
            if (shape.corners == 2) {
                painter.setPen(QPen(shape.colour, static_cast<double>(shape.width)));
                painter.drawLine(shape.points[0], shape.points[1]);
                continue;
            }
            painter.setPen(shape.edge.isValid() ? QPen(shape.edge, 1) : QPen(Qt::NoPen));
            painter.setBrush(shape.colour);
            painter.drawPolygon(shape.points.data(), shape.corners);
        }
    }

    // What faces away is faint, so that the shape is seen and not the net: the colours are mixed
    // here, since transparent lines take twice as long.
    static void paintMesh(QPainter& painter, const ScreenMesh& mesh,
                          const ViewportPicture& picture) {
        const QColor colour = picture.lineColour(mesh.item), ground = picture.ground;
        const auto draw = [&](const std::vector<ScreenLine>& lines, float share) {
            const auto mixed = [&](float own, float behind) {
                return behind + share * (own - behind);
            };
            QList<QLineF> all;
            all.reserve(static_cast<qsizetype>(lines.size()));
            for (const ScreenLine& line : lines)
                all.emplace_back(line.x1, line.y1, line.x2, line.y2);
            painter.setPen(QPen(QColor::fromRgbF(mixed(colour.redF(), ground.redF()),
                                                 mixed(colour.greenF(), ground.greenF()),
                                                 mixed(colour.blueF(), ground.blueF())),
                                1));
            painter.drawLines(all);
        };
        draw(mesh.away, 0.2f);
        draw(mesh.facing, 0.85f);
    }

    MakePicture picture_;
};

} // namespace

QWidget* makeLineCanvas(MakePicture picture, QWidget* parent) {
    return new LineCanvas(std::move(picture), parent);
}

} // namespace cadencora::stage
