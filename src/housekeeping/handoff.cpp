#include "housekeeping/handoff.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>

#include "access/folder_probe.h"
#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "operations/operation_journal.h"
#include "scan/metadata.h"
#include "store/data_directory.h"

namespace kelo {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse(std::string_view message) {
    throw KeloError::unsafe(std::string(message));
}

constexpr std::string_view kProjectChanged =
    "Project changed or contains active files. Reload and review the handoff again.";

// A file written this recently may still be being saved.
constexpr double kActiveInterval = SafetyValidator{}.stabilityInterval;

bool sameInventory(const ProjectInventory& a, const ProjectInventory& b) {
    return a.folder == b.folder && a.entries == b.entries;
}

std::uint64_t deviceOf(const fs::path& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) throw std::system_error(errno, std::generic_category(), path.native());
    return info.st_dev;
}

// Steps 1 to 7: everything that can refuse before anything is written.
ProjectInventory checkRequest(const HandoffRequest& request, const HandoffContext& context,
                              const std::string& archiveName) {
    const ProjectInventory current = ProjectInventory::read(request.project);
    const Date now = context.clock();
    const bool active = std::any_of(current.entries.begin(), current.entries.end(), [&](const ProjectEntry& e) {
        return !e.isFolder && now.secondsSince(e.identity.modified) < kActiveInterval;
    });
    if (!sameInventory(current, request.reviewed) || active) refuse(kProjectChanged);
    if (current.totalBytes > kHandoffProjectLimit) refuse("Handoff limit is 20 GB per project.");

    const fs::path exportFolder = PathSafety::standardized(fs::absolute(request.exportFolder));
    bool accessible = true;
    try {
        PathSafety::noSymbolicComponents(exportFolder);
        const auto probe = FolderProbe::nearestExisting(exportFolder);
        accessible = probe.isDirectory && probe.path == exportFolder && FolderProbe::processMayWriteInto(exportFolder);
    } catch (const std::exception&) {
        accessible = false;
    }
    if (!accessible || PathSafety::contains(current.folder, exportFolder))
        refuse("Choose an accessible export folder outside this project.");
    if (!PathSafety::validName(archiveName)) refuse("Project folder name cannot be used for a safe ZIP filename.");
    if (FolderProbe::somethingExistsAt(exportFolder / archiveName))
        refuse("A handoff with this name exists. Choose another export folder; nothing was overwritten.");
    if (deviceOf(exportFolder) != deviceOf(context.dataDirectory))
        refuse("Export must be on the same volume as Kelo's application data.");

    const PrivateStorageUsage usage = context.storage.measure();
    if (!usage.complete)
        refuse(
            "Private staging could not be fully measured. Inspect Kelo Storage in Settings before creating "
            "another handoff.");
    if (usage.bytes > kHandoffStagingLimit)
        refuse(
            "Private ZIP staging is over 2 GB. Review app temporary cleanup in Settings before creating another "
            "handoff.");
    return current;
}

std::unique_ptr<OperationExecutor> handoffExecutor(const fs::path& dataDirectory, const std::function<Date()>& clock) {
    auto journal = std::make_unique<OperationJournal>(dataDirectory / data_files::kHandoffJournal, clock);
    auto executor = std::make_unique<OperationExecutor>(std::move(journal), clock);
    // The staged archive was written a moment ago by us, not by someone still saving it.
    executor->validator().stabilityInterval = 0;
    return executor;
}

// Steps 11 and 12: the marker records the archive and the start, then the move.
void publish(const PrivateStage& stage, PrivateHandoffMarker marker, const fs::path& exportFolder,
             const HandoffContext& context) {
    const fs::path archive = stage.folder / marker.archiveName;
    marker.archiveIdentity = Metadata::identity(archive);
    writeHandoffMarker(stage.folder, marker);
    marker.publicationStarted = context.clock();
    writeHandoffMarker(stage.folder, marker);

    const PrivateHandoffMarker recorded = readHandoffMarker(stage.folder);
    if (Metadata::identity(archive) != recorded.archiveIdentity)
        refuse("Generated archive changed before publication.");

    OperationPlan plan{Uuid::random(), context.clock(), {}};
    const fs::path destination = PathSafety::standardized(fs::absolute(exportFolder)) / marker.archiveName;
    plan.operations.push_back(PlannedOperation{Uuid::random(), plan.id, archive, destination, recorded.archiveIdentity,
                                               OperationType::move, std::nullopt});
    auto executor = handoffExecutor(context.dataDirectory, context.clock);
    if (context.publicationProbe) executor->setStepProbe(context.publicationProbe);
    const AccessScope scope{{stage.folder}, {destination.parent_path()}};
    const BatchResult result = executor->execute(plan, scope, false);
    const Uuid& id = plan.operations.front().id;
    if (auto it = result.skipped.find(id); it != result.skipped.end()) refuse(it->second);
    if (auto it = result.failed.find(id); it != result.failed.end()) refuse(it->second);
}

}  // namespace

std::string createHandoff(const HandoffRequest& request, const HandoffContext& context) {
    const std::string archiveName = handoffArchiveName(request.project);
    const ProjectInventory inventory = checkRequest(request, context, archiveName);

    const PrivateStage stage = context.storage.createStage(archiveName, context.clock());
    const fs::path archive = stage.folder / archiveName;
    const ArchiveOutcome outcome = buildHandoffArchive(inventory, archive, context.progress, context.stop);
    if (outcome == ArchiveOutcome::cancelled) {
        context.storage.removeStage(stage.folder);  // cancelling is not a failure: nothing is kept
        return std::string(kHandoffCancelled);
    }
    if (outcome == ArchiveOutcome::projectChanged)
        refuse("Project changed during archiving. No archive was made; reload before retrying.");
    if (!sameInventory(ProjectInventory::read(request.project), inventory))
        refuse("Project changed during archiving. Archive retained privately; reload before retrying.");

    publish(stage, *stage.marker, request.exportFolder, context);
    context.storage.removeStage(stage.folder);
    return "Handoff created: " + archiveName +
           ". Original project unchanged. ZIP outputs are not included in Clean Undo.";
}

std::vector<std::string> reconcileHandoffs(const fs::path& dataDirectory, const PrivateStorage& storage, Date now) {
    std::vector<std::string> messages;
    std::map<std::string, OperationStatus> publications;  // staged archive path → its entry's status
    const fs::path journalPath = dataDirectory / data_files::kHandoffJournal;
    if (fs::exists(fs::symlink_status(journalPath))) {
        auto executor = handoffExecutor(dataDirectory, [now] { return now; });
        const auto& entries = executor->journal().document().entries;
        AccessScope scope;
        for (const auto position :
             executor->journal().positionsWithStatus({OperationStatus::planned, OperationStatus::started})) {
            scope.watched.push_back(entries[position].operation.source.parent_path());
            scope.homes.push_back(entries[position].operation.destination.parent_path());
        }
        if (!scope.watched.empty()) {
            const auto settled = executor->reconcile(scope);
            messages.insert(messages.end(), settled.begin(), settled.end());
        }
        for (const auto& entry : executor->journal().document().entries)
            publications[PathSafety::key(entry.operation.source)] = entry.status;
    }
    const auto statusOf = [&](const PrivateStage& stage) -> std::optional<OperationStatus> {
        const auto it = publications.find(PathSafety::key(stage.archive()));
        return it == publications.end() ? std::nullopt : std::optional(it->second);
    };
    for (const auto& stage : storage.measure().stages) {
        if (!stage.marker || !stage.marker->publicationStarted) continue;
        if (statusOf(stage) == OperationStatus::completed) storage.removeStage(stage.folder);
    }
    // A stage whose publication is still unsettled (its folders need reconnecting)
    // is never swept; every other old stage is an abandoned one.
    const auto sweepable = [&](const PrivateStage& stage) {
        const auto status = statusOf(stage);
        return status != OperationStatus::planned && status != OperationStatus::started;
    };
    const auto swept = storage.sweep(now, sweepable);
    messages.insert(messages.end(), swept.begin(), swept.end());
    return messages;
}

}  // namespace kelo
