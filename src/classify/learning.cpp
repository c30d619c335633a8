#include "classify/learning.h"

#include <algorithm>
#include <string>

#include "classify/tokens.h"

namespace kelo {

void Learning::count(const std::string& token, const Uuid& project, int direction, bool confirmation) {
    if (!indexed_) {
        for (std::size_t i = 0; i < data_.associations.size(); ++i) index_[data_.associations[i].token].push_back(i);
        indexed_ = true;
    }
    std::vector<std::size_t>& positions = index_[token];
    // The first association of the pair, as a search from the front would find it.
    const auto found = std::find_if(positions.begin(), positions.end(), [&](std::size_t position) {
        return data_.associations[position].projectID == project;
    });
    const auto existing =
        found == positions.end() ? data_.associations.end() : data_.associations.begin() + static_cast<long>(*found);
    if (existing != data_.associations.end()) {
        int& changed = confirmation ? existing->confirmations : existing->rejections;
        int& other = confirmation ? existing->rejections : existing->confirmations;
        changed = std::max(changed + direction, 0);
        other = std::max(other, 0);
        return;
    }
    Association created{token, project, 0, 0};
    (confirmation ? created.confirmations : created.rejections) = std::max(direction, 0);
    positions.push_back(data_.associations.size());
    data_.associations.push_back(std::move(created));
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
