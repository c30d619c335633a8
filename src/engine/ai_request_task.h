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

// A reserved request whose answer or failure came back and is not recorded yet:
// whoever holds it records it on the engine thread with AICommands::recordAI (a
// front end through its own command queue, so the outcome's snapshot arrives like
// any other). Never dropped: a quit before it is recorded leaves the record
// "started", which the next start turns into an interrupted failure.
struct SentAIRequest {
    AICommands::ReservedAIRequest request;
    GeminiClient::Result result;
};

// prepareAIAt with the preview made off the engine thread. `stop` ends the wait
// for a design thumbnail, refused with kPreviewStoppedText.
std::future<AIDraft> prepare(EngineWorker& worker, std::filesystem::path file,
                             std::optional<std::filesystem::path> attachment = std::nullopt,
                             std::stop_token stop = {});

// retryAI with the preview made off the engine thread, stopped as prepare's is.
std::future<AIDraft> retry(EngineWorker& worker, Uuid record, std::optional<std::filesystem::path> attachment,
                           std::stop_token stop = {});

// reserveAI on the engine thread, then the network call off it; not recorded.
// `stop` cancels the request; its usage stays reserved.
std::future<SentAIRequest> reserveAndSend(EngineWorker& worker, AIDraft draft, std::stop_token stop = {});

// reserveAndSend, then recordAI on the engine thread.
std::future<AICommands::AIOutcome> send(EngineWorker& worker, AIDraft draft, std::stop_token stop = {});

// One automatic request: the file chosen on the engine thread, its preview made
// off it, the request reserved on the engine thread and sent off it; not recorded.
// Nothing when no request was due.
std::future<std::optional<SentAIRequest>> automatic(EngineWorker& worker, std::stop_token stop = {});

}  // namespace kelo::AIRequestTask
