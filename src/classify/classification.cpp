#include "classify/classification.h"

#include <algorithm>

namespace kelo {

ConfidenceState state(const Thresholds& thresholds, int score) {
    if (!thresholds.valid()) return ConfidenceState::noIdea;
    if (score >= thresholds.ready) return ConfidenceState::ready;
    if (score >= thresholds.probably) return ConfidenceState::probably;
    return ConfidenceState::noIdea;
}

CandidateList::CandidateList(std::vector<Candidate> ranked, std::vector<Candidate> zero,
                             std::shared_ptr<const std::vector<Uuid>> allIds)
    : ranked_(std::move(ranked)), zero_(std::move(zero)), allIds_(std::move(allIds)) {
    rankedIdsAscending_.reserve(ranked_.size());
    for (const auto& candidate : ranked_) rankedIdsAscending_.push_back(candidate.projectID);
    std::sort(rankedIdsAscending_.begin(), rankedIdsAscending_.end());
}

std::size_t CandidateList::size() const {
    return allIds_ ? allIds_->size() : ranked_.size() + zero_.size();
}

CandidateList::Iterator CandidateList::end() const {
    return Iterator(this, ranked_.size(), allIds_ ? allIds_->size() : zero_.size());
}

std::vector<Candidate> CandidateList::toVector() const {
    std::vector<Candidate> out;
    out.reserve(size());
    for (const auto& candidate : *this) out.push_back(candidate);
    return out;
}

CandidateList::Iterator::Iterator(const CandidateList* list, std::size_t ranked, std::size_t order)
    : list_(list), ranked_(ranked), order_(order) {
    settle();
}

// Finds the candidate for the present position. Past the ranked ones it walks the id
// order: an id that is ranked was already given, an id with zero-score evidence gives
// that candidate, any other id a blank one (held in the iterator, so copies stay valid).
void CandidateList::Iterator::settle() {
    current_ = nullptr;
    if (ranked_ < list_->ranked_.size()) {
        current_ = &list_->ranked_[ranked_];
        return;
    }
    if (!list_->allIds_) {  // a list built without an id order holds only what it was given
        if (order_ < list_->zero_.size()) current_ = &list_->zero_[order_];
        return;
    }
    const auto& ids = *list_->allIds_;
    const auto& rankedIds = list_->rankedIdsAscending_;
    for (; order_ < ids.size(); ++order_) {
        const Uuid& id = ids[order_];
        while (rankedId_ < rankedIds.size() && rankedIds[rankedId_] < id) ++rankedId_;
        if (rankedId_ < rankedIds.size() && rankedIds[rankedId_] == id) continue;
        while (zero_ < list_->zero_.size() && list_->zero_[zero_].projectID < id) ++zero_;
        if (zero_ < list_->zero_.size() && list_->zero_[zero_].projectID == id) {
            current_ = &list_->zero_[zero_];
        } else {
            blank_ = Candidate{id, 0, {}};
        }
        return;
    }
}

CandidateList::Iterator& CandidateList::Iterator::operator++() {
    if (ranked_ < list_->ranked_.size()) {
        ++ranked_;
    } else {
        ++order_;
    }
    settle();
    return *this;
}

void to_json(Json& out, const Signal& s) {
    JsonWriter w(out);
    w.put("reason", s.reason);
    w.put("points", s.points);
}

void to_json(Json& out, const Candidate& c) {
    JsonWriter w(out);
    w.put("projectID", c.projectID);
    w.put("score", c.score);
    w.put("signals", c.signals);
}

void to_json(Json& out, const Classification& c) {
    JsonWriter w(out);
    w.put("file", c.file);
    w.put("candidates", c.candidates.toVector());
    w.put("category", c.category);
    w.put("state", c.state);
    if (c.unsortable) w.put("unsortable", *c.unsortable);
}

}  // namespace kelo
