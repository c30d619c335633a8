#include "engine/file_commands.h"

#include <algorithm>
#include <map>

#include "classify/learning.h"
#include "engine/learning_commands.h"
#include "model/kelo_error.h"
#include "naming/subjob_grouping.h"
#include "operations/batch_group_planner.h"
#include "operations/operation_planner.h"

namespace kelo::FileCommands {

namespace {

// The classification the last snapshot showed for this file, if any.
std::optional<Classification> classificationOf(Engine& engine, const FileRecord& file) {
    const auto all = engine.classifications();
    const std::string fingerprint = file.fingerprint();
    for (const auto& classification : *all)
        if (classification.file.fingerprint() == fingerprint) return classification;
    return std::nullopt;
}

// The project Kelo suggested for the file: the leader of a classification that is
// not "No Idea".
std::optional<Uuid> suggestedProject(const std::optional<Classification>& classification) {
    if (!classification || classification->state == ConfidenceState::noIdea || classification->candidates.empty())
        return std::nullopt;
    return classification->candidates.front().projectID;
}

FileRecord movedTo(const FileRecord& file, const std::filesystem::path& destination) {
    FileRecord moved = file;
    moved.url = destination;
    moved.sourceFolder = destination.parent_path();
    return moved;
}

struct Sorted {
    FileRecord file;
    std::filesystem::path destination;
    Uuid project;
    Category category;
    std::optional<Uuid> rejected;  // the project Kelo had suggested instead
};

// After a run: learn each confirmation, remember the assignment under the file's
// new fingerprint, and mark the projects active now. Nothing to learn from a dry run.
void learnFromSorts(Engine& engine, const std::vector<Sorted>& sorts, const BatchResult& result) {
    if (result.completed.empty()) return;
    AppState next = engine.state();
    Learning learning(next.learning);
    const Date now = engine.now();
    bool changed = false;
    for (const auto& sort : sorts) {
        learning.record(sort.file.filename(), sort.project, sort.rejected, Uuid::random(), now);
        const FileRecord placed = movedTo(sort.file, sort.destination);
        next.assignments[placed.fingerprint()] = Assignment{placed.fingerprint(), sort.project, sort.category};
        for (auto& project : next.projects)
            if (project.id == sort.project) project.lastActivity = now;
        changed = true;
    }
    if (changed) {
        engine.commitState(std::move(next));
        engine.invalidateClassifications();
    }
}

// The completed operations' sorts, in plan order.
std::vector<Sorted> completedSorts(const OperationPlan& plan, const BatchResult& result,
                                   const std::map<Uuid, Sorted>& byOperation) {
    std::vector<Sorted> done;
    for (const auto& operation : plan.operations) {
        if (std::find(result.completed.begin(), result.completed.end(), operation.id) == result.completed.end())
            continue;
        if (auto it = byOperation.find(operation.id); it != byOperation.end()) done.push_back(it->second);
    }
    return done;
}

// Runs the plan, then rescans, and returns the snapshot with the run's lines first.
SnapshotPtr finish(Engine& engine, std::vector<std::string> messages) {
    SnapshotPtr scanned = engine.scan();
    auto out = std::make_shared<Snapshot>(*scanned);
    messages.insert(messages.end(), out->messages.begin(), out->messages.end());
    out->messages = std::move(messages);
    return out;
}

SnapshotPtr placeOne(Engine& engine, const std::filesystem::path& path, const std::string& projectText,
                     std::optional<Category> category, const std::optional<std::string>& subfolder, bool keepBoth) {
    const FileRecord file = engine.findFile(path);
    const Project project = engine.findProject(projectText);
    const auto classification = classificationOf(engine, file);
    const Category chosen =
        category.value_or(classification ? classification->category : Category::infer(file.fileExtension()));

    OperationPlan plan = OperationPlanner::place(file, project, chosen, subfolder, engine.now());
    if (keepBoth) plan.operations.front() = OperationPlanner::keepBoth(plan.operations.front(), {});
    const PlannedOperation& operation = plan.operations.front();

    const AccessScope scope = engine.openScope();
    const auto run = engine.runPlan(plan, scope);
    const auto suggested = suggestedProject(classification);
    const std::map<Uuid, Sorted> byOperation{
        {operation.id,
         {file, operation.destination, project.id, chosen,
          suggested && *suggested != project.id ? suggested : std::nullopt}}};
    learnFromSorts(engine, completedSorts(plan, run.result, byOperation), run.result);
    return finish(engine, run.messages);
}

}  // namespace

SnapshotPtr sortFile(Engine& engine, const std::filesystem::path& file, const std::string& project,
                     std::optional<Category> category, const std::optional<std::string>& subfolder) {
    return placeOne(engine, file, project, category, subfolder, false);
}

SnapshotPtr keepBoth(Engine& engine, const std::filesystem::path& file, const std::string& project,
                     std::optional<Category> category, const std::optional<std::string>& subfolder) {
    return placeOne(engine, file, project, category, subfolder, true);
}

SnapshotPtr clean(Engine& engine) {
    const AppState& state = engine.state();
    std::vector<CleanCandidate> candidates;
    for (const auto& classification : *engine.classifications()) {
        if (classification.state != ConfidenceState::ready || classification.candidates.empty()) continue;
        if (isIgnored(state, classification.file)) continue;
        candidates.push_back({classification.file, classification.candidates.front().projectID,
                              classification.category});
    }
    if (candidates.empty()) return engine.snapshot({"No file is Ready to clean. Nothing changed."});

    const OperationPlan plan = OperationPlanner::clean(
        candidates, state.projects, state.settings.autoGroupBySubjob(),
        [](const std::string& filename, const Project& project) {
            return SubjobGrouping::detectSubjob(filename, project);
        },
        engine.now());
    if (plan.operations.empty()) return engine.snapshot({"No file is Ready to clean. Nothing changed."});

    std::map<std::filesystem::path, const CleanCandidate*> bySource;
    for (const auto& candidate : candidates) bySource.emplace(candidate.file.url, &candidate);
    std::map<Uuid, Sorted> byOperation;
    for (const auto& operation : plan.operations) {
        const auto it = bySource.find(operation.source);
        if (it == bySource.end()) continue;
        const CleanCandidate& candidate = *it->second;
        byOperation.emplace(operation.id, Sorted{candidate.file, operation.destination, *candidate.predictedProject,
                                                 candidate.category, std::nullopt});
    }
    const auto run = engine.runPlan(plan, engine.openScope());
    learnFromSorts(engine, completedSorts(plan, run.result, byOperation), run.result);
    return finish(engine, run.messages);
}

SnapshotPtr renameFile(Engine& engine, const std::filesystem::path& path, const std::string& newName) {
    const FileRecord file = engine.findFile(path);
    const OperationPlan plan = OperationPlanner::reviewedRename(file, newName, engine.now());
    const auto run = engine.runPlan(plan, engine.openScope());
    return finish(engine, run.messages);
}

SnapshotPtr groupFiles(Engine& engine, const std::vector<std::filesystem::path>& paths, const std::string& folderName) {
    std::vector<FileRecord> files;
    for (const auto& path : paths) files.push_back(engine.findFile(path));
    if (files.empty()) throw KeloError::unsafe("Chọn ít nhất 1 tệp để nhóm.");
    const OperationPlan plan =
        BatchGroupPlanner::plan(files, folderName, files.front().url.parent_path(), engine.now());

    // A group whose files cannot move would leave an empty folder behind: refuse it
    // before anything is created.
    const AccessScope scope = engine.openScope();
    const auto previews = engine.executor().preview(plan, scope);
    const auto movable = std::find_if(previews.begin(), previews.end(), [](const ValidationResult& preview) {
        return preview.operation.type == OperationType::move && !preview.issue;
    });
    if (movable == previews.end()) {
        for (const auto& preview : previews)
            if (preview.issue)
                throw KeloError::unsafe("No file can be grouped: " + *preview.issue + " Nothing changed.");
    }
    const auto run = engine.runPlan(plan, scope);
    return finish(engine, run.messages);
}

SnapshotPtr undoBatch(Engine& engine, const std::string& batchId) {
    const auto id = Uuid::parse(batchId);
    if (!id) throw KeloError::unsafe("No batch has the id " + batchId + ". Nothing changed.");
    const OperationPlan plan = engine.executor().undoPlan(*id);
    if (plan.operations.empty())
        throw KeloError::unsafe("Nothing in batch " + batchId + " can be undone. Nothing changed.");
    const auto run = engine.runPlan(plan, engine.openScope());
    return finish(engine, run.messages);
}

}  // namespace kelo::FileCommands
