#include "operations/history_view.h"

#include <algorithm>
#include <map>
#include <set>

namespace kelo {

HistoryView::Batches HistoryView::current(OperationJournal& journal) {
    const auto& entries = journal.document().entries;
    const auto changed = journal.takeChangedPositions();
    if (!batches_ || entries.size() < seen_) {
        rebuild(entries);
    } else if (!changed.empty()) {
        if (!apply(entries, changed)) rebuild(entries);
    }
    return batches_;
}

void HistoryView::rebuild(const std::vector<JournalEntry>& entries) {
    auto newestFirst = HistoryIndex::build(entries);
    oldestFirst_ = HistoryBatches(newestFirst.rbegin(), newestFirst.rend());
    slot_.clear();
    for (std::size_t i = 0; i < oldestFirst_.size(); ++i) slot_.emplace(oldestFirst_[i].id, i);
    batchOf_ = HistoryIndex::batchesOfOperations(entries);
    seen_ = entries.size();
    publish();
}

bool HistoryView::apply(const std::vector<JournalEntry>& entries, const std::vector<std::size_t>& changed) {
    for (std::size_t position = seen_; position < entries.size(); ++position)
        batchOf_.emplace(entries[position].operation.id, entries[position].operation.batchID);
    // Batches already listed whose entries were marked, and the new batches with
    // their entries' positions; entries are appended, so every new batch is newer
    // than every listed one, and they follow one another in the order of their
    // newest entries.
    std::set<Uuid> marked;
    std::map<Uuid, std::vector<std::size_t>> added;
    for (const std::size_t position : changed) {
        const PlannedOperation& operation = entries[position].operation;
        if (operation.type == OperationType::createDirectory) continue;
        const bool listed = slot_.contains(operation.batchID);
        if (position >= seen_ && listed) return false;
        if (listed)
            marked.insert(operation.batchID);
        else if (position >= seen_)
            added[operation.batchID].push_back(position);
    }
    for (const Uuid& id : marked) {
        HistoryBatch& batch = oldestFirst_.edit(slot_.at(id));
        batch = HistoryIndex::summarize(entries, id, batch.indices, batchOf_);
    }
    std::vector<std::pair<std::size_t, Uuid>> byNewest;
    for (auto& [id, positions] : added) {
        std::sort(positions.begin(), positions.end());
        positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
        byNewest.emplace_back(positions.back(), id);
    }
    std::sort(byNewest.begin(), byNewest.end());
    for (const auto& [newest, id] : byNewest) {
        slot_.emplace(id, oldestFirst_.size());
        oldestFirst_.push_back(HistoryIndex::summarize(entries, id, added[id], batchOf_));
    }
    seen_ = entries.size();
    publish();
    return true;
}

void HistoryView::publish() {
    batches_ = std::make_shared<const HistoryList>(oldestFirst_);
}

}  // namespace kelo
