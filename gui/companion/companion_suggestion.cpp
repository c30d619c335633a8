#include "gui/companion/companion_suggestion.h"

#include "engine/learning_commands.h"

namespace kelo::gui {

namespace {

// `evenIfLeftAlone`: a file the user drops asks to be looked at, even one they once left alone.
std::optional<Suggestion> offer(const Snapshot& snapshot, const Classification& c, bool evenIfLeftAlone = false) {
    if (c.unsortable || c.state == ConfidenceState::noIdea) return std::nullopt;
    if (!evenIfLeftAlone && isIgnored(*snapshot.state, c.file)) return std::nullopt;
    if (c.candidates.empty()) return std::nullopt;
    const Candidate top = c.candidates.front();
    if (top.score <= 0) return std::nullopt;
    return Suggestion{c.file.url, c.file.fingerprint(), top.projectID, c.state};
}

int score(const Classification& c) {
    return c.candidates.empty() ? 0 : c.candidates.front().score;
}

}  // namespace

std::optional<Suggestion> topSuggestion(const Snapshot& snapshot, const std::set<std::string>& skipped) {
    if (!snapshot.classifications) return std::nullopt;
    const Classification* best = nullptr;
    std::optional<Suggestion> chosen;
    for (const auto& c : *snapshot.classifications) {
        auto suggestion = offer(snapshot, c);
        if (!suggestion || skipped.count(suggestion->fingerprint)) continue;
        const bool better = !best || (c.state == ConfidenceState::ready && best->state != ConfidenceState::ready) ||
                            (c.state == best->state && score(c) > score(*best));
        if (better) {
            best = &c;
            chosen = std::move(suggestion);
        }
    }
    return chosen;
}

DropResult judgeDrop(const Snapshot& snapshot, const std::filesystem::path& file) {
    const auto folder = file.lexically_normal().parent_path();
    bool inInbox = false;
    for (const auto& grant : snapshot.state->grants)
        if (grant.role == FolderGrant::Role::watch &&
            std::filesystem::path(grant.displayPath).lexically_normal() == folder)
            inInbox = true;
    if (!inInbox) return {DropVerdict::notInInbox, std::nullopt};
    if (!snapshot.classifications) return {DropVerdict::notListed, std::nullopt};
    for (const auto& c : *snapshot.classifications) {
        if (c.file.url.lexically_normal() != file.lexically_normal()) continue;
        auto suggestion = offer(snapshot, c, true);
        return {suggestion ? DropVerdict::offered : DropVerdict::noProject, std::move(suggestion)};
    }
    return {DropVerdict::notListed, std::nullopt};
}

}  // namespace kelo::gui
