#include "gui/page_icons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QtMath>

namespace kelo::gui {

namespace {

// Draws the glyph in a 24 by 24 box.
void draw(QPainter& p, PageIcon which) {
    switch (which) {
        case PageIcon::overview:
            for (int x : {4, 13})
                for (int y : {4, 13}) p.drawRoundedRect(QRectF(x, y, 7, 7), 2, 2);
            break;
        case PageIcon::match: {  // a tray with an arrow dropping into it
            QPainterPath tray;
            tray.moveTo(3, 13);
            tray.lineTo(8, 13);
            tray.lineTo(9.5, 16);
            tray.lineTo(14.5, 16);
            tray.lineTo(16, 13);
            tray.lineTo(21, 13);
            tray.lineTo(21, 20);
            tray.lineTo(3, 20);
            tray.closeSubpath();
            p.drawPath(tray);
            p.drawLine(QPointF(12, 3), QPointF(12, 11));
            p.drawLine(QPointF(8.5, 7.5), QPointF(12, 11));
            p.drawLine(QPointF(15.5, 7.5), QPointF(12, 11));
            break;
        }
        case PageIcon::projects: {
            QPainterPath folder;
            folder.moveTo(3, 6.5);
            folder.lineTo(9, 6.5);
            folder.lineTo(11, 8.5);
            folder.lineTo(21, 8.5);
            folder.lineTo(21, 19);
            folder.lineTo(3, 19);
            folder.closeSubpath();
            p.drawPath(folder);
            break;
        }
        case PageIcon::history:
            p.drawEllipse(QPointF(12, 12), 8.5, 8.5);
            p.drawLine(QPointF(12, 12), QPointF(12, 7));
            p.drawLine(QPointF(12, 12), QPointF(15.5, 14));
            break;
        case PageIcon::companion:  // a small face
            p.drawRoundedRect(QRectF(4, 5, 16, 14), 5, 5);
            p.drawPoint(QPointF(9.5, 11));
            p.drawPoint(QPointF(14.5, 11));
            p.drawArc(QRectF(9, 11, 6, 4), 200 * 16, 140 * 16);
            break;
        case PageIcon::studio:  // a board with a pinned sheet
            p.drawRoundedRect(QRectF(3.5, 4.5, 17, 15), 2.5, 2.5);
            p.drawRect(QRectF(7.5, 9, 9, 7));
            p.drawEllipse(QPointF(12, 8.5), 1.4, 1.4);
            break;
        case PageIcon::settings: {
            p.drawEllipse(QPointF(12, 12), 3, 3);
            QPainterPath gear;
            for (int i = 0; i < 8; ++i) {
                const double a = i * M_PI / 4;
                const QPointF inner(12 + 6.2 * std::cos(a), 12 + 6.2 * std::sin(a));
                const QPointF outer(12 + 8.8 * std::cos(a), 12 + 8.8 * std::sin(a));
                p.drawLine(inner, outer);
            }
            p.drawEllipse(QPointF(12, 12), 6.2, 6.2);
            break;
        }
    }
}

QPixmap render(PageIcon which, const QColor& colour, int scale) {
    QPixmap pixmap(24 * scale, 24 * scale);
    pixmap.fill(Qt::transparent);
    pixmap.setDevicePixelRatio(scale);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    draw(painter, which);
    return pixmap;
}

}  // namespace

QIcon pageIcon(PageIcon which, const QPalette& palette) {
    QIcon icon;
    for (int scale : {1, 2, 3}) {
        icon.addPixmap(render(which, palette.color(QPalette::WindowText), scale), QIcon::Normal);
        icon.addPixmap(render(which, palette.color(QPalette::HighlightedText), scale), QIcon::Selected);
    }
    return icon;
}

}  // namespace kelo::gui
