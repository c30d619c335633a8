#include "gui/sticker_canvas.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>
#include <numbers>

#include "gui/project_icons.h"

namespace kelo::gui {

StickerCanvas::StickerCanvas(ArtworkEditor& editor, std::function<void()> changed, QWidget* parent)
    : QWidget(parent), editor_(editor), changed_(std::move(changed)) {
    setObjectName(QStringLiteral("stickerCanvas"));
    setAcceptDrops(true);
    setMinimumSize(256, 256);
    refresh();
}

void StickerCanvas::refresh() {
    image_ = artworkImage(editor_.artwork(), 512);
    update();
}

QRectF StickerCanvas::iconRect() const {
    const double edge = std::min(width(), height());
    return {(width() - edge) / 2, (height() - edge) / 2, edge, edge};
}

QPointF StickerCanvas::fraction(const QPointF& point) const {
    const QRectF rect = iconRect();
    return {(point.x() - rect.x()) / rect.width(), (point.y() - rect.y()) / rect.height()};
}

double StickerCanvas::angleAt(const QPointF& point) const {
    if (!selected_) return 0;
    for (const auto& placed : editor_.stickers()) {
        if (placed.index != *selected_) continue;
        const QPointF at = fraction(point);
        return std::atan2(at.y() - placed.sticker.y, at.x() - placed.sticker.x) * 180 / std::numbers::pi;
    }
    return 0;
}

void StickerCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.fillRect(rect(), palette().base());
    painter.drawImage(iconRect(), image_);
    if (!selected_) return;
    for (const auto& placed : editor_.stickers()) {
        if (placed.index != *selected_) continue;
        const QRectF rect = iconRect();
        const double radius = placed.sticker.scale / 2 * rect.width();
        const QPointF centre(rect.x() + placed.sticker.x * rect.width(), rect.y() + placed.sticker.y * rect.height());
        painter.setPen(QPen(palette().highlight(), 2, Qt::DashLine));
        painter.drawEllipse(centre, radius, radius);
    }
}

void StickerCanvas::mousePressEvent(QMouseEvent* event) {
    const QPointF at = fraction(event->position());
    selected_ = editor_.stickerAt(at.x(), at.y());
    gesture_ = Gesture::none;
    if (selected_) {
        gestureStarted_ = false;
        if (event->button() == Qt::RightButton) {
            gesture_ = Gesture::turning;
            lastAngle_ = angleAt(event->position());
        } else {
            gesture_ = Gesture::moving;
            for (const auto& placed : editor_.stickers())
                if (placed.index == *selected_) grabOffset_ = at - QPointF(placed.sticker.x, placed.sticker.y);
        }
    }
    changed_();
}

void StickerCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (!selected_ || gesture_ == Gesture::none) return;
    if (!gestureStarted_) {  // a click that never moves leaves nothing to undo
        editor_.beginGesture();
        gestureStarted_ = true;
    }
    if (gesture_ == Gesture::moving) {
        const QPointF at = fraction(event->position()) - grabOffset_;
        editor_.moveSticker(*selected_, at.x(), at.y());
    } else {
        const double angle = angleAt(event->position());
        editor_.rotateSticker(*selected_, angle - lastAngle_);
        lastAngle_ = angle;
    }
    changed_();
}

void StickerCanvas::mouseReleaseEvent(QMouseEvent*) {
    gesture_ = Gesture::none;
}

void StickerCanvas::wheelEvent(QWheelEvent* event) {
    const QPointF at = fraction(event->position());
    const auto hit = editor_.stickerAt(at.x(), at.y());
    if (!hit) return;
    selected_ = hit;
    const double steps = event->angleDelta().y() / 120.0;
    editor_.beginGesture();
    if (event->modifiers() & Qt::ShiftModifier)
        editor_.rotateSticker(*hit, 15 * steps);
    else
        editor_.scaleSticker(*hit, std::pow(1.1, steps));
    changed_();
    event->accept();
}

void StickerCanvas::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat(kStickerMimeType)) event->acceptProposedAction();
}

void StickerCanvas::dropEvent(QDropEvent* event) {
    const QString dropped = QString::fromUtf8(event->mimeData()->data(kStickerMimeType));
    if (!dropped.startsWith(QStringLiteral("symbol:"))) return;
    const QPointF at = fraction(event->position());
    Sticker sticker;
    sticker.value = dropped.mid(7).toStdString();
    sticker.x = std::clamp(at.x(), 0.0, 1.0);
    sticker.y = std::clamp(at.y(), 0.0, 1.0);
    selected_ = editor_.addSticker(sticker);
    event->acceptProposedAction();
    changed_();
}

}  // namespace kelo::gui
