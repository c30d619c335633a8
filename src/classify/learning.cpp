#include "classify/learning.h"

#include <algorithm>
#include <string>

#include "classify/tokens.h"

namespace kelo {

Learning::Learning(LearningData& data)
    : data_(data), ownIndex_(std::make_unique<LearningIndex>()), index_(*ownIndex_) {}

Learning::Learning(LearningData& data, LearningIndex& index) : data_(data), index_(index) {}

void Learning::count(const std::string& token, const Uuid& project, int direction, bool confirmation) {
    if (!synced_) {
        index_.sync(data_.associations);
        synced_ = true;
    }
    // The first association of the pair, as a search from the front would find it.
    if (const auto found = index_.find(data_.associations, token, project)) {
        Association& existing = data_.associations.edit(*found);
        int& changed = confirmation ? existing.confirmations : existing.rejections;
        int& other = confirmation ? existing.rejections : existing.confirmations;
        changed = std::max(changed + direction, 0);
        other = std::max(other, 0);
        return;
    }
    Association created{token, project, 0, 0};
    (confirmation ? created.confirmations : created.rejections) = std::max(direction, 0);
    data_.associations.push_back(std::move(created));
    index_.appended(data_.associations);
}

void Learning::apply(const Feedback& entry, int direction) {
    for (const auto& token : entry.tokens) {
        if (entry.confirmed) count(token, *entry.confirmed, direction, true);
        if (entry.rejected) count(token, *entry.rejected, direction, false);
    }
}

const Feedback& Learning::record(std::string_view filename, const std::optional<Uuid>& confirmed,
                                 const std::optional<Uuid>& rejected, const Uuid& id, Date now) {
    Feedback entry;
    entry.id = id;
    entry.timestamp = now;
    entry.filename = std::string(filename);
    entry.tokens = Tokens::meaningful(Tokens::withoutExtension(filename));
    entry.confirmed = confirmed;
    if (rejected != confirmed) entry.rejected = rejected;
    data_.feedback.push_back(std::move(entry));
    apply(data_.feedback.back(), +1);
    return data_.feedback.back();
}

bool Learning::reverse(const Uuid& id) {
    auto entry =
        std::find_if(data_.feedback.begin(), data_.feedback.end(), [&](const Feedback& f) { return f.id == id; });
    if (entry == data_.feedback.end()) return false;
    const Feedback taken = std::move(*entry);
    data_.feedback.erase(entry);
    apply(taken, -1);
    return true;
}

}  // namespace kelo
