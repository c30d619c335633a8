// MascotWidget: shows the mascot in a mood. It animates at most 30 frames a second
// and only while it is shown: hidden, minimised or with reduce motion on, its timer
// is stopped and it draws nothing until something changes. Main thread only.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <functional>

#include "gui/companion/mascot_pose.h"

namespace kelo::gui {

class MascotWidget : public QWidget {
public:
    // `seed` picks the blink intervals; the companion seeds from the time it starts.
    explicit MascotWidget(QWidget* parent = nullptr, std::uint32_t seed = 1);

    void setMood(Mood mood);
    Mood mood() const { return mood_; }
    void setReduceMotion(bool reduce);
    bool reduceMotion() const { return reduceMotion_; }

    // Whether the frame timer runs now.
    bool animating() const { return timer_.isActive(); }
    // Frames painted since the widget was made: what a hidden mascot must not add to.
    int framesDrawn() const { return frames_; }

    QSize sizeHint() const override { return {96, 96}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void updateTimer();
    double seconds() const { return static_cast<double>(clock_.elapsed()) / 1000.0; }

    Mood mood_ = Mood::idle;
    bool reduceMotion_ = false;
    BlinkSchedule blinks_;
    QElapsedTimer clock_;
    QTimer timer_;
    int frames_ = 0;
};

}  // namespace kelo::gui
