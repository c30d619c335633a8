#include "engine/engine.h"

#include <sys/stat.h>

#include <algorithm>
#include <exception>
#include <utility>
#include <unordered_set>

#include "access/folder_bookmark.h"
#include "access/path_safety.h"
#include "engine/ai_commands.h"
#include "classify/classification_engine.h"
#include "engine/handoff_commands.h"
#include "engine/zip_cleanup_commands.h"
#include "engine/project_discovery.h"
#include "engine/rescan.h"
#include "model/kelo_error.h"
#include "scan/file_scanner.h"
#include "store/data_directory.h"

namespace kelo {

namespace {

std::unique_ptr<OperationExecutor> openExecutor(PersistentData& data, const Clock& clock) {
    auto journal = std::make_unique<OperationJournal>(data.journalPath(), std::move(data.journal), clock);
    journal->settle();  // the journal must take records before any command runs
    return std::make_unique<OperationExecutor>(std::move(journal), clock);
}

// What a dry run would have done with the operation, for the preview.
std::string wouldDo(const PlannedOperation& operation) {
    const std::string name = operation.source.filename().string();
    switch (operation.type) {
        case OperationType::createDirectory: return "Would make the folder " + operation.destination.string();
        case OperationType::rename: return "Would rename " + name + " to " + operation.destination.filename().string();
        default: return "Would move " + name + " to " + operation.destination.string();
    }
}

}  // namespace

namespace {

Trash::Environment withPendingNotes(Trash::Environment trash, const std::filesystem::path& dataDirectory) {
    trash.pendingNotes = dataDirectory / "trash-pending";
    return trash;
}

}  // namespace

Engine::Engine(const std::filesystem::path& dataDirectory, Clock clock, Trash::Environment trash)
    : clock_(std::move(clock)),
      lock_(std::make_unique<ApplicationLock>(dataDirectory)),
      data_(loadPersistentData(dataDirectory)),
      executor_(openExecutor(data_, clock_)),
      state_(std::make_shared<const AppState>(std::move(data_.state))),
      files_(std::make_shared<const std::vector<FileRecord>>()),
      nameSuggestions_(std::make_shared<const std::vector<NameSuggestion>>()),
      studio_(std::make_shared<const StudioState>(data_.studio)),
      ai_(std::make_shared<const AIState>(data_.ai)),
      trash_(withPendingNotes(std::move(trash), dataDirectory)) {
    // Info files of Trash moves that a kill cut short before the item moved.
    trash_.settleInterrupted();
}

SnapshotPtr Engine::snapshot(std::vector<std::string> messages, std::vector<std::string> issues) {
    auto out = std::make_shared<Snapshot>();
    out->state = state_;
    out->files = files_;
    out->classifications = classifications();
    out->history = history_.current(executor_->journal());
    out->canUndoTrash = lastTrashed_.has_value();
    out->lastRun = std::exchange(lastRun_, std::nullopt);
    out->messages = std::move(messages);
    out->issues = std::move(issues);
    out->studio = studio_;
    out->inventory = inventory_;
    out->inventoryProject = inventoryProject_;
    out->studioBoard = studioBoard_;
    out->nameSuggestions = nameSuggestions_;
    out->ai = ai_;
    out->aiStorageIssue = data_.aiStorageIssue;
    out->aiHasKey = aiRuntime_.keyStored;
    out->aiSessionKey = aiRuntime_.sessionKey.has_value();
    out->zipCleanupStatus = data_.zipCleanupStatus;
    if (data_.zipCleanupLedger) out->zipCleanupEvents = data_.zipCleanupLedger->events;
    return out;
}

std::shared_ptr<const std::vector<Classification>> Engine::classifications() {
    if (classifications_) return classifications_;
    const AppState& state = *state_;
    if (classifier_)
        classifier_->update(state.projects, state.learning);
    else
        classifier_ = std::make_unique<ClassificationEngine>(state.projects, state.learning);
    auto all = classifier_->classifyAll(*files_, state.assignments, state.settings.thresholds, clock_());
    // A name that no move may keep is shown as such now, not refused at clean time.
    for (auto& classification : all)
        if (!PathSafety::validName(classification.file.filename())) {
            classification.state = ConfidenceState::noIdea;
            classification.unsortable = std::string(reason::kUnsortableName);
        }
    classifications_ = std::make_shared<const std::vector<Classification>>(std::move(all));
    return classifications_;
}

Engine::~Engine() {
    try {
        flush();
    } catch (const std::exception&) {
        // Nothing left to report to: the next start reads what reached the disk.
    }
}

void Engine::flush() {
    // The state first: should it fail, the executor still syncs the journal when it closes.
    data_.store.flush();
    executor_->journal().flush();
}

void Engine::commitState(AppState next, JournalLog::Sync sync) {
    data_.store.save(*state_, next, sync);
    state_ = std::make_shared<const AppState>(std::move(next));
}

void Engine::commitStudio(StudioState next) {
    data_.studioStore.save(next);
    data_.studio = next;
    studio_ = std::make_shared<const StudioState>(std::move(next));
    invalidateClassifications();
}

void Engine::setStudioView(const Uuid& project, std::shared_ptr<const StudioProjectView> inventory,
                           std::shared_ptr<const StudioBoard> board) {
    inventoryProject_ = project;
    inventory_ = std::move(inventory);
    studioBoard_ = std::move(board);
}

AccessScope Engine::openScope(std::vector<std::string>* errors) {
    AccessSession session(state_->grants);
    if (!session.refreshed().empty()) {
        AppState next = *state_;
        for (const auto& renewed : session.refreshed())
            for (auto& grant : next.grants)
                if (grant.id == renewed.id) grant = renewed;
        commitState(std::move(next));
    }
    if (errors != nullptr) *errors = session.errors();
    AccessScope scope = session.scope();
    const auto withdrawn = protectedFolders().withdrawFrom(scope);
    if (errors != nullptr) errors->insert(errors->end(), withdrawn.begin(), withdrawn.end());
    return scope;
}

ProtectedFolders Engine::protectedFolders() const {
    const auto data = PathSafety::standardized(std::filesystem::absolute(data_.dataDirectory));
    return ProtectedFolders{{data, PathSafety::standardized(trash_.environment().dataHome / "Trash")},
                            {data / data_files::kSampleFolders}};
}

std::vector<std::string> Engine::discoverProjects(const AccessScope& scope) {
    auto found = ProjectDiscovery::discover(scope.homes, state_->projects, clock_());
    if (found.empty()) return {};
    AppState next = *state_;
    std::vector<std::string> messages;
    for (auto& project : found) {
        messages.push_back("New project found: " + project.name + ".");
        next.projects.push_back(std::move(project));
    }
    commitState(std::move(next));
    return messages;
}

SnapshotPtr Engine::scan() {
    std::vector<std::string> issues;
    const AccessScope scope = openScope(&issues);
    std::vector<std::string> messages = executor_->reconcile(scope);
    checkZipCleanup(scope, messages);

    ScanResult scanned = FileScanner::scan(scope.watched);
    issues.insert(issues.end(), scanned.errors.begin(), scanned.errors.end());
    files_ = std::make_shared<const std::vector<FileRecord>>(std::move(scanned.files));
    invalidateClassifications();

    const auto discovered = discoverProjects(scope);
    messages.insert(messages.end(), discovered.begin(), discovered.end());

    collectNameSuggestions();
    scanIssues_ = issues;
    const auto settled = HandoffCommands::settleHandoffs(*this);
    messages.insert(messages.end(), settled.begin(), settled.end());
    return snapshot(std::move(messages), std::move(issues));
}

void Engine::collectNameSuggestions() {
    nameSuggestions_ = std::make_shared<const std::vector<NameSuggestion>>(
        ProjectNameSuggestions::collect(clusters(*files_, state_->ignoredClusters), knownWords_.of(state_->projects),
                                        data_.deferredNames, state_->ignoredClusters));
}

void Engine::checkZipCleanup(const AccessScope& scope, std::vector<std::string>& messages) {
    // An unreadable ledger keeps its own status until the rule is switched on again.
    if (!data_.zipCleanupLedger && !data_.zipCleanupStatus.empty()) return;
    try {
        const auto pass = ZipCleanupCommands::checkAutomaticZipCleanup(*this, scope);
        data_.zipCleanupStatus = pass.status;
        if (pass.noteworthy) messages.push_back(pass.status);
    } catch (const KeloError& error) {
        data_.zipCleanupStatus = error.message();
    } catch (const std::exception& error) {
        data_.zipCleanupStatus = error.what();
    }
}

SnapshotPtr Engine::updateSettings(const Settings& settings) {
    if (!settings.thresholds.valid()) throw KeloError::unsafe(std::string(kInvalidThresholdsMessage));
    Settings wanted = settings;
    std::vector<std::string> messages;
    ZipCleanupCommands::applyRuleChange(*this, state_->settings, wanted, messages);
    AppState next = *state_;
    next.settings = std::move(wanted);
    commitState(std::move(next));
    invalidateClassifications();
    return snapshot(std::move(messages));
}

namespace {

// The folder the user chose, standardized, once it is known to be a folder reached
// without a symbolic link that no other approved folder (than `replacing`) names.
std::filesystem::path approvableFolder(const std::filesystem::path& folder, const std::vector<FolderGrant>& grants,
                                       const std::optional<Uuid>& replacing, const ProtectedFolders& protectedFolders) {
    const auto path = PathSafety::standardized(std::filesystem::absolute(folder));
    PathSafety::noSymbolicComponents(path);
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        throw KeloError::unsafe(path.string() + " is not a folder. Nothing was approved.");
    if (protectedFolders.overlaps(path)) throw KeloError::unsafe(ProtectedFolders::refusal(path));
    for (const auto& grant : grants) {
        if (replacing && grant.id == *replacing) continue;
        const auto existing = FolderBookmark::decode(grant.bookmark);
        if (PathSafety::key(existing ? existing->path : std::filesystem::path(grant.displayPath)) ==
            PathSafety::key(path))
            throw KeloError::unsafe(path.string() + " is already approved. Nothing changed.");
    }
    return path;
}

// The approved folder whose id is `idText`, or a refusal.
std::vector<FolderGrant>::iterator grantWithId(std::vector<FolderGrant>& grants, const std::string& idText) {
    const auto id = Uuid::parse(idText);
    auto it =
        std::find_if(grants.begin(), grants.end(), [&](const FolderGrant& grant) { return id && grant.id == *id; });
    if (it == grants.end()) throw KeloError::unsafe("No approved folder has the id " + idText + ". Nothing changed.");
    return it;
}

}  // namespace

SnapshotPtr Engine::addGrant(const std::filesystem::path& folder, FolderGrant::Role role) {
    const auto path = approvableFolder(folder, state_->grants, std::nullopt, protectedFolders());
    FolderGrant grant{Uuid::random(), FolderBookmark::make(path).encode(), path.string(), role};
    AppState next = *state_;
    next.grants.push_back(std::move(grant));
    commitState(std::move(next));
    invalidateClassifications();
    return rescanWith(
        *this, {std::string(role == FolderGrant::Role::watch ? "Watching " : "Project home ") + path.string() + "."});
}

SnapshotPtr Engine::reconnectGrant(const std::string& idText, const std::filesystem::path& folder) {
    AppState next = *state_;
    const auto it = grantWithId(next.grants, idText);
    const auto path = approvableFolder(folder, state_->grants, it->id, protectedFolders());
    const std::string before = it->displayPath;
    *it = FolderGrant{it->id, FolderBookmark::make(path).encode(), path.string(), it->role};
    commitState(std::move(next));
    invalidateClassifications();
    return rescanWith(*this, {"Reconnected " + before + " as " + path.string() + "."});
}

SnapshotPtr Engine::removeGrant(const std::string& idText) {
    AppState next = *state_;
    const auto it = grantWithId(next.grants, idText);
    const std::string path = it->displayPath;
    next.grants.erase(it);
    commitState(std::move(next));
    invalidateClassifications();
    return snapshot({"Removed folder " + path + ". Its files were left where they are."});
}

}  // namespace kelo

namespace kelo {

const FileRecord& Engine::findFile(const std::filesystem::path& path) const {
    const std::string key = PathSafety::key(std::filesystem::absolute(path));
    for (const auto& file : *files_)
        if (PathSafety::key(file.url) == key) return file;
    throw KeloError::unsafe(path.filename().string() + " is not a file in an approved inbox. Nothing changed.");
}

const Project& Engine::findProject(const std::string& nameOrId) const {
    const auto& projects = state_->projects;
    if (const auto id = Uuid::parse(nameOrId))
        for (const auto& project : projects)
            if (project.id == *id) return project;
    for (const auto& project : projects)
        if (project.name == nameOrId) return project;
    auto lower = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return text;
    };
    for (const auto& project : projects)
        if (lower(project.name) == lower(nameOrId)) return project;
    throw KeloError::unsafe("No project is called " + nameOrId + ". Nothing changed.");
}

Engine::PlanRun Engine::runPlan(const OperationPlan& plan, const AccessScope& scope) {
    PlanRun run{executor_->execute(plan, scope, state_->settings.dryRun), {}};
    constexpr std::size_t kListedMoves = 50;
    std::size_t listed = 0;
    const std::unordered_set<Uuid> completed(run.result.completed.begin(), run.result.completed.end());
    for (const auto& operation : plan.operations) {
        if (operation.type == OperationType::createDirectory) continue;
        if (!completed.contains(operation.id)) continue;
        if (listed++ < kListedMoves)
            run.messages.push_back((operation.type == OperationType::rename ? "Renamed " : "Moved ") +
                                   operation.source.filename().string() + " to " + operation.destination.string());
    }
    if (listed > kListedMoves) run.messages.push_back("... and " + std::to_string(listed - kListedMoves) + " more.");
    for (const auto& operation : plan.operations) {
        const std::string name = operation.source.filename().string();
        if (auto it = run.result.skipped.find(operation.id); it != run.result.skipped.end())
            run.messages.push_back(it->second == kDryRunMessage ? wouldDo(operation) + ". " + it->second
                                                                : "Skipped " + name + ": " + it->second);
        if (auto it = run.result.failed.find(operation.id); it != run.result.failed.end())
            run.messages.push_back("Failed " + name + ": " + it->second);
    }
    run.messages.push_back(run.result.summary());
    if (auto unsaved = AICommands::followPlan(*this, plan, run.result.completed)) run.messages.push_back(*unsaved);
    Snapshot::RunOutcome outcome{run.result.completed.size(), 0, run.result.failed.size()};
    for (const auto& [id, reason] : run.result.skipped)
        if (reason != kDryRunMessage) ++outcome.skipped;
    lastRun_ = outcome;
    return run;
}

}  // namespace kelo
