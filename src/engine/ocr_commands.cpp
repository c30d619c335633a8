#include "engine/ocr_commands.h"

#include "access/path_safety.h"
#include "ai/local_ocr_texts.h"
#include "ai/local_vision_ocr.h"
#include "model/kelo_error.h"

namespace kelo::OcrCommands {

OcrRequest request(const Engine& engine, const std::filesystem::path& path) {
    return {engine.findFile(path), engine.state().projects};
}

OcrRequest request(const Snapshot& snapshot, const std::filesystem::path& path) {
    const std::string key = PathSafety::key(std::filesystem::absolute(path));
    if (snapshot.files)
        for (const auto& file : *snapshot.files)
            if (PathSafety::key(file.url) == key)
                return {file, snapshot.state ? snapshot.state->projects : ProjectList{}};
    throw KeloError::unsafe(path.filename().string() + " is not a file in an approved inbox. Nothing changed.");
}

OcrHints readHints(const OcrRequest& request, const std::atomic<bool>* cancel) {
    OcrHints hints;
    hints.lines = LocalVisionOCR::recognizeText(request.file, cancel);
    if (hints.lines.empty()) return hints;
    hints.project = LocalVisionOCR::matchingProject(hints.lines, request.projects);
    hints.subjob = LocalVisionOCR::suggestSubjob(hints.lines, hints.project.value_or(Project{}));
    return hints;
}

std::future<OcrHints> recognize(EngineWorker& worker, std::filesystem::path path,
                                std::shared_ptr<const std::atomic<bool>> cancel) {
    std::future<OcrRequest> taken =
        worker.run([path = std::move(path)](Engine& engine) { return request(engine, path); });
    return std::async(std::launch::async,
                      [taken = std::move(taken), cancel]() mutable { return readHints(taken.get(), cancel.get()); });
}

std::optional<std::string> outcomeText(const OcrHints& hints) {
    if (hints.lines.empty()) return std::string(LocalOcrTexts::kNoText);
    if (hints.subjob) return LocalOcrTexts::detectedSubjob(*hints.subjob);
    return std::nullopt;
}

}  // namespace kelo::OcrCommands
