// The desktop app's look in one place: Fusion with a light or a dark palette that
// follows the desktop's colour-scheme preference, one accent colour, an 8-pixel
// spacing grid, and the style sheet every page and dialog shares. Pages keep no
// colours of their own; they ask here (stateColor for a file's state chip).
// Main thread only.
#pragma once

#include <QColor>
#include <QString>

#include "classify/classification.h"

class QApplication;

namespace kelo::gui::Style {

enum class Scheme { light, dark };

inline constexpr int kGrid = 8;  // every margin and gap is a multiple of this

// KELO_COLOR_SCHEME=dark|light when set; else the desktop's preference (GNOME's
// color-scheme setting, then a GTK theme whose name ends in "dark"); else light.
Scheme preferred();

// Sets the style, the palette and the shared style sheet on the whole application.
void apply(QApplication& app, Scheme scheme);
Scheme current();

QColor accent();
// The chip colour of a file's state: Ready green, Probably amber, No Idea grey.
QColor stateColor(ConfidenceState state);

}  // namespace kelo::gui::Style
