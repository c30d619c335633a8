#include "classify/learning_index.h"

#include <algorithm>

namespace kelo {

void LearningIndex::rebuild(const ChunkedList<Association>& associations) {
    positions_.clear();
    for (std::size_t i = 0; i < associations.size(); ++i) positions_[associations[i].token].push_back(i);
    seen_ = associations;
    appendedTokens_.clear();
}

void LearningIndex::sync(const ChunkedList<Association>& associations) {
    // Counts change in place; a token at a position never does while the list only
    // grows. A shorter list or a moved token is another list: index it afresh.
    const std::size_t indexed = seen_.size() + appendedTokens_.size();
    if (associations.size() < indexed) return rebuild(associations);
    bool moved = false;
    associations.forEachChanged(seen_, [&](std::size_t i) { moved |= associations[i].token != seen_[i].token; });
    for (std::size_t i = seen_.size(); i < indexed; ++i)
        moved |= associations[i].token != appendedTokens_[i - seen_.size()];
    if (moved) return rebuild(associations);
    for (std::size_t i = indexed; i < associations.size(); ++i) positions_[associations[i].token].push_back(i);
    seen_ = associations;
    appendedTokens_.clear();
}

std::optional<std::size_t> LearningIndex::find(const ChunkedList<Association>& associations, const std::string& token,
                                               const Uuid& project) const {
    const auto hit = positions_.find(token);
    if (hit == positions_.end()) return std::nullopt;
    for (const std::size_t position : hit->second)
        if (associations[position].projectID == project) return position;
    return std::nullopt;
}

void LearningIndex::appended(const ChunkedList<Association>& associations) {
    positions_[associations.back().token].push_back(associations.size() - 1);
    appendedTokens_.push_back(associations.back().token);
}

bool LearningIndex::isConsistentWith(const ChunkedList<Association>& associations) const {
    LearningIndex fresh;
    fresh.rebuild(associations);
    auto nonEmpty = [](const auto& map) {
        std::size_t count = 0;
        for (const auto& [token, positions] : map) count += positions.empty() ? 0 : 1;
        return count;
    };
    if (nonEmpty(positions_) != nonEmpty(fresh.positions_)) return false;
    for (const auto& [token, positions] : fresh.positions_) {
        const auto mine = positions_.find(token);
        if (mine == positions_.end() || mine->second != positions) return false;
    }
    return true;
}

}  // namespace kelo
