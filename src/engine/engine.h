// Engine: the one owner of Kelo's mutable state and the only code that touches the
// user's files. It holds the single-instance lock, the stores and what the last
// scan found, and runs each command to completion.
//
// Runs on the engine thread only: front ends never call it directly; they go
// through EngineWorker, which confines it to its serial executor.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/application_lock.h"
#include "engine/persistent_data.h"
#include "engine/snapshot.h"
#include "model/date.h"

namespace kelo {

using Clock = std::function<Date()>;

class Engine {
public:
    // Start-up in its fixed order: the lock first, then the stores. Throws the fatal
    // error; there is no engine then.
    Engine(const std::filesystem::path& dataDirectory, Clock clock);

    SnapshotPtr snapshot(std::vector<std::string> messages = {}, std::vector<std::string> issues = {});

    // Replaces the settings after validating them; the new state is saved before it
    // takes effect, so a failed save leaves the old settings in force.
    SnapshotPtr updateSettings(const Settings& settings);

    // Forgets one approved folder; nothing on disk changes.
    SnapshotPtr removeGrant(const std::string& idText);

    const AppState& state() const { return *state_; }
    const std::filesystem::path& dataDirectory() const { return data_.dataDirectory; }
    Date now() const { return clock_(); }

private:
    // Saves `next` and only then makes it the current state.
    void commitState(AppState next);
    void invalidateClassifications();

    Clock clock_;
    std::unique_ptr<ApplicationLock> lock_;
    PersistentData data_;
    std::shared_ptr<const AppState> state_;
    std::shared_ptr<const std::vector<FileRecord>> files_;
    std::shared_ptr<const StudioState> studio_;
    std::shared_ptr<const AIState> ai_;
};

}  // namespace kelo
