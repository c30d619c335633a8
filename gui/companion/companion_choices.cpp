#include "gui/companion/companion_choices.h"

#include <QSettings>

#include "gui/companion/companion_texts.h"

namespace kelo::gui::CompanionChoices {

namespace {
const QString kShowAtStart = QStringLiteral("companion/showAtStart");
const QString kReduceMotion = QStringLiteral("companion/reduceMotion");
const QString kName = QStringLiteral("companion/name");
const QString kPosition = QStringLiteral("companion/position");
const QString kNotify = QStringLiteral("companion/notifyReady");
}  // namespace

bool showAtStart() {
    return QSettings().value(kShowAtStart, false).toBool();
}
void setShowAtStart(bool show) {
    QSettings().setValue(kShowAtStart, show);
}
bool reduceMotion() {
    return QSettings().value(kReduceMotion, false).toBool();
}
void setReduceMotion(bool reduce) {
    QSettings().setValue(kReduceMotion, reduce);
}
QString mascotName() {
    const QString name = QSettings().value(kName).toString().trimmed();
    return name.isEmpty() ? QString::fromUtf8(text::kCompanionDefaultName) : name;
}
void setMascotName(const QString& name) {
    QSettings().setValue(kName, name.trimmed());
}
std::optional<QPoint> panelPosition() {
    const QVariant value = QSettings().value(kPosition);
    if (!value.isValid()) return std::nullopt;
    return value.toPoint();
}
void setPanelPosition(QPoint position) {
    QSettings().setValue(kPosition, position);
}
bool notifyReady() {
    return QSettings().value(kNotify, true).toBool();
}
void setNotifyReady(bool on) {
    QSettings().setValue(kNotify, on);
}

}  // namespace kelo::gui::CompanionChoices
