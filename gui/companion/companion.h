// Companion: ties the companion panel, the mascot's mood and the Ready
// notifications to the model and the main window. It owns the panel (a top-level
// window of its own) and shows or hides it for the tray menu and the Companion page.
// Main thread only; `model` and `window` must outlive it.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <memory>

#include "gui/app_model.h"
#include "gui/companion/companion_panel.h"
#include "gui/companion/desktop_notifier.h"
#include "gui/companion/ready_notice.h"

class QMenu;
class QSystemTrayIcon;

namespace kelo::gui {

class Companion : public QObject {
public:
    Companion(AppModel& model, QWidget& window);
    ~Companion() override;

    CompanionPanel& panel() { return *panel_; }
    bool isShown() const { return panel_->isVisible(); }
    void setShown(bool shown);
    // Shows the panel when the user chose to have it at start.
    void showAtStartIfChosen();
    void setReduceMotion(bool reduce);
    void setMascotName(const QString& name);

    // Adds "show/hide the companion" to the tray menu and lets notifications fall
    // back to the tray's message.
    void attachTray(QSystemTrayIcon* tray, QMenu* menu);

private:
    void refresh();
    void checkReady();
    double now() const { return static_cast<double>(clock_.elapsed()) / 1000.0; }

    AppModel& model_;
    QWidget& window_;
    std::unique_ptr<CompanionPanel> panel_;
    MoodTracker mood_;
    ReadyNotice readyNotice_;
    DesktopNotifier notifier_;
    QElapsedTimer clock_;
    QTimer moodTimer_;   // moods change with time alone (happy ends, sleep comes); runs while shown
    QTimer readyLater_;  // sends news the one-a-minute rule held back
};

}  // namespace kelo::gui
