// MascotMood: how the mascot feels, decided from the engine's snapshots and the time.
// MoodTracker keeps the little memory a mood needs (when the last batch finished,
// when anything last happened); it reads snapshots and never changes them. Plain
// C++ with no widgets, so tests drive it with hand-made snapshots and times.
// One owner at a time; not thread-safe.
#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "engine/snapshot.h"

namespace kelo::gui {

enum class Mood { idle, happy, busy, concerned, asleep };

inline constexpr std::array<std::pair<Mood, std::string_view>, 5> kMoods = {{{Mood::idle, "idle"},
                                                                             {Mood::happy, "happy"},
                                                                             {Mood::busy, "busy"},
                                                                             {Mood::concerned, "concerned"},
                                                                             {Mood::asleep, "asleep"}}};

class MoodTracker {
public:
    // How long the mascot stays happy after a batch that moved files without failure.
    static constexpr double kHappyFor = 6.0;
    // How long nothing must happen, with nothing left to sort, before it falls asleep.
    static constexpr double kAsleepAfter = 10 * 60.0;

    // Reads `snapshot` (null before the engine's first) at `now` (seconds, any
    // monotonic origin). `busy`: a command, scan, duplicate search, handoff or AI
    // request is running. A snapshot counts as news only the first time it is seen.
    Mood update(const SnapshotPtr& snapshot, bool busy, double now);

    Mood mood() const { return mood_; }

private:
    const Snapshot* seen_ = nullptr;
    SnapshotPtr keep_;  // keeps `seen_` from being reused by a later snapshot's address
    double lastActivity_ = 0;
    bool started_ = false;
    double happyUntil_ = -1;
    Mood mood_ = Mood::idle;
};

// Whether the snapshot has something the user should look at: a standing issue, an
// AI storage problem, or a batch that failed on some file.
bool hasConcerns(const Snapshot& snapshot);
// Whether anything waits to be sorted: a Ready or Probably file.
bool hasWork(const Snapshot& snapshot);

}  // namespace kelo::gui
