// Learning: records and takes back the user's decisions in a LearningData
// (model/learning_data.h). Borrows the data, which the caller owns (the engine
// worker's AppState) and which must outlive this object; the new entry's id and time
// are passed in so results are reproducible. Not thread-safe: use it on the one
// thread that owns the data. The engine lends it the LearningIndex it keeps across
// commands (borrowed, must outlive this object); without one it builds its own.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "classify/learning_index.h"
#include "model/date.h"
#include "model/learning_data.h"
#include "model/uuid.h"

namespace kelo {

class Learning {
public:
    explicit Learning(LearningData& data);
    Learning(LearningData& data, LearningIndex& index);

    // Records one decision about a file name (extension included) and applies it: one
    // more confirmation for each meaningful token and `confirmed`, one more rejection
    // for each token and `rejected`. Naming the same project both ways counts only as
    // a confirmation. Returns the appended entry.
    const Feedback& record(std::string_view filename, const std::optional<Uuid>& confirmed,
                           const std::optional<Uuid>& rejected, const Uuid& id, Date now);

    // Takes back the first entry with this id and removes it; false when there is none
    // (nothing changes then).
    bool reverse(const Uuid& id);

    // Applies one entry's counts with direction +1 (recording) or -1 (reversing). A
    // pair with no association gets a new one, even when reversing (with counts 0,
    // which changes no score). Counts never go below 0.
    void apply(const Feedback& entry, int direction);

private:
    void count(const std::string& token, const Uuid& project, int direction, bool confirmation);

    LearningData& data_;
    // Position of each (token, project) association in `data_.associations`, so a
    // year of decisions is not searched once per token; synced on first use.
    std::unique_ptr<LearningIndex> ownIndex_;
    LearningIndex& index_;
    bool synced_ = false;
};

}  // namespace kelo
