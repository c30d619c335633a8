// Snapshot: an immutable copy of everything the front ends show, returned by every
// engine command. Unchanged parts are shared with earlier snapshots through
// shared_ptr<const T>, so handing one out is cheap. Immutable; any thread may read.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ai/ai_state.h"
#include "classify/classification.h"
#include "engine/studio_state.h"
#include "housekeeping/zip_cleanup_ledger.h"
#include "model/app_state.h"
#include "model/file_record.h"
#include "naming/project_name_suggestions.h"
#include "operations/history_index.h"
#include "operations/history_list.h"

namespace kelo {

struct StudioProjectView;
struct StudioBoard;

struct Snapshot {
    std::shared_ptr<const AppState> state;
    std::shared_ptr<const std::vector<FileRecord>> files;
    // One per file of `files`, in the same order.
    std::shared_ptr<const std::vector<Classification>> classifications;
    std::shared_ptr<const HistoryList> history;  // newest first
    std::vector<std::string> messages;  // what the last command wants the user to read
    std::vector<std::string> issues;    // standing problems
    std::shared_ptr<const StudioState> studio;
    // The project open in the Studio (its files and insights as last read, and its
    // references board); all null until the Studio opens one.
    std::shared_ptr<const StudioProjectView> inventory;
    std::optional<Uuid> inventoryProject;
    std::shared_ptr<const StudioBoard> studioBoard;
    std::shared_ptr<const std::vector<NameSuggestion>> nameSuggestions;
    std::shared_ptr<const AIState> ai;
    bool aiHasKey = false;
    bool aiSessionKey = false;
    std::optional<std::string> aiStorageIssue;
    std::string zipCleanupStatus;
    std::vector<ZipCleanupEvent> zipCleanupEvents;
    bool canUndoTrash = false;
    // What the batch this command ran did, when it ran one. Skips that only a dry run
    // caused are not counted: they are what the user asked for.
    struct RunOutcome {
        std::size_t completed = 0;
        std::size_t skipped = 0;
        std::size_t failed = 0;
    };
    std::optional<RunOutcome> lastRun;

    // The classification of the file with this fingerprint, or null.
    const Classification* classificationOf(const std::string& fingerprint) const;
};

using SnapshotPtr = std::shared_ptr<const Snapshot>;

}  // namespace kelo
