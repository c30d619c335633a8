// Engine: the one owner of Kelo's mutable state and the only code that touches the
// user's files. It holds the single-instance lock, the stores, the journal and its
// executor, what the last scan found and the classification cache, and runs each
// command to completion, ending with a fresh Snapshot.
//
// Runs on the engine thread only: front ends never call it directly; they go
// through EngineWorker, which confines it to its serial executor.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "access/access_session.h"
#include "access/protected_folders.h"
#include "ai/ai_state.h"
#include "engine/ai_runtime.h"
#include "classify/classification_engine.h"
#include "classify/learning_index.h"
#include "app/application_lock.h"
#include "engine/persistent_data.h"
#include "engine/snapshot.h"
#include "model/date.h"
#include "naming/known_project_words.h"
#include "operations/history_view.h"
#include "operations/operation_executor.h"
#include "operations/trash.h"

namespace kelo {

using Clock = std::function<Date()>;

class Engine {
public:
    // Start-up in its fixed order: the lock first, then the stores, then the journal
    // (opened and checkpointed) and the executor. Throws the fatal error; there is
    // no engine then. `trash` is the user's Trash unless a test hands in another.
    Engine(const std::filesystem::path& dataDirectory, Clock clock,
           Trash::Environment trash = Trash::Environment::current());
    // Makes what waits for a sync durable before the lock is let go.
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Fills the classification cache when it is stale, then copies what the front
    // ends show.
    SnapshotPtr snapshot(std::vector<std::string> messages = {}, std::vector<std::string> issues = {});

    // Regains the approved folders, settles interrupted operations, lists the
    // inboxes, discovers projects and collects name suggestions.
    SnapshotPtr scan();
    // The end of a command that ran `plan` in `scope`: brings what the last scan found
    // in step with what the executor changed, as a scan would see it (see
    // batch_refresh.cpp), and returns the snapshot with `messages` first.
    SnapshotPtr refreshAfterBatch(const OperationPlan& plan, const BatchResult& result, const AccessScope& scope,
                                  std::vector<std::string> messages);

    // Replaces the settings after validating them; the new state is saved before it
    // takes effect, so a failed save leaves the old settings in force. Switching the
    // ZIP cleanup rule on baselines its folder first (and may be refused).
    SnapshotPtr updateSettings(const Settings& settings);

    // Approves a folder in a role (then scans). Refuses a folder under a symbolic
    // link, anything but a folder, and a folder already approved.
    SnapshotPtr addGrant(const std::filesystem::path& folder, FolderGrant::Role role);
    // Points one approved folder at `folder` (the same folder found again after it
    // moved or was restored, or its replacement), keeping its id and role, then
    // scans. Refuses as approving does.
    SnapshotPtr reconnectGrant(const std::string& idText, const std::filesystem::path& folder);
    // Forgets one approved folder; nothing on disk changes.
    SnapshotPtr removeGrant(const std::string& idText);

    // --- For the command files (engine/*_commands.cpp); engine thread only. ---

    const AppState& state() const { return *state_; }
    const std::filesystem::path& dataDirectory() const { return data_.dataDirectory; }
    PersistentData& data() { return data_; }
    OperationExecutor& executor() { return *executor_; }
    const Trash& trash() const { return trash_; }
    Date now() const { return clock_(); }
    const std::vector<FileRecord>& files() const { return *files_; }

    // The scanned inbox file at `path` (compared as standardised paths), or a
    // refusal naming it.
    const FileRecord& findFile(const std::filesystem::path& path) const;
    // The project whose name (exactly, then ignoring case) or id text is `nameOrId`,
    // or a refusal.
    const Project& findProject(const std::string& nameOrId) const;

    // Previews and runs a plan under the current dry-run setting in the current
    // scope. Returns the result and the lines to show: each skipped or failed file
    // with its reason, then the summary.
    struct PlanRun {
        BatchResult result;
        std::vector<std::string> messages;
    };
    PlanRun runPlan(const OperationPlan& plan, const AccessScope& scope);

    // The last file moved to the Trash, for a single-step undo; forgotten when the
    // engine stops.
    const std::optional<TrashedItem>& lastTrashed() const { return lastTrashed_; }
    void setLastTrashed(std::optional<TrashedItem> item) { lastTrashed_ = std::move(item); }

    // Collects the name suggestions afresh from the last scan's files and the current
    // projects, deferred names and ignored clusters. Called after any of those change.
    void collectNameSuggestions();

    // Kelo's data directory and the user's home trash: never approved, listed or changed.
    ProtectedFolders protectedFolders() const;

    // The approved folders as this command sees them, with grants renewed and saved;
    // a grant that reaches a protected folder is left out and reported in `errors`.
    AccessScope openScope(std::vector<std::string>* errors = nullptr);

    // Saves `next` and only then makes it the current state. What a finished batch
    // learned may wait for the next sync (`withNext`): the batch's files are already
    // durable, and losing the learning to a power cut loses no file.
    void commitState(AppState next, JournalLog::Sync sync = JournalLog::Sync::now);
    // Syncs what the journal and the state left waiting; the engine's worker calls it
    // at every quiet moment. Errors throw, and the next write meets the broken log.
    void flush();
    // Saves the Studio document and only then makes it current; clears the
    // classification cache.
    void commitStudio(StudioState next);
    const StudioState& studio() const { return *studio_; }
    // The project open in the Studio, handed to every snapshot until another opens.
    void setStudioView(const Uuid& project, std::shared_ptr<const StudioProjectView> inventory,
                       std::shared_ptr<const StudioBoard> board);
    const std::optional<Uuid>& inventoryProject() const { return inventoryProject_; }
    const std::shared_ptr<const StudioProjectView>& inventory() const { return inventory_; }
    // Drops the classification cache; the next snapshot recomputes it.
    void invalidateClassifications() { classifications_.reset(); }
    // The cached classifications, computed if stale.
    std::shared_ptr<const std::vector<Classification>> classifications();
    // Where each learned association sits, kept across commands for Learning.
    LearningIndex& learningIndex() { return learningIndex_; }

    // Online AI: the stored state (replaced only by AICommands::persistAI, after the
    // write succeeded) and what is kept of it in memory alone.
    const AIState& ai() const { return *ai_; }
    void replaceAI(AIState next) { ai_ = std::make_shared<const AIState>(std::move(next)); }
    AIRuntime& aiRuntime() { return aiRuntime_; }

private:
    std::vector<std::string> discoverProjects(const AccessScope& scope);
    // Runs the automatic ZIP cleanup when its rule is on; the outcome becomes its
    // status, and a message when a ZIP was trashed or left alone.
    void checkZipCleanup(const AccessScope& scope, std::vector<std::string>& messages);

    Clock clock_;
    std::unique_ptr<ApplicationLock> lock_;
    PersistentData data_;
    std::unique_ptr<OperationExecutor> executor_;
    std::shared_ptr<const AppState> state_;
    std::shared_ptr<const std::vector<FileRecord>> files_;
    std::shared_ptr<const std::vector<Classification>> classifications_;  // null: stale
    std::shared_ptr<const std::vector<NameSuggestion>> nameSuggestions_;
    std::shared_ptr<const StudioState> studio_;
    std::shared_ptr<const StudioProjectView> inventory_;
    std::optional<Uuid> inventoryProject_;
    std::shared_ptr<const StudioBoard> studioBoard_;
    std::shared_ptr<const AIState> ai_;
    AIRuntime aiRuntime_;
    Trash trash_;
    std::optional<TrashedItem> lastTrashed_;
    std::optional<Snapshot::RunOutcome> lastRun_;  // handed to the next snapshot, once
    // Kept across commands and brought in step with the state when next needed, so a
    // decision costs what it changed, not a rebuild from a year of learning.
    std::unique_ptr<ClassificationEngine> classifier_;
    LearningIndex learningIndex_;
    HistoryView history_;
    KnownProjectWords knownWords_;
    std::vector<std::string> scanIssues_;  // what the last scan found wrong, shown until the next
};

}  // namespace kelo
