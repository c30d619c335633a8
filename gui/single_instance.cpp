#include "gui/single_instance.h"

#include <unistd.h>

#include <QCryptographicHash>
#include <QLocalSocket>

namespace kelo::gui {

namespace {
const QByteArray kAcknowledged = QByteArrayLiteral("ok");
}

QString SingleInstance::serverNameFor(const std::filesystem::path& dataDirectory) {
    const QByteArray hash =
        QCryptographicHash::hash(QByteArray::fromStdString(dataDirectory.lexically_normal().string()),
                                 QCryptographicHash::Sha256)
            .toHex()
            .left(16);
    return QStringLiteral("kelo-%1-%2").arg(::getuid()).arg(QString::fromLatin1(hash));
}

bool SingleInstance::askRunningToShow(const QString& serverName, int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(serverName);
    if (!socket.waitForConnected(timeoutMs)) return false;
    socket.write(kOpenMainWindow + '\n');
    if (!socket.waitForBytesWritten(timeoutMs)) return false;
    while (!socket.canReadLine())
        if (!socket.waitForReadyRead(timeoutMs)) return false;
    return socket.readLine().trimmed() == kAcknowledged;
}

SingleInstance::SingleInstance(const QString& serverName, std::function<void()> onOpenRequest)
    : onOpenRequest_(std::move(onOpenRequest)) {
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_.listen(serverName) && server_.serverError() == QAbstractSocket::AddressInUseError) {
        QLocalServer::removeServer(serverName);
        server_.listen(serverName);
    }
    QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) {
            QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket] {
                while (socket->canReadLine()) {
                    if (socket->readLine().trimmed() != kOpenMainWindow) continue;
                    onOpenRequest_();
                    socket->write(kAcknowledged + '\n');
                    socket->flush();
                }
            });
        }
    });
}

}  // namespace kelo::gui
