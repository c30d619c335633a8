// BackgroundMode: how Kelo lives while no window is shown. Closing the window never
// quits; with "kelo_hide_dock_when_closed" on (the default) the window hides and
// only the tray icon remains, otherwise it is minimised and stays in the task bar.
// The choice is kept in the user's QSettings. Main thread only.
#pragma once

#include <QString>

namespace kelo::gui {

class BackgroundMode {
public:
    static inline const QString kHideDockKey = QStringLiteral("kelo_hide_dock_when_closed");

    static bool hideWhenClosed();
    static void setHideWhenClosed(bool hide);
};

}  // namespace kelo::gui
