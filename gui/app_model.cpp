#include "gui/app_model.h"

#include <chrono>
#include <exception>

#include "engine/engine_worker.h"
#include "engine/persistent_data.h"
#include "gui/texts.h"

namespace kelo::gui {

namespace {
// How often the event loop looks at the engine while a command runs: often enough
// to feel immediate, rare enough to cost nothing.
constexpr std::chrono::milliseconds kPollInterval{15};
}  // namespace

AppModel::AppModel(QObject* parent) : QObject(parent) {
    poll_.setInterval(kPollInterval);
    connect(&poll_, &QTimer::timeout, this, &AppModel::deliverFinished);
}

// Destroying the worker finishes the commands already sent (and a start-up under
// way); their results are dropped.
AppModel::~AppModel() = default;

// The engine starts on a thread of its own (loading the stores and checkpointing a
// long journal can take a moment), so the window paints at once. Commands sent
// meanwhile wait for it and run after the first scan.
void AppModel::start(const std::filesystem::path& dataDirectory) {
    start(dataDirectory, Date::now);
}

void AppModel::start(const std::filesystem::path& dataDirectory, Clock clock) {
    const bool wasBusy = busy();
    startupFailure_.clear();
    clock_ = clock;
    starting_ = std::async(std::launch::async, [dataDirectory, clock = std::move(clock)] {
        return std::make_unique<EngineWorker>(dataDirectory, clock);
    });
    if (!wasBusy) startPolling();
}

QString AppModel::busyLabel() const {
    if (starting_.valid()) return text::kCommandStart;
    return pending_.empty() ? QString() : pending_.front().label;
}

void AppModel::submit(const QString& label, EngineCommand command) {
    if (starting_.valid()) {
        waiting_.push_back({label, std::move(command)});
        return;
    }
    if (!worker_) return refuse(startupFailure_.isEmpty() ? QString(text::kEngineUnavailable) : startupFailure_);
    const bool wasBusy = busy();
    pending_.push_back({label, worker_->run(std::move(command))});
    if (!wasBusy) startPolling();
}

void AppModel::startPolling() {
    poll_.start();
    Q_EMIT busyChanged(true);
}

void AppModel::finishStart() {
    try {
        worker_ = starting_.get();
    } catch (const std::exception& error) {
        worker_.reset();
        startupFailure_ = QString::fromStdString(startupFailureText(error));
    }
    auto waiting = std::move(waiting_);
    waiting_.clear();
    if (worker_)
        pending_.push_back({text::kCommandScan, worker_->run(EngineActions::scan())});
    else
        Q_EMIT snapshotChanged();  // no snapshot will come: show the failure now
    for (auto& [label, command] : waiting) submit(label, std::move(command));
}

void AppModel::deliverFinished() {
    if (starting_.valid()) {
        if (starting_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
        finishStart();
    }
    while (!pending_.empty() &&
           pending_.front().result.wait_for(std::chrono::seconds(0)) == std::future_status::ready) {
        Pending done = std::move(pending_.front());
        pending_.pop_front();
        try {
            SnapshotPtr next = done.result.get();
            if (next) {
                snapshot_ = std::move(next);
                refusal_.clear();
                Q_EMIT snapshotChanged();
                if (done.label == text::kCommandScan) Q_EMIT scanned();
            }
        } catch (const std::exception& error) {
            refuse(QString::fromStdString(error.what()));
        }
    }
    if (!busy()) {
        poll_.stop();
        Q_EMIT busyChanged(false);
    }
}

void AppModel::refuse(const QString& message) {
    refusal_ = message;
    Q_EMIT refused(message);
}

void AppModel::scan() {
    submit(text::kCommandScan, EngineActions::scan());
}

void AppModel::updateSettings(Settings settings) {
    submit(text::kCommandSettings, EngineActions::updateSettings(std::move(settings)));
}

void AppModel::addGrant(const std::filesystem::path& folder, FolderGrant::Role role) {
    submit(text::kCommandAddGrant, EngineActions::addGrant(folder, role));
}

void AppModel::removeGrant(const std::string& grantId) {
    submit(text::kCommandRemoveGrant, EngineActions::removeGrant(grantId));
}

void AppModel::reconnectGrant(const std::string& grantId, const std::filesystem::path& folder) {
    submit(text::kCommandReconnectGrant, EngineActions::reconnectGrant(grantId, folder));
}

void AppModel::beginBackgroundWork() {
    ++backgroundWork_;
    Q_EMIT busyChanged(busy());
}

void AppModel::endBackgroundWork() {
    if (backgroundWork_ > 0) --backgroundWork_;
    Q_EMIT busyChanged(busy());
}

}  // namespace kelo::gui
