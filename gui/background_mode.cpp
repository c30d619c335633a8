#include "gui/background_mode.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QtDebug>

namespace kelo::gui {

namespace {

QString autostartEntry() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/kelo.desktop");
}

// The program as one quoted Exec argument: `"`, `` ` ``, `$` and `\` take a backslash
// inside the quotes, then every backslash is doubled for the string value.
QByteArray desktopEntry() {
    QString exec;
    for (const QChar c : QCoreApplication::applicationFilePath()) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') exec += u'\\';
        exec += c;
    }
    exec.replace(QStringLiteral("\\"), QStringLiteral("\\\\"));
    return QStringLiteral(
               "[Desktop Entry]\n"
               "Type=Application\n"
               "Name=Kelo\n"
               "Exec=\"%1\"\n"
               "X-GNOME-Autostart-enabled=true\n")
        .arg(exec)
        .toUtf8();
}

}  // namespace

bool BackgroundMode::hideWhenClosed() {
    return QSettings().value(kHideDockKey, true).toBool();
}

void BackgroundMode::setHideWhenClosed(bool hide) {
    QSettings().setValue(kHideDockKey, hide);
}

bool BackgroundMode::isLaunchAtLoginEnabled() {
    return QFile::exists(autostartEntry());
}

void BackgroundMode::setLaunchAtLogin(bool enabled) {
    const QString path = autostartEntry();
    QString error;
    if (enabled) {
        const QString folder = QFileInfo(path).path();
        QSaveFile file(path);
        if (!QDir().mkpath(folder))
            error = QStringLiteral("cannot create ") + folder;
        else if (!file.open(QIODevice::WriteOnly) || file.write(desktopEntry()) < 0 || !file.commit())
            error = file.errorString();
    } else if (QFile::exists(path)) {
        QFile file(path);
        if (!file.remove()) error = file.errorString();
    }
    if (!error.isEmpty()) qWarning().noquote() << "Failed to update the autostart entry: " + error;
}

}  // namespace kelo::gui
