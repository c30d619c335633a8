// Local text recognition for the quick rename: the engine names the file and
// copies the projects; the reading itself then runs on a background task that only
// reads the file, so a slow image never holds up the engine's other commands.
#pragma once

#include <atomic>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine_worker.h"

namespace kelo::OcrCommands {

// What the background task needs: a copy, so it shares nothing the engine writes.
struct OcrRequest {
    FileRecord file;
    ProjectList projects;
};

// The hints read from the image. `project` is the matching project; the sub-job
// is cleaned of the words of that project, or of no project when none matched.
struct OcrHints {
    std::vector<std::string> lines;
    std::optional<Project> project;
    std::optional<std::string> subjob;
};

// Engine thread: the scanned inbox file at `path` and the current projects, or a
// refusal naming the file.
OcrRequest request(const Engine& engine, const std::filesystem::path& path);
// The same from a snapshot the front end already holds; refuses as above.
OcrRequest request(const Snapshot& snapshot, const std::filesystem::path& path);

// Any thread: reads the image and derives the hints. Never throws.
OcrHints readHints(const OcrRequest& request, const std::atomic<bool>* cancel = nullptr);

// The request taken on the engine thread, the reading on a task of its own. The
// future throws the engine's refusal when the file is not an inbox file.
std::future<OcrHints> recognize(EngineWorker& worker, std::filesystem::path path,
                                std::shared_ptr<const std::atomic<bool>> cancel = nullptr);

// The quick rename's one-line report: no text, the detected sub-job, or, when
// lines were read but gave no sub-job, nothing.
std::optional<std::string> outcomeText(const OcrHints& hints);

}  // namespace kelo::OcrCommands
