#include "engine/engine.h"

#include <algorithm>

#include "model/kelo_error.h"

namespace kelo {

namespace {
std::unique_ptr<ApplicationLock> takeLock(const std::filesystem::path& dataDirectory) {
    return std::make_unique<ApplicationLock>(dataDirectory);
}
}  // namespace

Engine::Engine(const std::filesystem::path& dataDirectory, Clock clock)
    : clock_(std::move(clock)),
      lock_(takeLock(dataDirectory)),
      data_(loadPersistentData(dataDirectory)),
      state_(std::make_shared<const AppState>(data_.state)),
      files_(std::make_shared<const std::vector<FileRecord>>()),
      studio_(std::make_shared<const StudioState>(data_.studio)),
      ai_(std::make_shared<const AIState>(data_.ai)) {}

SnapshotPtr Engine::snapshot(std::vector<std::string> messages, std::vector<std::string> issues) {
    auto out = std::make_shared<Snapshot>();
    out->state = state_;
    out->files = files_;
    out->messages = std::move(messages);
    out->issues = std::move(issues);
    out->studio = studio_;
    out->ai = ai_;
    out->aiStorageIssue = data_.aiStorageIssue;
    out->zipCleanupStatus = data_.zipCleanupStatus;
    if (data_.zipCleanupLedger) out->zipCleanupEvents = data_.zipCleanupLedger->events;
    return out;
}

void Engine::commitState(AppState next) {
    data_.store.save(next);
    state_ = std::make_shared<const AppState>(std::move(next));
}

void Engine::invalidateClassifications() {}

SnapshotPtr Engine::updateSettings(const Settings& settings) {
    if (!settings.thresholds.valid()) throw KeloError::unsafe(std::string(kInvalidThresholdsMessage));
    AppState next = *state_;
    next.settings = settings;
    commitState(std::move(next));
    invalidateClassifications();
    return snapshot();
}

}  // namespace kelo

namespace kelo {

SnapshotPtr Engine::removeGrant(const std::string& idText) {
    const auto id = Uuid::parse(idText);
    AppState next = *state_;
    auto it = std::find_if(next.grants.begin(), next.grants.end(),
                           [&](const FolderGrant& grant) { return id && grant.id == *id; });
    if (it == next.grants.end())
        throw KeloError::unsafe("No approved folder has the id " + idText + ". Nothing changed.");
    const std::string path = it->displayPath;
    next.grants.erase(it);
    commitState(std::move(next));
    invalidateClassifications();
    return snapshot({"Removed folder " + path + ". Its files were left where they are."});
}

}  // namespace kelo
