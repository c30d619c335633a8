// CompanionChoices: what the user chose for the companion, kept in the user's
// QSettings (showing it at start, reduce motion, the mascot's name, where the panel
// stands, desktop notifications). Main thread only.
#pragma once

#include <QPoint>
#include <QString>
#include <optional>

namespace kelo::gui::CompanionChoices {

bool showAtStart();
void setShowAtStart(bool show);
bool reduceMotion();
void setReduceMotion(bool reduce);
// Never empty: the default name when none was given.
QString mascotName();
void setMascotName(const QString& name);
std::optional<QPoint> panelPosition();
void setPanelPosition(QPoint position);
bool notifyReady();  // on unless turned off
void setNotifyReady(bool on);

}  // namespace kelo::gui::CompanionChoices
