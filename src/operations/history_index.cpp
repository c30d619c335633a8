#include "operations/history_index.h"

#include <algorithm>
#include <unordered_map>

namespace kelo::HistoryIndex {

namespace {

// Adds one entry to its batch's line; entries come newest first.
void count(HistoryBatch& batch, std::size_t position, const JournalEntry& entry,
           const std::unordered_map<Uuid, Uuid>& batchOf) {
    const PlannedOperation& operation = entry.operation;
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

// Names the first few distinct files of a batch whose indices are oldest first.
void name(HistoryBatch& batch, const std::vector<JournalEntry>& entries) {
    for (const std::size_t position : batch.indices) {
        if (batch.names.size() == kNamesShown) return;
        std::string leaf = entries[position].operation.source.filename().string();
        if (std::find(batch.names.begin(), batch.names.end(), leaf) == batch.names.end())
            batch.names.push_back(std::move(leaf));
    }
}

}  // namespace

std::unordered_map<Uuid, Uuid> batchesOfOperations(const std::vector<JournalEntry>& entries) {
    std::unordered_map<Uuid, Uuid> batchOf;
    for (const JournalEntry& entry : entries) batchOf.emplace(entry.operation.id, entry.operation.batchID);
    return batchOf;
}

HistoryBatch summarize(const std::vector<JournalEntry>& entries, const Uuid& id,
                       const std::vector<std::size_t>& indices, const std::unordered_map<Uuid, Uuid>& batchOf) {
    HistoryBatch batch;
    batch.id = id;
    batch.indices.reserve(indices.size());
    for (auto position = indices.rbegin(); position != indices.rend(); ++position)
        count(batch, *position, entries[*position], batchOf);
    std::reverse(batch.indices.begin(), batch.indices.end());
    name(batch, entries);
    return batch;
}

std::vector<HistoryBatch> build(const std::vector<JournalEntry>& entries) {
    const auto batchOf = batchesOfOperations(entries);  // for naming what an undo took back
    std::unordered_map<Uuid, std::size_t> slot;  // batch id → position in `batches`
    std::vector<HistoryBatch> batches;           // in the order first met walking back: newest first
    for (std::size_t position = entries.size(); position-- > 0;) {
        const JournalEntry& entry = entries[position];
        if (entry.operation.type == OperationType::createDirectory) continue;
        auto [it, inserted] = slot.try_emplace(entry.operation.batchID, batches.size());
        if (inserted) {
            batches.emplace_back();
            batches.back().id = entry.operation.batchID;
        }
        count(batches[it->second], position, entry, batchOf);
    }
    for (HistoryBatch& batch : batches) {
        std::reverse(batch.indices.begin(), batch.indices.end());
        name(batch, entries);
    }
    return batches;
}

}  // namespace kelo::HistoryIndex
