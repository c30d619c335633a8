#include "gui/companion/mascot_painter.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace kelo::gui {

namespace {

// Everything is drawn on a 100 x 100 grid, the body resting on y = 88.
constexpr double kGround = 88;
const QColor kInk(0x4a, 0x2f, 0x1b);

QColor bodyColour(Mood mood) {
    switch (mood) {
        case Mood::happy: return QColor(0xf7, 0xb5, 0x3c);
        case Mood::busy: return QColor(0xf2, 0xa3, 0x3a);
        case Mood::concerned: return QColor(0xe0, 0xa0, 0x5a);
        case Mood::asleep: return QColor(0xd9, 0x9a, 0x4a);
        case Mood::idle: break;
    }
    return QColor(0xf2, 0xa3, 0x3a);
}

void drawShadow(QPainter& p, const MascotPose& pose) {
    const double shrink = std::clamp(1.0 - pose.lift * 4, 0.5, 1.0);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0, 0, 0, 40));
    p.drawEllipse(QPointF(50, kGround + 3), 30 * shrink, 3.5 * shrink);
}

void drawBody(QPainter& p, const MascotPose& pose) {
    const QColor body = bodyColour(pose.mood);
    p.setPen(QPen(body.darker(150), 1.6));
    // The folder's back and its tab.
    QPainterPath back;
    back.addRoundedRect(QRectF(14, 26, 30, 14), 4, 4);
    back.addRoundedRect(QRectF(14, 31, 72, 30), 8, 8);
    p.setBrush(body.darker(118));
    p.drawPath(back.simplified());
    // The front flap, a little wider at the bottom.
    QPainterPath front;
    front.moveTo(16, 38);
    front.quadTo(16, 35, 20, 35);
    front.lineTo(80, 35);
    front.quadTo(84, 35, 84, 38);
    front.lineTo(86, 80);
    front.quadTo(86, kGround, 78, kGround);
    front.lineTo(22, kGround);
    front.quadTo(14, kGround, 14, 80);
    front.closeSubpath();
    QLinearGradient shade(0, 35, 0, kGround);
    shade.setColorAt(0, body.lighter(112));
    shade.setColorAt(1, body);
    p.setBrush(shade);
    p.drawPath(front);
    // Cheeks.
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xf0, 0x6e, 0x6e, pose.mood == Mood::happy ? 150 : 90));
    p.drawEllipse(QPointF(28, 68), 5.5, 3.2);
    p.drawEllipse(QPointF(72, 68), 5.5, 3.2);
}

void drawEye(QPainter& p, const MascotPose& pose, double x) {
    const double y = 56;
    if (pose.mood == Mood::happy && pose.eyeOpen > 0.5) {  // smiling eyes: upward arcs
        QPainterPath arc;
        arc.moveTo(x - 5, y + 2);
        arc.quadTo(x, y - 6, x + 5, y + 2);
        p.setPen(QPen(kInk, 2.6, Qt::SolidLine, Qt::RoundCap));
        p.setBrush(Qt::NoBrush);
        p.drawPath(arc);
        return;
    }
    if (pose.eyeOpen < 0.15) {  // closed: a soft downward curve
        QPainterPath lid;
        lid.moveTo(x - 5, y);
        lid.quadTo(x, y + 4, x + 5, y);
        p.setPen(QPen(kInk, 2.4, Qt::SolidLine, Qt::RoundCap));
        p.setBrush(Qt::NoBrush);
        p.drawPath(lid);
        return;
    }
    p.setPen(Qt::NoPen);
    p.setBrush(kInk);
    const double dx = pose.gaze * 1.8;
    p.drawEllipse(QPointF(x + dx, y), 4.2, 6.0 * pose.eyeOpen);
    p.setBrush(Qt::white);
    p.drawEllipse(QPointF(x + dx + 1.4, y - 2.2 * pose.eyeOpen), 1.4, 1.6 * pose.eyeOpen);
}

void drawFace(QPainter& p, const MascotPose& pose) {
    drawEye(p, pose, 38);
    drawEye(p, pose, 62);
    if (pose.mood == Mood::concerned) {  // brows raised in the middle
        p.setPen(QPen(kInk, 2.0, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(32, 47), QPointF(42, 44));
        p.drawLine(QPointF(58, 44), QPointF(68, 47));
    }
    QPainterPath mouth;
    const double width = 5 + 2 * std::max(0.0, pose.smile);
    mouth.moveTo(50 - width, 71);
    mouth.quadTo(50, 71 + 9 * pose.smile, 50 + width, 71);
    if (pose.smile > 0.8) {  // a wide smile opens
        mouth.quadTo(50, 71 + 3, 50 - width, 71);
        p.setPen(QPen(kInk, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(QColor(0xb8, 0x3b, 0x3b));
    } else {
        p.setPen(QPen(kInk, 2.2, Qt::SolidLine, Qt::RoundCap));
        p.setBrush(Qt::NoBrush);
    }
    p.drawPath(mouth);
}

void drawSweat(QPainter& p) {
    QPainterPath drop;
    drop.moveTo(85, 40);
    drop.cubicTo(88, 46, 90, 49, 90, 51);
    drop.arcTo(QRectF(80, 46, 10, 10), 0, -180);
    drop.cubicTo(80, 49, 82, 46, 85, 40);
    p.setPen(QPen(QColor(0x3a, 0x86, 0xc8), 1.2));
    p.setBrush(QColor(0x9b, 0xd1, 0xf5));
    p.drawPath(drop);
}

// Three dots circling above the head; the nearer ones larger.
void drawSpinner(QPainter& p, double phase) {
    p.setPen(Qt::NoPen);
    for (int i = 0; i < 3; ++i) {
        const double angle = 2 * M_PI * (phase + i / 3.0);
        const double depth = (std::sin(angle) + 1) / 2;  // 0 behind .. 1 in front
        p.setBrush(QColor(0x3a, 0x86, 0xc8, static_cast<int>(120 + 135 * depth)));
        p.drawEllipse(QPointF(50 + 20 * std::cos(angle), 16 + 5 * std::sin(angle)), 2.4 + 1.6 * depth,
                      2.4 + 1.6 * depth);
    }
}

// One "z" as three strokes.
void drawZ(QPainter& p, QPointF at, double size, int alpha) {
    QPainterPath z;
    z.moveTo(at);
    z.lineTo(at + QPointF(size, 0));
    z.lineTo(at + QPointF(0, size));
    z.lineTo(at + QPointF(size, size));
    p.setPen(
        QPen(QColor(0x55, 0x6b, 0x8a, alpha), std::max(1.2, size / 4), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(z);
}

void drawSleep(QPainter& p, double phase) {
    for (int i = 0; i < 2; ++i) {
        const double t = std::fmod(phase + i * 0.5, 1.0);
        drawZ(p, QPointF(74 + 10 * t, 26 - 20 * t), 5 + 5 * t, static_cast<int>(255 * (1 - t * t)));
    }
}

}  // namespace

void paintMascot(QPainter& painter, const QRectF& area, const MascotPose& pose) {
    const double side = std::min(area.width(), area.height());
    if (side <= 0) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(area.center().x() - side / 2, area.center().y() - side / 2);
    painter.scale(side / 100.0, side / 100.0);

    drawShadow(painter, pose);
    painter.save();
    painter.translate(50, kGround - pose.lift * 100);
    painter.rotate(pose.tilt);
    painter.scale(1.0 / std::sqrt(pose.squash), pose.squash);  // keeps the body's area while breathing
    painter.translate(-50, -kGround);
    drawBody(painter, pose);
    drawFace(painter, pose);
    if (pose.sweat) drawSweat(painter);
    painter.restore();
    if (pose.spinner >= 0) drawSpinner(painter, pose.spinner);
    if (pose.zzz >= 0) drawSleep(painter, pose.zzz);
    painter.restore();
}

}  // namespace kelo::gui
