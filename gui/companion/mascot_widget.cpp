#include "gui/companion/mascot_widget.h"

#include <QEvent>
#include <QPainter>

#include "gui/companion/mascot_painter.h"

namespace kelo::gui {

MascotWidget::MascotWidget(QWidget* parent, std::uint32_t seed) : QWidget(parent), blinks_(seed) {
    setAttribute(Qt::WA_TranslucentBackground);
    setMinimumSize(48, 48);
    clock_.start();
    timer_.setInterval(kFrameIntervalMs);
    timer_.setTimerType(Qt::CoarseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { update(); });
}

void MascotWidget::setMood(Mood mood) {
    if (mood == mood_) return;
    mood_ = mood;
    update();
}

void MascotWidget::setReduceMotion(bool reduce) {
    reduceMotion_ = reduce;
    updateTimer();
    update();
}

void MascotWidget::paintEvent(QPaintEvent*) {
    ++frames_;
    QPainter painter(this);
    paintMascot(painter, QRectF(rect()), poseFor(mood_, seconds(), blinks_, reduceMotion_));
}

void MascotWidget::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (QWidget* top = window(); top != this) top->installEventFilter(this);  // to see minimising
    updateTimer();
}

void MascotWidget::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    updateTimer();
}

bool MascotWidget::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::WindowStateChange) updateTimer();
    return QWidget::eventFilter(watched, event);
}

void MascotWidget::updateTimer() {
    const bool shown = isVisible() && !window()->isMinimized();
    if (shown && !reduceMotion_)
        timer_.start();
    else
        timer_.stop();
}

}  // namespace kelo::gui
