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

#ifndef KELO_INSTALL_BINDIR
#define KELO_INSTALL_BINDIR "/usr/local/bin"
#endif

const QString kIconName = QStringLiteral("app.kelo.Kelo");

bool installed() {
    return QFileInfo(QCoreApplication::applicationFilePath()).canonicalPath() ==
           QFileInfo(QStringLiteral(KELO_INSTALL_BINDIR)).canonicalFilePath();
}

// The program as one quoted Exec argument: `"`, `` ` ``, `$` and `\` take a backslash
// inside the quotes, then every backslash is doubled for the string value.
QByteArray desktopEntry() {
    QString exec;
    const QString program =
        BackgroundMode::autostartProgram(QCoreApplication::applicationFilePath(), QStringLiteral(KELO_INSTALL_BINDIR));
    for (const QChar c : program) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\') exec += u'\\';
        exec += c;
    }
    exec.replace(QStringLiteral("\\"), QStringLiteral("\\\\"));
    return QStringLiteral(
               "[Desktop Entry]\n"
               "Type=Application\n"
               "Name=Kelo\n"
               "Exec=\"%1\"\n"
               "%2"
               "X-GNOME-Autostart-enabled=true\n")
        .arg(exec, installed() ? QStringLiteral("Icon=") + kIconName + u'\n' : QString())
        .toUtf8();
}

}  // namespace

QString BackgroundMode::autostartProgram(const QString& running, const QString& installedBinDir) {
    const QFileInfo program(running);
    const QString installedDir = QFileInfo(installedBinDir).canonicalFilePath();
    if (!installedDir.isEmpty() && program.canonicalPath() == installedDir)
        return QDir(installedBinDir).filePath(program.fileName());
    return running;
}

QIcon BackgroundMode::applicationIcon() {
    return QIcon::fromTheme(kIconName, QIcon(QStringLiteral(":/kelo/app.kelo.Kelo.png")));
}

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
