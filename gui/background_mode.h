// BackgroundMode: how Kelo lives while no window is shown, and whether it starts at
// login. Closing the window never quits; with "kelo_hide_dock_when_closed" on (the
// default) the window hides and only the tray icon remains, otherwise it is
// minimised and stays in the task bar. The choice is kept in the user's QSettings.
// Starting at login is an XDG autostart entry, $XDG_CONFIG_HOME/autostart/kelo.desktop.
// Main thread only.
#pragma once

#include <QIcon>
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

    // The program the autostart entry starts: the installed kelo-gui when `running`
    // is the copy in `installedBinDir`, otherwise `running` itself (a build folder, or
    // a copy installed under another prefix).
    static QString autostartProgram(const QString& running, const QString& installedBinDir);
    // Kelo's icon for windows and the tray: the icon theme's when Kelo is installed,
    // else the copy built into the program.
    static QIcon applicationIcon();
};

}  // namespace kelo::gui
