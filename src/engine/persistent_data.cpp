#include "engine/persistent_data.h"

#include <cerrno>
#include <future>
#include <system_error>

#include "app/application_lock.h"
#include "model/kelo_error.h"
#include "store/data_directory.h"
#include "studio/studio_workspace.h"

namespace kelo {

std::string startupFailureText(const std::exception& error) {
    // The session lock is not data: another instance, or a lock that cannot be
    // opened, is said as it is.
    if (const auto* refusal = dynamic_cast<const KeloError*>(&error))
        if (refusal->message() == ApplicationLock::kBusy || refusal->message() == ApplicationLock::kUnavailable)
            return refusal->message();
    if (const auto* system = dynamic_cast<const std::system_error*>(&error)) {
        const int code = system->code().value();
        if (system->code().category() == std::generic_category() || system->code().category() == std::system_category()) {
            if (code == ENOSPC || code == EDQUOT)
                return "Kelo could not start: the disk holding its data folder is full. Nothing was changed; free some "
                       "space and start Kelo again.";
            if (code == EROFS)
                return "Kelo could not start: its data folder is on a read-only disk. Nothing was changed.";
        }
    }
    return std::string(kStartupFailurePrefix) + error.what();
}

std::filesystem::path PersistentData::journalPath() const { return dataDirectory / data_files::kJournal; }

namespace {

std::filesystem::path file(const std::filesystem::path& folder, std::string_view name) { return folder / name; }

void loadZipLedger(PersistentData& data) {
    try {
        if (std::filesystem::exists(std::filesystem::symlink_status(data.zipCleanupStore.url())))
            data.zipCleanupLedger = data.zipCleanupStore.load([] { return ZipCleanupLedger{}; });
    } catch (const std::exception&) {
        data.zipCleanupLedger.reset();
        data.zipCleanupStatus = std::string(kUnreadableZipLedgerStatus);
    }
}

void loadAIState(PersistentData& data) {
    try {
        AIState loaded = data.aiStore.load([] { return AIState{}; });
        if (!loaded.valid()) throw KeloError::unsafe(std::string(kInvalidAIDataMessage));
        if (loaded.closeInterruptedRequests()) data.aiStore.save(loaded);
        data.ai = std::move(loaded);
    } catch (const std::exception&) {
        // A fresh state in memory only: the unreadable file is never written over.
        data.ai = AIState{};
        data.aiStorageIssue = std::string(kAIStorageIssue);
    }
}

void checkJournalPresence(const PersistentData& data) {
    const bool hasState = std::filesystem::exists(std::filesystem::symlink_status(data.store.url()));
    const bool hasJournal = std::filesystem::exists(std::filesystem::symlink_status(data.journalPath()));
    if (hasState && !hasJournal) throw KeloError::unsafe(std::string(kMissingJournalMessage));
}

void loadState(PersistentData& data) {
    AppState state = data.store.load([] { return AppState{}; });
    if (state.schemaVersion != AppState::kSchemaVersion || !state.settings.thresholds.valid())
        throw KeloError::unsafe(std::string(kInvalidSettingsStoreMessage));
    data.state = std::move(state);
}

}  // namespace

PersistentData loadPersistentData(const std::filesystem::path& dataDirectory) {
    PersistentData data{
        .dataDirectory = dataDirectory,
        .zipCleanupStore = LocalStore<ZipCleanupLedger>(file(dataDirectory, data_files::kZipCleanup)),
        .zipCleanupLedger = std::nullopt,
        .zipCleanupStatus = {},
        .temporaryStorage = file(dataDirectory, data_files::kTemporary),
        .aiStore = LocalStore<AIState>(file(dataDirectory, data_files::kOnlineAI)),
        .ai = {},
        .aiStorageIssue = std::nullopt,
        .deferredNameStore = LocalStore<std::set<std::string>>(file(dataDirectory, data_files::kDeferredNames)),
        .deferredNames = {},
        .studioStore = LocalStore<StudioState>(file(dataDirectory, data_files::kStudio)),
        .studio = {},
        .store = StateStore(file(dataDirectory, data_files::kState)),
        .state = {},
        .journal = {},
    };
    // The journal's document is as large as the state's and independent of it; its
    // errors are reported after the state's, as when it was read second.
    auto journal = std::async(std::launch::async, OperationJournal::readDocument, data.journalPath());

    loadZipLedger(data);
    ensureDirectory(data.temporaryStorage);
    loadAIState(data);
    data.deferredNames = data.deferredNameStore.load([] { return std::set<std::string>{}; });
    data.studio = data.studioStore.load([] { return StudioState{}; });
    if (!data.studio.valid()) throw KeloError::unsafe(std::string(kInvalidStudioMessage));
    StudioWorkspace::from(data.studio);  // refuses a document it cannot trust
    checkJournalPresence(data);
    loadState(data);
    data.journal = journal.get();
    return data;
}

}  // namespace kelo
