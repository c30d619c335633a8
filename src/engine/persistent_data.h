// Loading the engine's stores at start-up, in their fixed order, with the rule for
// each failure: the ZIP ledger and the online AI data may be lost without stopping
// the engine; every other failure stops it, and an unreadable file is left on disk
// exactly as it was for the user to restore. Runs on the engine thread only, after
// the single-instance lock is held and before the journal is opened; the journal's
// document is read and decoded meanwhile on a second thread, as it writes nothing.
#pragma once

#include <exception>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include "ai/ai_state.h"
#include "engine/state_store.h"
#include "engine/studio_state.h"
#include "housekeeping/zip_cleanup_ledger.h"
#include "model/app_state.h"
#include "model/date.h"
#include "operations/operation_journal.h"
#include "store/local_store.h"

namespace kelo {

inline constexpr std::string_view kStartupFailurePrefix = "Persistent data could not be loaded. File operations are disabled. ";
inline constexpr std::string_view kMissingJournalMessage =
    "The operation journal is missing. File operations are disabled. Restore the matching journal backup.";
inline constexpr std::string_view kInvalidSettingsStoreMessage =
    "Unsupported or invalid settings store. Restore a valid backup; file operations are disabled.";

// What the user sees when start-up fails: the fixed prefix and the error's text.
std::string startupFailureText(const std::exception& error);

struct PersistentData {
    std::filesystem::path dataDirectory;

    LocalStore<ZipCleanupLedger> zipCleanupStore;
    std::optional<ZipCleanupLedger> zipCleanupLedger;
    std::string zipCleanupStatus;

    std::filesystem::path temporaryStorage;

    LocalStore<AIState> aiStore;
    AIState ai;
    std::optional<std::string> aiStorageIssue;

    LocalStore<std::set<std::string>> deferredNameStore;
    std::set<std::string> deferredNames;

    LocalStore<StudioState> studioStore;
    StudioState studio;

    StateStore store;
    AppState state;  // moved into the engine's own state when it starts

    OperationJournal::FoundDocument journal;  // moved into the journal when it opens

    std::filesystem::path journalPath() const;
};

// Steps two to eight of start-up; throws the fatal error (a KeloError, a decoding
// error or a system error) when there must be no engine.
PersistentData loadPersistentData(const std::filesystem::path& dataDirectory);

}  // namespace kelo
