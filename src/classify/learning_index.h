// LearningIndex: where each (token, project) association sits in a LearningData's
// associations, so recording a decision does not search a year of them. The engine
// keeps one across commands and brings it in step with the associations it is about
// to change (sync), which costs only what changed since the list it last saw: the
// chunks the two lists do not share and the positions appended. Its answers are
// always those of a search from the front. Owned by one thread (the engine's).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "model/learning_data.h"

namespace kelo {

class LearningIndex {
public:
    // Makes the index describe `associations` exactly.
    void sync(const ChunkedList<Association>& associations);

    // The first position of the (token, project) pair in `associations` (the list
    // last synced, with what was appended since), or none.
    std::optional<std::size_t> find(const ChunkedList<Association>& associations, const std::string& token,
                                    const Uuid& project) const;
    // Notes the association just appended at the end of `associations`.
    void appended(const ChunkedList<Association>& associations);

    // True when the index says what one built from scratch over `associations` says.
    bool isConsistentWith(const ChunkedList<Association>& associations) const;

private:
    void rebuild(const ChunkedList<Association>& associations);

    std::unordered_map<std::string, std::vector<std::size_t>> positions_;  // each list ascending
    ChunkedList<Association> seen_;                                        // the list last synced, sharing its chunks
    // Tokens appended after seen_ (positions from seen_.size() on): the list they were
    // appended to may never have been committed, so the next sync checks them.
    std::vector<std::string> appendedTokens_;
};

}  // namespace kelo
