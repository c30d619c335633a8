#include "engine/ai_request_task.h"

namespace kelo::AIRequestTask {

std::future<AIDraft> prepare(EngineWorker& worker, std::filesystem::path file,
                             std::optional<std::filesystem::path> attachment) {
    return std::async(std::launch::async, [&worker, file = std::move(file), attachment = std::move(attachment)] {
        const AICommands::AIPreparation preparation =
            worker
                .run([&](Engine& engine) {
                    return AICommands::beginPrepareAI(engine, AICommands::aiFileAt(engine, file), attachment);
                })
                .get();
        std::string jpeg = AICommands::makeAIPreview(preparation);
        return worker
            .run([&](Engine& engine) { return AICommands::finishPrepareAI(engine, preparation, std::move(jpeg)); })
            .get();
    });
}

std::future<AICommands::AIOutcome> send(EngineWorker& worker, AIDraft draft, std::stop_token stop) {
    return std::async(std::launch::async, [&worker, draft = std::move(draft), stop] {
        const AICommands::ReservedAIRequest request =
            worker.run([&](Engine& engine) { return AICommands::reserveAI(engine, draft); }).get();
        const GeminiClient::Result result = AICommands::sendReservedAI(request, stop);
        return worker.run([&](Engine& engine) { return AICommands::recordAI(engine, request, result); }).get();
    });
}

std::future<SnapshotPtr> automatic(EngineWorker& worker, std::stop_token stop) {
    return std::async(std::launch::async, [&worker, stop] {
        const auto request = worker.run([](Engine& engine) { return AICommands::beginAutomaticAI(engine); }).get();
        if (!request) return worker.snapshot().get();
        const GeminiClient::Result result = AICommands::sendReservedAI(*request, stop);
        return worker.run([&](Engine& engine) { return AICommands::recordAI(engine, *request, result).snapshot; })
            .get();
    });
}

}  // namespace kelo::AIRequestTask
