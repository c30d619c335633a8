// HistoryView: the history every snapshot shows (what HistoryIndex::build makes of
// the journal's entries), kept in step with the journal from the positions it
// reports changed, so a command costs the batches it touched, not a walk through a
// year of entries. A snapshot taken when nothing changed shares the previous list.
// Owned by the engine; engine thread only. The lists it hands out are immutable.
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "model/chunked_list.h"
#include "operations/history_index.h"
#include "operations/history_list.h"
#include "operations/operation_journal.h"

namespace kelo {

class HistoryView {
public:
    using Batches = std::shared_ptr<const HistoryList>;

    // The history of `journal` as it stands: newest batch first.
    Batches current(OperationJournal& journal);

private:
    void rebuild(const std::vector<JournalEntry>& entries);
    // Brings the batches of these changed positions up to date; false when a batch
    // that was already listed gained entries (its place in the order moves), which
    // only a rebuild handles.
    bool apply(const std::vector<JournalEntry>& entries, const std::vector<std::size_t>& changed);
    void publish();

    Batches batches_;
    HistoryBatches oldestFirst_;       // the lines, oldest batch first
    std::unordered_map<Uuid, std::size_t> slot_;  // batch id → position in oldestFirst_
    std::unordered_map<Uuid, Uuid> batchOf_;      // operation id → batch id
    std::size_t seen_ = 0;                        // entries accounted for
};

}  // namespace kelo
