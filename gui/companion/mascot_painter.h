// paintMascot: draws the mascot, a small folder with a face, in a pose, from vector
// paths only (no image files), so it is sharp at any scale. Any thread that owns
// the QPainter may call it; it keeps no state.
#pragma once

#include <QRectF>

#include "gui/companion/mascot_pose.h"

class QPainter;

namespace kelo::gui {

// Fits the mascot into the largest square centred in `area`; restores the painter.
void paintMascot(QPainter& painter, const QRectF& area, const MascotPose& pose);

}  // namespace kelo::gui
