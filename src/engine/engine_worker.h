// EngineWorker: the actor front ends talk to. It creates the Engine on its own
// serial thread and runs every command there, one at a time, in order, to
// completion; each command hands back an immutable Snapshot through a future.
// Any thread may call it. Destroying it finishes queued commands, then releases
// the engine and with it the single-instance lock.
#pragma once

#include <filesystem>
#include <future>
#include <memory>

#include "engine/engine.h"
#include "engine/serial_executor.h"

namespace kelo {

class EngineWorker {
public:
    // Starts the engine; throws its start-up failure (see startupFailureText).
    EngineWorker(const std::filesystem::path& dataDirectory, Clock clock = Date::now);
    ~EngineWorker();

    // Runs `command` on the engine thread with the engine. Commands are member
    // functions of Engine; they return a SnapshotPtr or throw a refusal.
    template <class F>
    auto run(F command) {
        return executor_.submit([this, command = std::move(command)]() mutable { return command(*engine_); });
    }

    std::future<SnapshotPtr> snapshot() {
        return run([](Engine& engine) { return engine.snapshot(); });
    }
    std::future<SnapshotPtr> scan() {
        return run([](Engine& engine) { return engine.scan(); });
    }
    std::future<SnapshotPtr> updateSettings(Settings settings) {
        return run([settings = std::move(settings)](Engine& engine) { return engine.updateSettings(settings); });
    }

private:
    SerialExecutor executor_;
    std::unique_ptr<Engine> engine_;  // created, used and destroyed on the executor only
};

}  // namespace kelo
