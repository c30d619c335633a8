#include "gui/file_manager.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDesktopServices>
#include <QUrl>

namespace kelo::gui::FileManager {

namespace {

QUrl urlOf(const std::filesystem::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path.string()));
}

}  // namespace

bool openWithDefaultApp(const std::filesystem::path& file) {
    return QDesktopServices::openUrl(urlOf(file));
}

bool showInFolder(const std::filesystem::path& file) {
    QDBusInterface manager(QStringLiteral("org.freedesktop.FileManager1"),
                           QStringLiteral("/org/freedesktop/FileManager1"),
                           QStringLiteral("org.freedesktop.FileManager1"), QDBusConnection::sessionBus());
    if (manager.isValid()) {
        const QDBusMessage reply =
            manager.call(QStringLiteral("ShowItems"), QStringList{urlOf(file).toString()}, QString());
        if (reply.type() == QDBusMessage::ReplyMessage) return true;
    }
    QDesktopServices::openUrl(urlOf(file.parent_path()));
    return false;
}

}  // namespace kelo::gui::FileManager
