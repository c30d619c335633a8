// SingleInstance: one Kelo window per data directory. The first launch listens on a
// local socket; a second launch sends it the request "keloOpenMainWindow", waits
// for the answer, and exits. Main thread only, except askRunningToShow, which
// blocks and may run on any thread.
#pragma once

#include <QLocalServer>
#include <QString>
#include <filesystem>
#include <functional>

namespace kelo::gui {

class SingleInstance {
public:
    static inline const QByteArray kOpenMainWindow = QByteArrayLiteral("keloOpenMainWindow");

    // A socket name private to this user and data directory.
    static QString serverNameFor(const std::filesystem::path& dataDirectory);

    // Asks the instance listening on `serverName` to show its main window; true
    // when it acknowledged the request.
    static bool askRunningToShow(const QString& serverName, int timeoutMs = 2000);

    // Listens on `serverName`, replacing a socket left behind by a crashed instance
    // (call askRunningToShow first). `onOpenRequest` runs on the main thread.
    SingleInstance(const QString& serverName, std::function<void()> onOpenRequest);

    bool listening() const { return server_.isListening(); }

private:
    QLocalServer server_;
    std::function<void()> onOpenRequest_;
};

}  // namespace kelo::gui
