#include "engine/sort_learning.h"

#include <algorithm>
#include <map>
#include <set>

#include "classify/learning.h"

namespace kelo::SortLearning {

namespace {

// The file as it lies after the move: its fingerprint names the assignment.
std::string placedFingerprint(const std::filesystem::path& place, const FileIdentity& identity) {
    FileRecord placed;
    placed.url = place;
    placed.identity = identity;
    return placed.fingerprint();
}

// The time of the latest move into the project that the learning still holds.
std::optional<Date> previousActivity(const LearningData& learning, const Uuid& project) {
    std::optional<Date> latest;
    for (const auto& feedback : learning.feedback)
        if (feedback.confirmed == project && (!latest || feedback.timestamp > *latest)) latest = feedback.timestamp;
    return latest;
}

// The batch's moves are durable already; what it taught waits for the next sync.
void commit(Engine& engine, AppState next) {
    engine.commitState(std::move(next), JournalLog::Sync::withNext);
    engine.invalidateClassifications();
}

}  // namespace

std::optional<Classification> classificationOf(Engine& engine, const FileRecord& file) {
    const std::string fingerprint = file.fingerprint();
    for (const auto& classification : *engine.classifications())
        if (classification.file.fingerprint() == fingerprint) return classification;
    return std::nullopt;
}

std::optional<Uuid> rejectedSuggestion(const Classification* classification, const Uuid& chosen) {
    if (!classification || classification->state == ConfidenceState::noIdea || classification->candidates.empty())
        return std::nullopt;
    const Uuid suggested = classification->candidates.front().projectID;
    if (suggested == chosen) return std::nullopt;
    return suggested;
}

void learn(Engine& engine, const std::vector<Decision>& decisions, const BatchResult& result) {
    const std::set<Uuid> completed(result.completed.begin(), result.completed.end());
    AppState next = engine.state();
    Learning learning(next.learning, engine.learningIndex());
    const Date now = engine.now();
    bool changed = false;
    for (const auto& decision : decisions) {
        if (!completed.contains(decision.operation)) continue;
        learning.record(decision.file.filename(), decision.project, decision.rejected, decision.operation, now);
        const std::string placed = placedFingerprint(decision.destination, decision.file.identity);
        next.assignments[placed] = Assignment{placed, decision.project, decision.category};
        if (Project* project = editProject(next.projects, decision.project)) project->lastActivity = now;
        changed = true;
    }
    if (changed) commit(engine, std::move(next));
}

std::size_t forgetUndone(Engine& engine, const OperationPlan& undoPlan, const BatchResult& result) {
    const std::set<Uuid> completed(result.completed.begin(), result.completed.end());
    AppState next = engine.state();
    Learning learning(next.learning, engine.learningIndex());
    std::size_t reversed = 0;
    bool changed = false;
    std::map<Uuid, Date> undoneActivity;  // project -> the time a taken-back move marked it active
    for (const auto& undo : undoPlan.operations) {
        if (!completed.contains(undo.id) || !undo.reverses || !undo.expected) continue;
        // The undo's source is where the move put the file, as it was then.
        changed |= next.assignments.erase(placedFingerprint(undo.source, *undo.expected)) > 0;
        const auto& feedback = next.learning.feedback;
        const auto entry = std::find_if(feedback.begin(), feedback.end(),
                                        [&](const Feedback& f) { return f.id == *undo.reverses; });
        if (entry != feedback.end() && entry->confirmed) undoneActivity[*entry->confirmed] = entry->timestamp;
        if (learning.reverse(*undo.reverses)) {
            ++reversed;
            changed = true;
        }
    }
    for (std::size_t i = 0; i < next.projects.size(); ++i) {
        const Project& project = next.projects[i];
        const auto undone = undoneActivity.find(project.id);
        if (undone == undoneActivity.end() || project.lastActivity != undone->second) continue;
        // The taken-back move was the project's latest activity: it goes back to the
        // one before, the latest move into it that still stands.
        next.projects.edit(i).lastActivity = previousActivity(next.learning, project.id);
        changed = true;
    }
    if (changed) commit(engine, std::move(next));
    return reversed;
}

}  // namespace kelo::SortLearning
