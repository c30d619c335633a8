// ReadyNotice: decides when to tell the user that new files became Ready while the
// window was hidden: only files not Ready before, only while hidden and switched on,
// at most once a minute (what arrives within the minute is told together when it
// ends). Plain C++ fed with times, so tests need no clock. One owner at a time.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "engine/snapshot.h"

namespace kelo::gui {

class ReadyNotice {
public:
    static constexpr double kMinimumGap = 60.0;

    // The fingerprints of the snapshot's Ready files that nothing holds back.
    static std::set<std::string> readyFiles(const Snapshot& snapshot);

    // Takes the Ready files as they now stand; returns how many to announce now, if
    // any. `now` in seconds from any fixed origin.
    std::optional<int> observe(const std::set<std::string>& ready, bool windowHidden, bool switchedOn, double now);
    // When the news held back by the minute may go out; absent when none waits.
    std::optional<double> dueAt() const;

private:
    std::set<std::string> known_;    // Ready files already seen
    std::set<std::string> pending_;  // new Ready files not announced yet
    std::optional<double> lastSent_;
};

}  // namespace kelo::gui
