#include "operations/history_index.h"

#include <algorithm>
#include <unordered_map>

namespace kelo::HistoryIndex {

std::vector<HistoryBatch> build(const std::vector<JournalEntry>& entries) {
    std::unordered_map<Uuid, Uuid> batchOf;      // operation id → its batch id, for naming what an undo took back
    for (const JournalEntry& entry : entries) batchOf.emplace(entry.operation.id, entry.operation.batchID);
    std::unordered_map<Uuid, std::size_t> slot;  // batch id → position in `batches`
    std::vector<HistoryBatch> batches;           // in the order first met walking back: newest first
    for (std::size_t position = entries.size(); position-- > 0;) {
        const JournalEntry& entry = entries[position];
        const PlannedOperation& operation = entry.operation;
        if (operation.type == OperationType::createDirectory) continue;

        auto [it, inserted] = slot.try_emplace(operation.batchID, batches.size());
        if (inserted) {
            batches.emplace_back();
            batches.back().id = operation.batchID;
        }
        HistoryBatch& batch = batches[it->second];
        batch.indices.push_back(position);
        batch.date = entry.timestamp;  // ends as the oldest entry's

        if (entry.status == OperationStatus::completed) {
            if (operation.type == OperationType::move) ++batch.moved;
            if (operation.type == OperationType::rename) ++batch.renamed;
            if (operation.type != OperationType::undo) batch.canUndo = true;
            if (operation.type == OperationType::undo) ++batch.putBack;
        }
        if (operation.type == OperationType::undo && operation.reverses)
            if (const auto reversed = batchOf.find(*operation.reverses); reversed != batchOf.end())
                batch.undoes = reversed->second;
        const bool skipped = entry.outcome == OperationOutcome::skipped;
        if (skipped) ++batch.skipped;
        if (entry.status == OperationStatus::failed && !skipped) ++batch.failed;
        if (entry.status == OperationStatus::undone) ++batch.undone;
    }
    for (HistoryBatch& batch : batches) std::reverse(batch.indices.begin(), batch.indices.end());
    return batches;
}

}  // namespace kelo::HistoryIndex
