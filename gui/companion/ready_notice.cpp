#include "gui/companion/ready_notice.h"

#include <iterator>

#include "engine/learning_commands.h"

namespace kelo::gui {

std::set<std::string> ReadyNotice::readyFiles(const Snapshot& snapshot) {
    std::set<std::string> ready;
    if (!snapshot.classifications) return ready;
    for (const auto& c : *snapshot.classifications)
        if (c.state == ConfidenceState::ready && !c.unsortable && !isIgnored(*snapshot.state, c.file))
            ready.insert(c.file.fingerprint());
    return ready;
}

std::optional<int> ReadyNotice::observe(const std::set<std::string>& ready, bool windowHidden, bool switchedOn,
                                        double now) {
    for (const auto& fingerprint : ready)
        if (!known_.count(fingerprint)) pending_.insert(fingerprint);
    known_ = ready;
    // Files sorted or changed meanwhile are no longer news.
    for (auto it = pending_.begin(); it != pending_.end();) it = ready.count(*it) ? std::next(it) : pending_.erase(it);
    if (!windowHidden || !switchedOn) {
        pending_.clear();  // the user sees the window, or asked for silence
        return std::nullopt;
    }
    if (pending_.empty() || (lastSent_ && now - *lastSent_ < kMinimumGap)) return std::nullopt;
    const int count = static_cast<int>(pending_.size());
    pending_.clear();
    lastSent_ = now;
    return count;
}

std::optional<double> ReadyNotice::dueAt() const {
    if (pending_.empty()) return std::nullopt;
    return lastSent_ ? *lastSent_ + kMinimumGap : 0.0;
}

}  // namespace kelo::gui
