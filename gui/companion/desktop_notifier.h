// DesktopNotifier: sends one notification through the freedesktop notification
// service on the session bus, or, where no such service answers, as the tray
// icon's message. Main thread only.
#pragma once

#include <QString>

class QSystemTrayIcon;

namespace kelo::gui {

class DesktopNotifier {
public:
    // `tray` may be null (no tray on this desktop); it must outlive the notifier.
    explicit DesktopNotifier(QSystemTrayIcon* tray = nullptr) : tray_(tray) {}
    void setTray(QSystemTrayIcon* tray) { tray_ = tray; }

    enum class Route { service, tray, none };
    // Shows `body` under the title "Kelo"; says which way it went.
    Route notify(const QString& body);

private:
    QSystemTrayIcon* tray_;
};

}  // namespace kelo::gui
