#include "stage/desktop/widgets/look.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace cadencora::stage {

QPalette lookPalette(Look look) {
    const bool dark = look == Look::dark;
    QPalette palette(dark ? QColor(53, 53, 53) : QColor(239, 239, 239));
    palette.setColor(QPalette::Base, dark ? QColor(35, 35, 35) : QColor(Qt::white));
    palette.setColor(QPalette::AlternateBase, dark ? QColor(45, 45, 45) : QColor(247, 247, 247));
    palette.setColor(QPalette::Highlight, dark ? QColor(52, 120, 190) : QColor(48, 140, 198));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, dark ? QColor(70, 70, 70) : QColor(255, 255, 230));
    palette.setColor(QPalette::ToolTipText, dark ? QColor(Qt::white) : QColor(Qt::black));
    palette.setColor(QPalette::Link, dark ? QColor(110, 175, 255) : QColor(10, 90, 180));
    const QColor faint = dark ? QColor(150, 150, 150) : QColor(105, 105, 105);
    palette.setColor(QPalette::PlaceholderText, faint);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, dark ? QColor(120, 120, 120) : faint);
    return palette;
}

void applyLook(Look look) {
    static const QPalette system = QApplication::palette(); // as the program began
    QApplication::setPalette(look == Look::system ? system : lookPalette(look));
}

QIcon programIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        QPixmap picture(size, size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 64.0, size / 64.0);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(38, 52, 74));
        painter.drawRoundedRect(QRectF(2, 2, 60, 60), 12, 12);
        QPainterPath curve(QPointF(10, 44));
        curve.cubicTo(QPointF(22, 44), QPointF(20, 16), QPointF(32, 16));
        curve.cubicTo(QPointF(44, 16), QPointF(42, 44), QPointF(54, 44));
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(120, 190, 255), 4, Qt::SolidLine, Qt::RoundCap));
        painter.drawPath(curve);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(255, 176, 60));
        for (const QPointF& key : {QPointF(10, 44), QPointF(32, 16), QPointF(54, 44)})
            painter.drawPolygon(QPolygonF{key + QPointF(0, -6), key + QPointF(6, 0),
                                          key + QPointF(0, 6), key + QPointF(-6, 0)});
        painter.end();
        icon.addPixmap(picture);
    }
    return icon;
}

} // namespace cadencora::stage
