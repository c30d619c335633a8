#include "gui/companion/desktop_notifier.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSystemTrayIcon>
#include <QVariantMap>

namespace kelo::gui {

namespace {
const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
}  // namespace

DesktopNotifier::Route DesktopNotifier::notify(const QString& body) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    // Called directly rather than looked up first: a notification daemon is often
    // started by the bus on the first call. No daemon answers with an error at once.
    if (bus.isConnected()) {
        QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
        call << QStringLiteral("Kelo") << 0u << QStringLiteral("app.kelo.Kelo") << QStringLiteral("Kelo") << body
             << QStringList() << QVariantMap() << -1;
        const QDBusMessage reply = bus.call(call, QDBus::Block, 2000);
        if (reply.type() == QDBusMessage::ReplyMessage) return Route::service;
    }
    if (tray_ && tray_->isVisible()) {
        tray_->showMessage(QStringLiteral("Kelo"), body, QSystemTrayIcon::Information);
        return Route::tray;
    }
    return Route::none;
}

}  // namespace kelo::gui
