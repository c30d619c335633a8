// OperationExecutor: carries validated plans out on the file system, one operation
// at a time, with the write-ahead journal, and settles interrupted operations after
// a crash. Every change is an exclusive same-volume rename of one directory entry
// or the creation of one empty folder: nothing is overwritten, copied or deleted.
//
// Owns the journal, the validator and the file operator; borrows the coordinator
// (it must outlive the executor). Owned by the engine and used on its thread only.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "access/access_scope.h"
#include "operations/file_coordinator.h"
#include "operations/file_operator.h"
#include "operations/operation_journal.h"
#include "operations/operation_plan.h"
#include "operations/safety_validator.h"

namespace kelo {

struct ValidationResult {
    PlannedOperation operation;
    std::optional<std::string> issue;  // why it would be skipped; absent when it passed
};

// What happened to each operation of one execution. Per-operation problems are
// values here, so one bad file never stops the others.
struct BatchResult {
    std::vector<Uuid> completed;  // in execution order
    std::vector<std::filesystem::path> createdFolders;  // made on the way to a destination, in order
    std::map<Uuid, std::string> failed;
    std::map<Uuid, std::string> skipped;

    // "N completed, N skipped, N failed. 0 overwritten."
    std::string summary() const;
};

inline constexpr std::string_view kDryRunMessage = "Mô phỏng: chưa thay đổi tệp.";

class OperationExecutor {
public:
    using Clock = std::function<Date()>;
    // Test seam: called after each step of an execution ("prepared", "started",
    // "moved", "completed"), so a crash harness can end the process exactly there.
    using StepProbe = std::function<void(std::string_view step)>;

    OperationExecutor(std::unique_ptr<OperationJournal> journal, Clock clock = Date::now,
                      FileOperator fileOperator = FileOperator(), FileCoordinator* coordinator = nullptr);
    // Closing makes the marks a batch left waiting durable (best effort: reconcile
    // rebuilds them from the disk if this sync fails).
    ~OperationExecutor();
    OperationExecutor(const OperationExecutor&) = delete;
    OperationExecutor& operator=(const OperationExecutor&) = delete;

    std::vector<ValidationResult> preview(const OperationPlan& plan, const AccessScope& scope);

    // Runs the plan. A dry run journals and changes nothing and reports every
    // operation as skipped. Throws only when the journal cannot be written or when
    // an operation may have happened without being recorded (the batch stops).
    BatchResult execute(const OperationPlan& plan, const AccessScope& scope, bool dryRun);

    // Creates, as journaled createDirectory operations of `batchID`, every missing
    // folder down to `folder`.
    void ensureDirectories(const std::filesystem::path& folder, const Uuid& batchID, const AccessScope& scope,
                           std::vector<std::filesystem::path>* created = nullptr);

    // A new project folder directly inside a project home, with its category folders.
    void createProjectDirectory(const std::filesystem::path& folder, const AccessScope& scope);

    // The plan that reverses the completed moves and renames of one batch, newest first.
    OperationPlan undoPlan(const Uuid& batchID) const;

    // Settles every entry left planned or started by an interrupted run. Never
    // retries an operation; returns what it found for the user.
    std::vector<std::string> reconcile(const AccessScope& scope);

    OperationJournal& journal() { return *journal_; }
    const OperationJournal& journal() const { return *journal_; }
    SafetyValidator& validator() { return validator_; }
    void setStepProbe(StepProbe probe) { probe_ = std::move(probe); }

private:
    BatchResult simulate(const std::vector<ValidationResult>& previews) const;
    bool journalWritable();
    std::optional<std::string> issueFor(const OperationPlan& plan, const PlannedOperation& operation,
                                        std::unordered_set<std::string>& destinations, const AccessScope& scope,
                                        bool journalAvailable) const;
    void validate(const PlannedOperation& operation, const AccessScope& scope) const;
    void runOne(const PlannedOperation& operation, const AccessScope& scope, BatchResult& result);
    void perform(const PlannedOperation& operation, const AccessScope& scope);
    // `sync` is `withNext` inside a batch: the next operation's `started` mark (or
    // the batch's fold) makes it durable, and until then reconcile finds the move
    // done from the disk and its durable `started` mark.
    void markCompleted(const PlannedOperation& operation, JournalLog::Sync sync = JournalLog::Sync::now);
    void step(std::string_view name) const {
        if (probe_) probe_(name);
    }

    std::unique_ptr<OperationJournal> journal_;
    Clock clock_;
    SafetyValidator validator_;
    FileOperator operator_;
    FileCoordinator defaultCoordinator_;
    FileCoordinator* coordinator_;  // borrowed; defaults to defaultCoordinator_
    StepProbe probe_;
};

}  // namespace kelo
