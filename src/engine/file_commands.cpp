#include "engine/file_commands.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

#include "access/path_safety.h"
#include "engine/learning_commands.h"
#include "engine/sort_learning.h"
#include "model/kelo_error.h"
#include "naming/subjob_grouping.h"
#include "operations/operation_planner.h"
#include "operations/trimming.h"

namespace kelo::FileCommands {

namespace {

// Undo puts files back but never removes a folder the batch made (Kelo deletes
// nothing), so say which of them are left empty, deepest first.
void appendLeftFolders(const OperationJournal& journal, const Uuid& batch, std::vector<std::string>& messages) {
    std::vector<std::filesystem::path> made;
    for (const auto& entry : journal.document().entries)
        if (entry.operation.batchID == batch && entry.operation.type == OperationType::createDirectory &&
            entry.status == OperationStatus::completed)
            made.push_back(entry.operation.destination);
    std::sort(made.begin(), made.end(), [](const auto& a, const auto& b) { return a.string() > b.string(); });
    for (const auto& folder : made) {
        std::error_code error;
        if (std::filesystem::is_empty(folder, error) && !error)
            messages.push_back("Left the empty folder " + folder.string() + " in place: Kelo never deletes folders.");
    }
}

SnapshotPtr placeOne(Engine& engine, const std::filesystem::path& path, const std::string& projectText,
                     std::optional<Category> category, const std::optional<std::string>& subfolder, bool keepBoth) {
    const FileRecord file = engine.findFile(path);
    const Project project = engine.findProject(projectText);
    // The planner files a nameless sub-folder into the category folder; a name the
    // user typed that cannot be one folder's name is refused instead of dropped.
    if (subfolder) {
        const std::string name = trimmedWhitespace(*subfolder);
        if (!name.empty() && !PathSafety::validName(name))
            throw KeloError::unsafe("\"" + name + "\" cannot be a folder name. " + file.filename() +
                                    " was left untouched.");
    }
    const auto classification = SortLearning::classificationOf(engine, file);
    const Category chosen =
        category.value_or(classification ? classification->category : Category::infer(file.fileExtension()));

    OperationPlan plan = OperationPlanner::place(file, project, chosen, subfolder, engine.now());
    if (keepBoth) plan.operations.front() = OperationPlanner::keepBoth(plan.operations.front(), {});
    const PlannedOperation& operation = plan.operations.front();

    const AccessScope scope = engine.openScope();
    const auto run = engine.runPlan(plan, scope);
    SortLearning::learn(engine,
                        {{operation.id, file, operation.destination, project.id, chosen,
                          SortLearning::rejectedSuggestion(classification ? &*classification : nullptr, project.id)}},
                        run.result);
    return engine.refreshAfterBatch(plan, run.result, scope, run.messages);
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
        candidates.push_back(
            {classification.file, classification.candidates.front().projectID, classification.category});
    }
    if (candidates.empty()) return engine.snapshot({"No file is Ready to clean. Nothing changed."});

    const OperationPlan plan = OperationPlanner::clean(
        candidates, state.projects, state.settings.autoGroupBySubjob(),
        [](const std::string& filename, const Project& project) {
            return SubjobGrouping::detectSubjob(filename, project);
        },
        engine.now());
    if (plan.operations.empty()) return engine.snapshot({"No file is Ready to clean. Nothing changed."});

    // Each operation finds its candidate by source path: a crowded inbox must not
    // compare every pair.
    std::map<std::filesystem::path, const CleanCandidate*> bySource;
    for (const auto& candidate : candidates) bySource.emplace(candidate.file.url, &candidate);
    std::vector<SortLearning::Decision> decisions;
    for (const auto& operation : plan.operations) {
        const auto it = bySource.find(operation.source);
        if (it == bySource.end()) continue;
        const CleanCandidate& candidate = *it->second;
        decisions.push_back({operation.id, candidate.file, operation.destination, *candidate.predictedProject,
                             candidate.category, std::nullopt});
    }
    const AccessScope scope = engine.openScope();
    const auto run = engine.runPlan(plan, scope);
    SortLearning::learn(engine, decisions, run.result);
    return engine.refreshAfterBatch(plan, run.result, scope, run.messages);
}

SnapshotPtr renameFile(Engine& engine, const std::filesystem::path& path, const std::string& newName) {
    const FileRecord file = engine.findFile(path);
    const OperationPlan plan = OperationPlanner::reviewedRename(file, newName, engine.now());
    const AccessScope scope = engine.openScope();
    const auto run = engine.runPlan(plan, scope);
    return engine.refreshAfterBatch(plan, run.result, scope, run.messages);
}

SnapshotPtr undoBatch(Engine& engine, const std::string& batchId) {
    const auto id = Uuid::parse(batchId);
    if (!id) throw KeloError::unsafe("No batch has the id " + batchId + ". Nothing changed.");
    const OperationPlan plan = engine.executor().undoPlan(*id);
    if (plan.operations.empty())
        throw KeloError::unsafe("Nothing in batch " + batchId + " can be undone. Nothing changed.");
    const AccessScope scope = engine.openScope();
    const auto run = engine.runPlan(plan, scope);
    std::vector<std::string> messages = run.messages;
    if (const std::size_t reversed = SortLearning::forgetUndone(engine, plan, run.result); reversed > 0)
        messages.push_back("Took back what Kelo learned from " + std::to_string(reversed) + " of these moves.");
    appendLeftFolders(engine.executor().journal(), *id, messages);
    return engine.refreshAfterBatch(plan, run.result, scope, std::move(messages));
}

}  // namespace kelo::FileCommands
