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

// Destroying the worker finishes the commands already sent; their results are dropped.
AppModel::~AppModel() = default;

void AppModel::start(const std::filesystem::path& dataDirectory) {
    try {
        worker_ = std::make_unique<EngineWorker>(dataDirectory);
        startupFailure_.clear();
    } catch (const std::exception& error) {
        worker_.reset();
        startupFailure_ = QString::fromStdString(startupFailureText(error));
        Q_EMIT snapshotChanged();
        return;
    }
    submit(text::kCommandScan, EngineActions::scan());
}

QString AppModel::busyLabel() const {
    return pending_.empty() ? QString() : pending_.front().label;
}

void AppModel::submit(const QString& label, EngineCommand command) {
    if (!worker_) return refuse(startupFailure_.isEmpty() ? QString(text::kEngineUnavailable) : startupFailure_);
    if (!command) return refuse(text::kActionNotAvailable);
    const bool wasBusy = busy();
    pending_.push_back({label, worker_->run(std::move(command))});
    if (!wasBusy) {
        poll_.start();
        Q_EMIT busyChanged(true);
    }
}

void AppModel::deliverFinished() {
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
            }
        } catch (const std::exception& error) {
            refuse(QString::fromStdString(error.what()));
        }
    }
    if (pending_.empty()) {
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

}  // namespace kelo::gui
