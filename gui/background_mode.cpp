#include "gui/background_mode.h"

#include <QSettings>

namespace kelo::gui {

bool BackgroundMode::hideWhenClosed() {
    return QSettings().value(kHideDockKey, true).toBool();
}

void BackgroundMode::setHideWhenClosed(bool hide) {
    QSettings().setValue(kHideDockKey, hide);
}

}  // namespace kelo::gui
