#include "gui/companion/mascot_mood.h"

namespace kelo::gui {

bool hasConcerns(const Snapshot& snapshot) {
    return !snapshot.issues.empty() || snapshot.aiStorageIssue.has_value() ||
           (snapshot.lastRun && snapshot.lastRun->failed > 0);
}

bool hasWork(const Snapshot& snapshot) {
    if (!snapshot.classifications) return false;
    for (const auto& c : *snapshot.classifications)
        if (c.state != ConfidenceState::noIdea) return true;
    return false;
}

Mood MoodTracker::update(const SnapshotPtr& snapshot, bool busy, double now) {
    if (!started_) {
        started_ = true;
        lastActivity_ = now;
    }
    if (snapshot && snapshot.get() != seen_) {
        seen_ = snapshot.get();
        keep_ = snapshot;
        lastActivity_ = now;
        const auto& run = snapshot->lastRun;
        if (run && run->completed > 0 && run->failed == 0) happyUntil_ = now + kHappyFor;
    }
    if (busy) lastActivity_ = now;

    if (busy)
        mood_ = Mood::busy;
    else if (snapshot && hasConcerns(*snapshot))
        mood_ = Mood::concerned;
    else if (now < happyUntil_)
        mood_ = Mood::happy;
    else if (now - lastActivity_ >= kAsleepAfter && !(snapshot && hasWork(*snapshot)))
        mood_ = Mood::asleep;
    else
        mood_ = Mood::idle;
    return mood_;
}

}  // namespace kelo::gui
