#include "operations/operation_executor.h"

#include <sys/stat.h>

#include <algorithm>
#include <system_error>

#include "access/path_safety.h"
#include "model/category.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"

namespace kelo {

namespace {

constexpr std::string_view kInconsistentBatch = "Operation inconsistent with batch.";
constexpr std::string_view kSharedDestination = "Two files share a destination in this batch.";
constexpr std::string_view kUndoMismatch = "Undo no longer matches a completed journal operation.";
constexpr std::string_view kDirectoryEntry = "Directory entries cannot be supplied in a file plan.";
constexpr std::string_view kAlreadyUndone = "Operation already undone.";
constexpr std::string_view kPathsChanged = "Coordinated paths changed. Review a new plan.";
constexpr std::string_view kNotAuthorized = "File coordination did not authorize the move.";
constexpr std::string_view kNotAFolder = "Destination component is not a folder.";
constexpr std::string_view kOutsideAccess = "Cannot create folders outside approved access.";
constexpr std::string_view kProjectOutsideHome = "New project must be directly inside the selected project home.";
constexpr std::string_view kInterruptedDirectory =
    "Interrupted directory operation. Folder preserved; inspect manually.";
constexpr std::string_view kInterruptedOperation = "Interrupted operation; no retry. Inspect source and destination.";

// The user-facing text of any failure: a refusal's sentence or the system's own words.
std::string describe(const std::exception& error) {
    if (const auto* refusal = dynamic_cast<const KeloError*>(&error)) return refusal->message();
    return error.what();
}

std::optional<FileIdentity> identityIfPresent(const std::filesystem::path& path) {
    try {
        return Metadata::identity(path);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

bool isDirectoryEntry(const std::filesystem::path& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool existsWithoutFollowing(const std::filesystem::path& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace

std::string BatchResult::summary() const {
    return std::to_string(completed.size()) + " completed, " + std::to_string(skipped.size()) + " skipped, " +
           std::to_string(failed.size()) + " failed. 0 overwritten.";
}

OperationExecutor::OperationExecutor(std::unique_ptr<OperationJournal> journal, Clock clock, FileOperator fileOperator,
                                     FileCoordinator* coordinator)
    : journal_(std::move(journal)),
      clock_(std::move(clock)),
      operator_(std::move(fileOperator)),
      coordinator_(coordinator != nullptr ? coordinator : &defaultCoordinator_) {}

// Tells whether the journal can take this batch's records: a log that failed an
// append is replaced here (by a fold) or refused.
bool OperationExecutor::journalWritable() {
    try {
        journal_->ensureWritable();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void OperationExecutor::validate(const PlannedOperation& operation, const AccessScope& scope) const {
    validator_.validate(operation, scope, true, clock_());
}

std::optional<std::string> OperationExecutor::issueFor(const OperationPlan& plan, const PlannedOperation& operation,
                                                       std::unordered_set<std::string>& destinations,
                                                       const AccessScope& scope, bool journalAvailable) const {
    if (operation.batchID != plan.operations.front().batchID) return std::string(kInconsistentBatch);
    if (!destinations.insert(PathSafety::key(operation.destination)).second) return std::string(kSharedDestination);
    if (operation.type == OperationType::undo) {
        const JournalEntry* reversed = operation.reverses ? journal_->entry(*operation.reverses) : nullptr;
        if (reversed == nullptr || reversed->status != OperationStatus::completed) return std::string(kUndoMismatch);
    }
    if (operation.type != OperationType::createDirectory && isDirectoryEntry(operation.source))
        return std::string(kDirectoryEntry);
    try {
        validator_.validate(operation, scope, journalAvailable, clock_());
    } catch (const std::exception& error) {
        return describe(error);
    }
    return std::nullopt;
}

OperationExecutor::~OperationExecutor() {
    try {
        if (journal_) journal_->flush();
    } catch (const std::exception&) {
        // Nothing to report to: the next start reconciles these marks from the disk.
    }
}

std::vector<ValidationResult> OperationExecutor::preview(const OperationPlan& plan, const AccessScope& scope) {
    const bool journalAvailable = journalWritable();
    std::vector<ValidationResult> results;
    std::unordered_set<std::string> destinations;
    results.reserve(plan.operations.size());
    for (const auto& operation : plan.operations)
        results.push_back({operation, issueFor(plan, operation, destinations, scope, journalAvailable)});
    return results;
}

BatchResult OperationExecutor::simulate(const std::vector<ValidationResult>& previews) const {
    BatchResult result;
    for (const auto& preview : previews)
        result.skipped[preview.operation.id] = preview.issue.value_or(std::string(kDryRunMessage));
    return result;
}

BatchResult OperationExecutor::execute(const OperationPlan& plan, const AccessScope& scope, bool dryRun) {
    if (plan.operations.empty()) return {};
    const auto previews = preview(plan, scope);
    if (dryRun) return simulate(previews);

    // Nothing on disk changes before a synced mark (started, failed) or the final
    // settle, and each makes this record durable with it.
    journal_->prepare(plan.operations, JournalLog::Sync::withNext);
    step("prepared");
    BatchResult result;
    for (const auto& preview : previews) {
        const PlannedOperation& operation = preview.operation;
        if (preview.issue) {
            journal_->mark(operation.id, OperationStatus::failed, preview.issue, OperationOutcome::skipped);
            result.skipped[operation.id] = *preview.issue;
            continue;
        }
        runOne(operation, scope, result);
    }
    // Every mark still waiting is a completed move whose `started` mark is durable.
    journal_->settle(JournalLog::Sync::withNext);
    return result;
}

void OperationExecutor::runOne(const PlannedOperation& operation, const AccessScope& scope, BatchResult& result) {
    auto fail = [&](const std::string& message) {
        journal_->mark(operation.id, OperationStatus::failed, message, OperationOutcome::failed);
        result.failed[operation.id] = message;
    };
    try {
        validate(operation, scope);
    } catch (const std::exception& error) {
        return fail(describe(error));
    }
    if (operation.type == OperationType::undo) {
        const JournalEntry* reversed = operation.reverses ? journal_->entry(*operation.reverses) : nullptr;
        if (reversed == nullptr || reversed->status != OperationStatus::completed)
            return fail(std::string(kAlreadyUndone));
    }
    try {
        ensureDirectories(operation.destination.parent_path(), operation.batchID, scope, &result.createdFolders);
    } catch (const std::exception& error) {
        return fail(describe(error));
    }

    journal_->mark(operation.id, OperationStatus::started);
    step("started");
    try {
        perform(operation, scope);
        step("moved");
        markCompleted(operation, operation.type == OperationType::createDirectory ? JournalLog::Sync::now
                                                                                  : JournalLog::Sync::withNext);
        step("completed");
        result.completed.push_back(operation.id);
    } catch (const std::exception& error) {
        // Did anything happen? Only a source still in place as planned proves not.
        const bool untouched = operation.type == OperationType::createDirectory
                                   ? !existsWithoutFollowing(operation.destination)
                                   : operation.expected && identityIfPresent(operation.source) == operation.expected;
        if (untouched) return fail(describe(error));
        try {
            journal_->checkpoint();
        } catch (const std::exception&) {
            // The log still holds every acknowledged mark; the next open folds it in.
        }
        throw KeloError::unsafe(
            "Batch stopped. This operation may have completed: " + operation.source.filename().string() +
            ". Scan to reconcile the journal before continuing. " + describe(error));
    }
}

void OperationExecutor::perform(const PlannedOperation& operation, const AccessScope& scope) {
    if (operation.type == OperationType::createDirectory) {
        validate(operation, scope);
        operator_.createDirectoryWithoutReplacement(operation.destination);
        return;
    }
    bool ran = false;
    coordinator_->coordinateMove(operation.source, operation.destination,
                                 [&](const std::filesystem::path& source, const std::filesystem::path& destination) {
                                     ran = true;
                                     if (source != operation.source || destination != operation.destination)
                                         throw KeloError::unsafe(std::string(kPathsChanged));
                                     validate(operation, scope);
                                     coordinator_->willMove(source, destination);
                                     operator_.moveWithoutReplacement(source, destination, *operation.expected);
                                     coordinator_->didMove(source, destination);
                                 });
    if (!ran) throw KeloError::unsafe(std::string(kNotAuthorized));
}

void OperationExecutor::markCompleted(const PlannedOperation& operation, JournalLog::Sync sync) {
    journal_->mark(operation.id, OperationStatus::completed, std::nullopt, std::nullopt, sync);
    if (operation.type == OperationType::undo && operation.reverses)
        journal_->mark(*operation.reverses, OperationStatus::undone, std::nullopt, std::nullopt, sync);
}

void OperationExecutor::ensureDirectories(const std::filesystem::path& folder, const Uuid& batchID,
                                          const AccessScope& scope, std::vector<std::filesystem::path>* created) {
    // Check the whole path before creating anything.
    std::vector<std::filesystem::path> missing;
    std::filesystem::path prefix;
    for (const auto& component : PathSafety::standardized(folder)) {
        prefix /= component;
        struct stat info {};
        if (!missing.empty() || ::lstat(prefix.c_str(), &info) != 0) {
            missing.push_back(prefix);
            continue;
        }
        if (!S_ISDIR(info.st_mode)) throw KeloError::unsafe(std::string(kNotAFolder));
    }
    for (const auto& path : missing) {
        if (!scope.allows(path)) throw KeloError::unsafe(std::string(kOutsideAccess));
        PathSafety::noSymbolicComponents(path);
    }

    for (const auto& path : missing) {
        PlannedOperation create{Uuid::random(), batchID,      path.parent_path(),
                                path,           std::nullopt, OperationType::createDirectory,
                                std::nullopt};
        journal_->prepare({create});
        try {
            validate(create, scope);
            journal_->mark(create.id, OperationStatus::started);
            step("started");
            operator_.createDirectoryWithoutReplacement(path);
        } catch (const std::exception& error) {
            journal_->mark(create.id, OperationStatus::failed, describe(error), OperationOutcome::failed);
            throw;
        }
        journal_->mark(create.id, OperationStatus::completed);
        step("completed");
        if (created != nullptr) created->push_back(path);
    }
}

void OperationExecutor::createProjectDirectory(const std::filesystem::path& folder, const AccessScope& scope) {
    const auto parent = PathSafety::standardized(folder).parent_path();
    const bool directlyInHome = std::any_of(scope.homes.begin(), scope.homes.end(), [&](const auto& home) {
        return PathSafety::key(home) == PathSafety::key(parent);
    });
    if (!directlyInHome || !PathSafety::validName(PathSafety::standardized(folder).filename().string()))
        throw KeloError::unsafe(std::string(kProjectOutsideHome));
    const Uuid batch = Uuid::random();
    for (Category category : Category::allCases)
        ensureDirectories(folder / std::string(rawValue(category)), batch, scope);
    journal_->settle();
}

OperationPlan OperationExecutor::undoPlan(const Uuid& batchID) const {
    OperationPlan plan{Uuid::random(), clock_(), {}};
    const Uuid undoBatch = Uuid::random();
    const auto& entries = journal_->document().entries;
    for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
        const PlannedOperation& done = it->operation;
        if (done.batchID != batchID || it->status != OperationStatus::completed) continue;
        if (done.type != OperationType::move && done.type != OperationType::rename) continue;
        plan.operations.push_back(
            {Uuid::random(), undoBatch, done.destination, done.source, done.expected, OperationType::undo, done.id});
    }
    return plan;
}

std::vector<std::string> OperationExecutor::reconcile(const AccessScope& scope) {
    std::vector<std::string> messages;
    const std::vector<std::size_t> open =
        journal_->positionsWithStatus({OperationStatus::planned, OperationStatus::started});

    for (std::size_t position : open) {
        const PlannedOperation operation = journal_->document().entries[position].operation;
        const std::string name = operation.source.filename().string();
        if (!scope.allows(operation.source) || !scope.allows(operation.destination)) {
            messages.push_back("Reconnect folders to reconcile " + name + ".");
            continue;
        }
        try {
            PathSafety::noSymbolicComponents(operation.source);
            PathSafety::noSymbolicComponents(operation.destination);
        } catch (const KeloError& error) {
            messages.push_back(error.message());
            continue;
        }
        if (operation.type == OperationType::createDirectory) {
            journal_->mark(operation.id, OperationStatus::failed, std::string(kInterruptedDirectory));
            continue;
        }
        const auto source = identityIfPresent(operation.source);
        const auto destination = identityIfPresent(operation.destination);
        if (!source && destination && operation.expected && *destination == *operation.expected) {
            markCompleted(operation);
            messages.push_back("Recovered completed move: " + name);
        } else {
            journal_->mark(operation.id, OperationStatus::failed, std::string(kInterruptedOperation));
            messages.push_back("Interrupted operation left for review: " + name);
        }
    }

    // An undo and the mark of what it reversed agree even after a crash between them.
    // Marks change statuses only, so positions stay valid while we walk.
    const auto& entries = journal_->document().entries;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const JournalEntry& entry = entries[i];
        if (entry.operation.type != OperationType::undo || entry.status != OperationStatus::completed) continue;
        if (!entry.operation.reverses) continue;
        const Uuid reverses = *entry.operation.reverses;
        const JournalEntry* reversed = journal_->entry(reverses);
        if (reversed != nullptr && reversed->status != OperationStatus::undone)
            journal_->mark(reverses, OperationStatus::undone);
    }
    journal_->settle();
    return messages;
}

}  // namespace kelo
