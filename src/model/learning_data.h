// The records of what Kelo learned from the user's decisions: one Association per
// (token, project) pair and one Feedback entry per decision, so each decision can
// be taken back exactly. Plain values; recording and reversing live in classify/.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "model/chunked_list.h"
#include "model/date.h"
#include "model/json_codec.h"
#include "model/uuid.h"

namespace kelo {

struct Association {
    std::string token;
    Uuid projectID;
    int confirmations = 0;  // never below 0
    int rejections = 0;     // never below 0

    // 16 per confirmation, 24 per rejection, limited to -80..95 so learning alone
    // stays below an explicit confirmation (100).
    int strength() const { return std::clamp(16 * confirmations - 24 * rejections, -80, 95); }

    friend bool operator==(const Association&, const Association&) = default;
};

struct Feedback {
    Uuid id;
    Date timestamp;
    std::string filename;             // as given, with its extension
    std::vector<std::string> tokens;  // meaningful tokens of the name, ascending
    std::optional<Uuid> confirmed;
    std::optional<Uuid> rejected;

    friend bool operator==(const Feedback&, const Feedback&) = default;
};

struct LearningData {
    // Shared in chunks between copies: a copy of a year of decisions is cheap, and
    // one new decision copies only the chunks it touches.
    ChunkedList<Association> associations;  // in the order first created
    ChunkedList<Feedback> feedback;         // in the order recorded

    friend bool operator==(const LearningData&, const LearningData&) = default;
};

void to_json(Json& out, const Association& value);
void from_json(const Json& in, Association& value);
void to_json(Json& out, const Feedback& value);
void from_json(const Json& in, Feedback& value);
void to_json(Json& out, const LearningData& value);
void from_json(const Json& in, LearningData& value);

}  // namespace kelo
