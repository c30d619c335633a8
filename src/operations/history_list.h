// HistoryList: the history lines a snapshot shows, read newest batch first. They are
// held oldest first in a ChunkedList, so the next snapshot shares every chunk but the
// ones a command touched: a one-file sort adds a line without copying a year of them.
// Made by HistoryView on the engine thread; immutable once handed out, so any thread
// may read it.
#pragma once

#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "model/chunked_list.h"
#include "operations/history_index.h"

namespace kelo {

// A line is edited when its batch is marked and added at the end with each batch, so
// small chunks keep what a command copies small.
using HistoryBatches = ChunkedList<HistoryBatch, 32>;

class HistoryList {
public:
    using const_iterator = std::reverse_iterator<HistoryBatches::const_iterator>;
    using iterator = const_iterator;

    HistoryList() = default;
    explicit HistoryList(HistoryBatches oldestFirst) : oldestFirst_(std::move(oldestFirst)) {}
    // From lines already in the order they are shown.
    static HistoryList newestFirst(const std::vector<HistoryBatch>& batches) {
        return HistoryList(HistoryBatches(batches.rbegin(), batches.rend()));
    }

    std::size_t size() const { return oldestFirst_.size(); }
    bool empty() const { return oldestFirst_.empty(); }
    // The i-th line shown: 0 is the newest batch.
    const HistoryBatch& operator[](std::size_t i) const { return oldestFirst_[oldestFirst_.size() - 1 - i]; }
    const HistoryBatch& front() const { return oldestFirst_.back(); }
    const_iterator begin() const { return const_iterator(oldestFirst_.end()); }
    const_iterator end() const { return const_iterator(oldestFirst_.begin()); }

private:
    HistoryBatches oldestFirst_;
};

}  // namespace kelo
