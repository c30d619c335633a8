#include "engine/ai_request_task.h"

#include <functional>

namespace kelo::AIRequestTask {

namespace {

// `begin` on the engine thread, the preview off it, then the draft finished on the
// engine thread again.
std::future<AIDraft> preparedOffTheEngine(EngineWorker& worker,
                                          std::function<AICommands::AIPreparation(Engine&)> begin,
                                          std::stop_token stop) {
    return std::async(std::launch::async, [&worker, begin = std::move(begin), stop = std::move(stop)] {
        const AICommands::AIPreparation preparation = worker.run(begin).get();
        std::string jpeg = AICommands::makeAIPreview(preparation, stop);
        return worker
            .run([&](Engine& engine) { return AICommands::finishPrepareAI(engine, preparation, std::move(jpeg)); })
            .get();
    });
}

}  // namespace

std::future<AIDraft> prepare(EngineWorker& worker, std::filesystem::path file,
                             std::optional<std::filesystem::path> attachment, std::stop_token stop) {
    return preparedOffTheEngine(
        worker,
        [file = std::move(file), attachment = std::move(attachment)](Engine& engine) {
            return AICommands::beginPrepareAI(engine, AICommands::aiFileAt(engine, file), attachment);
        },
        std::move(stop));
}

std::future<AIDraft> retry(EngineWorker& worker, Uuid record, std::optional<std::filesystem::path> attachment,
                           std::stop_token stop) {
    return preparedOffTheEngine(
        worker,
        [record, attachment = std::move(attachment)](Engine& engine) {
            return AICommands::beginRetryAI(engine, record, attachment);
        },
        std::move(stop));
}

std::future<SentAIRequest> reserveAndSend(EngineWorker& worker, AIDraft draft, std::stop_token stop) {
    return std::async(std::launch::async, [&worker, draft = std::move(draft), stop] {
        AICommands::ReservedAIRequest request =
            worker.run([&](Engine& engine) { return AICommands::reserveAI(engine, draft); }).get();
        GeminiClient::Result result = AICommands::sendReservedAI(request, stop);
        return SentAIRequest{std::move(request), std::move(result)};
    });
}

std::future<AICommands::AIOutcome> send(EngineWorker& worker, AIDraft draft, std::stop_token stop) {
    return std::async(std::launch::async, [&worker, draft = std::move(draft), stop] {
        const SentAIRequest sent = reserveAndSend(worker, draft, stop).get();
        return worker.run([&](Engine& engine) { return AICommands::recordAI(engine, sent.request, sent.result); })
            .get();
    });
}

std::future<std::optional<SentAIRequest>> automatic(EngineWorker& worker, std::stop_token stop) {
    return std::async(std::launch::async, [&worker, stop]() -> std::optional<SentAIRequest> {
        const auto preparation = worker.run([](Engine& engine) { return AICommands::chooseAutomaticAI(engine); }).get();
        if (!preparation) return std::nullopt;
        auto jpeg = AICommands::makeAutomaticAIPreview(*preparation, stop);
        if (stop.stop_requested()) return std::nullopt;  // stopped while the preview was made: nothing reserved
        auto request = worker
                           .run([&](Engine& engine) {
                               return AICommands::reserveAutomaticAI(engine, *preparation, std::move(jpeg));
                           })
                           .get();
        if (!request) return std::nullopt;
        GeminiClient::Result result = AICommands::sendReservedAI(*request, stop);
        return SentAIRequest{std::move(*request), std::move(result)};
    });
}

}  // namespace kelo::AIRequestTask
