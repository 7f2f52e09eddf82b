#include "stage/desktop/widgets/item_icons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPalette>

#include <cmath>
#include <numbers>

namespace cadencora::stage {

namespace {

// All in a square of 16.
void drawCube(QPainter& painter) {
    painter.drawPolygon(QPolygonF{{8, 1.5}, {14, 4.5}, {14, 11.5}, {8, 14.5}, {2, 11.5}, {2, 4.5}});
    painter.drawPolyline(QPolygonF{{2, 4.5}, {8, 7.5}, {14, 4.5}});
    painter.drawLine(QPointF(8, 7.5), QPointF(8, 14.5));
}

void drawLight(QPainter& painter) {
    painter.drawEllipse(QPointF(8, 8), 3, 3);
    for (int i = 0; i < 8; ++i) {
        const double angle = i * std::numbers::pi / 4;
        const QPointF way(std::cos(angle), std::sin(angle));
        painter.drawLine(QPointF(8, 8) + 4.5 * way, QPointF(8, 8) + 7 * way);
    }
}

void drawCamera(QPainter& painter) {
    painter.drawRoundedRect(QRectF(1.5, 4.5, 8.5, 7.5), 1.5, 1.5);
    painter.drawPolygon(QPolygonF{{10, 8.2}, {14.5, 5}, {14.5, 11.5}});
}

void drawBone(QPainter& painter) {
    painter.drawPolygon(QPolygonF{{3, 13}, {3.5, 8.5}, {14, 2}, {7.5, 12.5}});
    painter.drawLine(QPointF(3.5, 8.5), QPointF(7.5, 12.5));
}

} // namespace

QColor itemColour(ItemType type, bool dark) {
    switch (type) {
    case ItemType::object:
        return dark ? QColor(120, 170, 230) : QColor(60, 110, 180);
    case ItemType::light:
        return dark ? QColor(240, 205, 90) : QColor(190, 140, 0);
    case ItemType::camera:
        return dark ? QColor(190, 150, 230) : QColor(125, 80, 170);
    case ItemType::bone:
        return dark ? QColor(140, 205, 150) : QColor(50, 130, 75);
    }
    return {};
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Base).lightness() < 128;
}

namespace {

QPixmap itemPicture(ItemType type, const QColor& colour, int scale) {
    QPixmap picture(16 * scale, 16 * scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    painter.setPen(QPen(colour, 1.2));
    QColor fill = colour;
    fill.setAlpha(70);
    painter.setBrush(fill);
    switch (type) {
    case ItemType::object:
        drawCube(painter);
        break;
    case ItemType::light:
        drawLight(painter);
        break;
    case ItemType::camera:
        drawCamera(painter);
        break;
    case ItemType::bone:
        drawBone(painter);
        break;
    }
    painter.end();
    picture.setDevicePixelRatio(scale);
    return picture;
}

} // namespace

QIcon itemIcon(ItemType type, const QPalette& palette) {
    QIcon icon;
    for (const int scale : {1, 2, 3}) {
        icon.addPixmap(itemPicture(type, itemColour(type, isDark(palette)), scale));
        const QColor marked = palette.color(QPalette::HighlightedText);
        icon.addPixmap(itemPicture(type, marked, scale), QIcon::Selected);
    }
    return icon;
}

} // namespace cadencora::stage
