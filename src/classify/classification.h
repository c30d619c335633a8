// The classifier's results: Signal, Candidate, the compact CandidateList,
// Classification and ConfidenceState, with the rule that turns a score into a state
// and their JSON form (what `kelo --json` prints). Plain values; immutable once
// built, so any thread may read them.
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/category.h"
#include "model/file_record.h"
#include "model/json_codec.h"
#include "model/settings.h"
#include "model/uuid.h"

namespace kelo {

// The reason texts of every signal, exactly as the user sees them.
namespace reason {
inline constexpr std::string_view kUnsortableName =
    "Kelo cannot move a file whose name has \":\" or is longer than 255 bytes. Rename it in your file manager first.";
inline constexpr std::string_view kAlias = "Alias: ";  // followed by the name or alias as written
inline constexpr std::string_view kPartialName = "Partial name match";
inline constexpr std::string_view kLearned = "Learned token reinforcement: ";  // followed by the token
inline constexpr std::string_view kRejected = "Rejected token: ";              // followed by the token
inline constexpr std::string_view kRecentActivity = "Recent project activity";
inline constexpr std::string_view kRelatedFiles = "Related files in export window";
inline constexpr std::string_view kExplicit = "Explicitly confirmed file";
inline constexpr std::string_view kAmbiguous = "Ambiguous competing project — review required";
}  // namespace reason

enum class ConfidenceState { ready, probably, noIdea };

inline constexpr std::array<std::pair<ConfidenceState, std::string_view>, 3> rawValues(ConfidenceState) {
    return {{{ConfidenceState::ready, "Ready"},
             {ConfidenceState::probably, "Probably"},
             {ConfidenceState::noIdea, "No Idea"}}};
}

// Invalid thresholds give noIdea whatever the score; otherwise ready at or above
// `ready`, probably at or above `probably`.
ConfidenceState state(const Thresholds& thresholds, int score);

struct Signal {
    std::string reason;
    int points = 0;  // may be negative

    friend bool operator==(const Signal&, const Signal&) = default;
};

struct Candidate {
    Uuid projectID;
    int score = 0;                // 0..100
    std::vector<Signal> signals;  // in the order they were added

    friend bool operator==(const Candidate&, const Candidate&) = default;
};

// One candidate per project, best first: score descending, then project id text
// ascending (the leading candidate may sit above a higher score after the ambiguity
// cap). Projects without any signal are not stored: they are the score-0 tail,
// read from the id order shared by every list of one engine, so a list costs memory
// only for the projects with evidence. Project ids are assumed unique.
class CandidateList {
public:
    class Iterator {
    public:
        // The reference stays valid only while this iterator does (blank candidates
        // live in the iterator), hence an input iterator.
        using iterator_category = std::input_iterator_tag;
        using value_type = Candidate;
        using difference_type = std::ptrdiff_t;
        using pointer = const Candidate*;
        using reference = const Candidate&;

        Iterator() = default;
        const Candidate& operator*() const { return current_ ? *current_ : blank_; }
        const Candidate* operator->() const { return &**this; }
        Iterator& operator++();
        Iterator operator++(int) {
            Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) {
            return a.ranked_ == b.ranked_ && a.order_ == b.order_;
        }

    private:
        friend class CandidateList;
        Iterator(const CandidateList* list, std::size_t ranked, std::size_t order);
        void settle();

        const CandidateList* list_ = nullptr;
        std::size_t ranked_ = 0;  // position in list_->ranked_
        std::size_t order_ = 0;   // position in the id order, once the ranked ones are done
        std::size_t zero_ = 0;    // next of list_->zero_
        std::size_t rankedId_ = 0;
        const Candidate* current_ = nullptr;  // null: blank_ is the current candidate
        Candidate blank_;                     // the current candidate when it has no evidence
    };

    CandidateList() = default;
    // `ranked`: the candidates scoring above 0, in final order. `zero`: candidates that
    // score 0 yet carry signals, ascending by id. `allIds`: every project's id,
    // ascending; each id of `ranked` and `zero` is among them.
    CandidateList(std::vector<Candidate> ranked, std::vector<Candidate> zero,
                  std::shared_ptr<const std::vector<Uuid>> allIds);

    std::size_t size() const;
    bool empty() const { return size() == 0; }
    Iterator begin() const { return Iterator(this, 0, 0); }
    Iterator end() const;
    // The leading candidate; the list must not be empty. A copy: a blank candidate
    // has no storage in the list.
    Candidate front() const { return *begin(); }
    // Every candidate in order, as plain values.
    std::vector<Candidate> toVector() const;
    // The candidates that carry signals, the ranked ones first.
    const std::vector<Candidate>& ranked() const { return ranked_; }
    const std::vector<Candidate>& zeroWithEvidence() const { return zero_; }

    friend bool operator==(const CandidateList& a, const CandidateList& b) { return a.toVector() == b.toVector(); }

private:
    std::vector<Candidate> ranked_;
    std::vector<Candidate> zero_;
    std::vector<Uuid> rankedIdsAscending_;
    std::shared_ptr<const std::vector<Uuid>> allIds_;
};

struct Classification {
    FileRecord file;
    CandidateList candidates;
    Category category;
    ConfidenceState state = ConfidenceState::noIdea;
    // Why Kelo cannot move this file at all (a name no move may keep); such a file
    // is never Ready or Probably, whatever it scored.
    std::optional<std::string> unsortable;

    friend bool operator==(const Classification&, const Classification&) = default;
};

void to_json(Json& out, const Signal& value);
void to_json(Json& out, const Candidate& value);
void to_json(Json& out, const Classification& value);

}  // namespace kelo
