// AIRequestTask: online AI requests driven from any thread so that the slow parts,
// the design preview and the wait for Gemini, run beside the engine instead of
// holding its thread. The engine-thread phases come from ai_request_commands.h;
// only the preview and the network call run on a task of their own, and they touch
// no engine state. Keep each future until it is ready: destroying it waits.
#pragma once

#include <filesystem>
#include <future>
#include <optional>
#include <stop_token>

#include "engine/ai_request_commands.h"
#include "engine/engine_worker.h"

namespace kelo::AIRequestTask {

// prepareAIAt with the preview made off the engine thread.
std::future<AIDraft> prepare(EngineWorker& worker, std::filesystem::path file,
                             std::optional<std::filesystem::path> attachment = std::nullopt);

// sendAI with the network call off the engine thread. `stop` cancels the request;
// its usage stays reserved and the record says it was cancelled.
std::future<AICommands::AIOutcome> send(EngineWorker& worker, AIDraft draft, std::stop_token stop = {});

// automaticAI with the network call off the engine thread.
std::future<SnapshotPtr> automatic(EngineWorker& worker, std::stop_token stop = {});

}  // namespace kelo::AIRequestTask
