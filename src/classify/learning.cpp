#include "classify/learning.h"

#include <algorithm>
#include <string>

#include "classify/tokens.h"

namespace kelo {

namespace {

Association* find(LearningData& learning, const std::string& token, const Uuid& project) {
    for (auto& association : learning.associations)
        if (association.projectID == project && association.token == token) return &association;
    return nullptr;
}

void count(LearningData& learning, const std::string& token, const Uuid& project, int direction, bool confirmation) {
    if (Association* existing = find(learning, token, project)) {
        int& changed = confirmation ? existing->confirmations : existing->rejections;
        int& other = confirmation ? existing->rejections : existing->confirmations;
        changed = std::max(changed + direction, 0);
        other = std::max(other, 0);
        return;
    }
    Association created{token, project, 0, 0};
    (confirmation ? created.confirmations : created.rejections) = std::max(direction, 0);
    learning.associations.push_back(std::move(created));
}

}  // namespace

void apply(LearningData& learning, const Feedback& entry, int direction) {
    for (const auto& token : entry.tokens) {
        if (entry.confirmed) count(learning, token, *entry.confirmed, direction, true);
        if (entry.rejected) count(learning, token, *entry.rejected, direction, false);
    }
}

const Feedback& record(LearningData& learning, std::string_view filename, const std::optional<Uuid>& confirmed,
                       const std::optional<Uuid>& rejected, const Uuid& id, Date now) {
    Feedback entry;
    entry.id = id;
    entry.timestamp = now;
    entry.filename = std::string(filename);
    entry.tokens = Tokens::meaningful(Tokens::withoutExtension(filename));
    entry.confirmed = confirmed;
    if (rejected != confirmed) entry.rejected = rejected;
    learning.feedback.push_back(std::move(entry));
    apply(learning, learning.feedback.back(), +1);
    return learning.feedback.back();
}

bool reverse(LearningData& learning, const Uuid& id) {
    auto entry =
        std::find_if(learning.feedback.begin(), learning.feedback.end(), [&](const Feedback& f) { return f.id == id; });
    if (entry == learning.feedback.end()) return false;
    apply(learning, *entry, -1);
    learning.feedback.erase(entry);
    return true;
}

}  // namespace kelo
