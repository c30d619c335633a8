#include "engine/ai_commands.h"

#include <algorithm>
#include <set>

#include "access/folder_bookmark.h"
#include "access/path_safety.h"
#include "ai/ai_eligibility.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"

namespace kelo::AICommands {

namespace {

std::filesystem::path grantPath(const FolderGrant& grant) {
    const auto bookmark = FolderBookmark::decode(grant.bookmark);
    return bookmark ? bookmark->path : std::filesystem::path(grant.displayPath);
}

[[noreturn]] void refuse(std::string_view text) { throw KeloError::unsafe(std::string(text)); }

}  // namespace

std::vector<std::filesystem::path> approvedRoots(const Engine& engine) {
    std::vector<std::filesystem::path> roots;
    for (const auto& grant : engine.state().grants) roots.push_back(PathSafety::standardized(grantPath(grant)));
    return roots;
}

SnapshotPtr configureAI(Engine& engine, AIConfiguration configuration) {
    if (!configuration.valid()) refuse(kAIDailyCapMessage);
    std::set<std::string> approved;
    for (const auto& root : approvedRoots(engine)) approved.insert(root.string());
    for (const auto& folder : configuration.allowedFolders)
        if (!approved.contains(folder)) refuse(kAIFoldersNotApproved);
    AIState next = engine.ai();
    configuration.revision = Uuid::random();
    next.configuration = std::move(configuration);
    persistAI(engine, next);
    return engine.snapshot();
}

void persistAI(Engine& engine, const AIState& state) {
    // A damaged document stays on disk for the user to restore; we never write over it.
    if (const auto& issue = engine.data().aiStorageIssue) refuse(*issue);
    if (!state.valid()) refuse(kInvalidAIStateMessage);
    engine.data().aiStore.save(state);
    engine.replaceAI(state);
}

void validateAIFile(Engine& engine, const FileRecord& file, const AccessScope& scope) {
    const AIState& ai = engine.ai();
    if (!ai.configuration.ready()) refuse(kAINotReadyForFile);
    auto roots = approvedRoots(engine);
    roots.insert(roots.end(), scope.watched.begin(), scope.watched.end());
    roots.insert(roots.end(), scope.homes.begin(), scope.homes.end());
    if (!AIEligibility::allowed(file, ai.configuration, roots)) refuse(kAINotReadyForFile);
    for (const auto& project : engine.state().projects)
        if (project.status == ProjectStatus::archived && PathSafety::contains(project.destinationFolder, file.url))
            refuse(kAIArchivedProject);
    PathSafety::noSymbolicComponents(file.url);
    const FileIdentity current = Metadata::identity(file.url);
    if (current != file.identity) refuse(kAIFileChanged);
    if (engine.now().secondsSince(current.modified) < kQuietSeconds) refuse(kAIFileRecentlyModified);
}

std::optional<std::string> followPlan(Engine& engine, const OperationPlan& plan, const std::vector<Uuid>& completed) {
    if (completed.empty()) return std::nullopt;
    AIState next = engine.ai();
    if (!next.follow(plan.operations, std::set<Uuid>(completed.begin(), completed.end()))) return std::nullopt;
    try {
        persistAI(engine, next);
    } catch (const std::exception& error) {
        return std::string(error.what());
    }
    return std::nullopt;
}

}  // namespace kelo::AICommands
