// AppModel: the desktop app's presentation model. It owns the EngineWorker, sends it
// the user's commands and publishes each Snapshot the engine hands back. The engine
// runs commands on its own thread; the model polls the pending futures from the
// event loop, so the window keeps painting while a command runs and every snapshot
// or refusal is delivered on the main thread, in the order the commands were sent.
//
// Main thread only. Holds no file-system logic: everything it does to files is an
// EngineCommand (see engine_actions.h).
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <deque>
#include <filesystem>
#include <future>
#include <memory>
#include <utility>
#include <vector>

#include "engine/engine_worker.h"
#include "engine/snapshot.h"
#include "gui/engine_actions.h"

namespace kelo::gui {

class AppModel : public QObject {
    Q_OBJECT

public:
    explicit AppModel(QObject* parent = nullptr);
    ~AppModel() override;

    // Starts the engine on `dataDirectory` in the background and asks for its first
    // snapshot; busy() until it has started. When the engine cannot start,
    // startupFailure() says why and every command is refused.
    void start(const std::filesystem::path& dataDirectory);
    // The same on an injected clock, for tests.
    void start(const std::filesystem::path& dataDirectory, Clock clock);

    bool canOperate() const { return worker_ != nullptr; }
    // The running engine, for work that runs beside it (duplicate search, packing);
    // null when it did not start.
    EngineWorker* worker() const { return worker_.get(); }
    const QString& startupFailure() const { return startupFailure_; }
    // The time on the engine's clock, for what the window counts from it (today's
    // online AI usage).
    Date now() const { return clock_(); }
    // The last snapshot the engine handed back; null until the first arrives.
    const SnapshotPtr& snapshot() const { return snapshot_; }
    bool busy() const { return starting_.valid() || !pending_.empty(); }
    // Read-only work running beside the engine (a duplicate search): not a command,
    // so busy() ignores it, but the mascot shows it. Each begin needs one end.
    void beginBackgroundWork();
    void endBackgroundWork();
    bool backgroundBusy() const { return backgroundWork_ > 0; }
    // The name of the command the engine is working on, while busy.
    QString busyLabel() const;
    // The last command's refusal, verbatim; cleared by the next snapshot.
    const QString& refusal() const { return refusal_; }

    // Sends `command` to the engine; a stopped engine is reported as a refusal
    // instead.
    void submit(const QString& label, EngineCommand command);

    void scan();
    void updateSettings(Settings settings);
    void addGrant(const std::filesystem::path& folder, FolderGrant::Role role);
    void removeGrant(const std::string& grantId);
    void reconnectGrant(const std::string& grantId, const std::filesystem::path& folder);

Q_SIGNALS:
    void snapshotChanged();
    void busyChanged(bool busy);
    void refused(const QString& message);
    // After snapshotChanged, when the snapshot came from a scan.
    void scanned();

private:
    struct Pending {
        QString label;
        std::future<SnapshotPtr> result;
    };

    void startPolling();
    void finishStart();
    void deliverFinished();
    void refuse(const QString& message);

    std::unique_ptr<EngineWorker> worker_;
    std::future<std::unique_ptr<EngineWorker>> starting_;     // valid while the engine starts
    std::vector<std::pair<QString, EngineCommand>> waiting_;  // commands sent while it starts
    QString startupFailure_;
    Clock clock_ = Date::now;
    SnapshotPtr snapshot_;
    QString refusal_;
    std::deque<Pending> pending_;  // in the order sent, which is the order the engine runs them
    QTimer poll_;
    int backgroundWork_ = 0;
};

}  // namespace kelo::gui
