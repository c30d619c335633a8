// HistoryIndex: the user's history, one line per batch, newest first, computed on
// demand from the journal's entries (the journal is the only record). Stateless;
// called from the engine thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/date.h"
#include "model/uuid.h"
#include "operations/operation_journal.h"

namespace kelo {

struct HistoryBatch {
    Uuid id;                           // the batchID its operations share
    std::vector<std::size_t> indices;  // positions in the journal's entries, oldest first
    Date date;                         // timestamp of the oldest counted entry
    int moved = 0;                     // completed moves
    int renamed = 0;                   // completed renames
    int skipped = 0;                   // entries with outcome skipped
    int failed = 0;                    // failed entries whose outcome is not skipped
    int undone = 0;                    // entries now undone
    bool canUndo = false;              // holds a completed entry that is not an undo
    int putBack = 0;                   // completed undo operations
    std::optional<Uuid> undoes;        // for an undo batch: the batch it took back
    std::vector<std::string> names;    // the first few file names it touched, oldest first

    friend bool operator==(const HistoryBatch&, const HistoryBatch&) = default;
};

namespace HistoryIndex {

// How many file names a batch's line keeps: enough to recognise it.
inline constexpr std::size_t kNamesShown = 3;

// Batches newest first. Folder creations never appear and are never counted.
std::vector<HistoryBatch> build(const std::vector<JournalEntry>& entries);

// Operation id → its batch id, for naming what an undo took back.
std::unordered_map<Uuid, Uuid> batchesOfOperations(const std::vector<JournalEntry>& entries);
// The line of one batch from its entries' positions (oldest first, no folder
// creations), as build makes it.
HistoryBatch summarize(const std::vector<JournalEntry>& entries, const Uuid& id,
                       const std::vector<std::size_t>& indices, const std::unordered_map<Uuid, Uuid>& batchOf);

}  // namespace HistoryIndex
}  // namespace kelo
