// BackgroundMode: how Kelo lives while no window is shown, and whether it starts at
// login. Closing the window never quits; with "kelo_hide_dock_when_closed" on (the
// default) the window hides and only the tray icon remains, otherwise it is
// minimised and stays in the task bar. The choice is kept in the user's QSettings.
// Starting at login is an XDG autostart entry, $XDG_CONFIG_HOME/autostart/kelo.desktop.
// Main thread only.
#pragma once

#include <QString>

namespace kelo::gui {

class BackgroundMode {
public:
    static inline const QString kHideDockKey = QStringLiteral("kelo_hide_dock_when_closed");

    static bool hideWhenClosed();
    static void setHideWhenClosed(bool hide);

    // Whether the autostart entry exists now, as read from disk.
    static bool isLaunchAtLoginEnabled();
    // Writes or removes the autostart entry. A failure goes to the diagnostic log
    // only; callers read isLaunchAtLoginEnabled() afterwards for the real state.
    static void setLaunchAtLogin(bool enabled);
};

}  // namespace kelo::gui
