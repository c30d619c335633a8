// The sidebar's page icons, drawn here with QPainter as simple vector shapes (no
// image files), sharp at any scale: each is painted at 1x, 2x and 3x, in the text
// colour and in white for the selected row. Main thread only.
#pragma once

#include <QIcon>
#include <QPalette>

namespace kelo::gui {

enum class PageIcon { overview, match, projects, history, settings, companion, studio };

QIcon pageIcon(PageIcon which, const QPalette& palette);

}  // namespace kelo::gui
