// The user's preferences: Thresholds, UsagePreset, ZipCleanupRule and Settings.
// Plain values; any thread may use them.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/date.h"
#include "model/json_codec.h"
#include "model/uuid.h"

namespace kelo {

// The classifier's confidence cut-offs.
struct Thresholds {
    int ready = 90;
    int probably = 70;

    // ready ≤ 100, probably < ready, probably ≥ 1.
    bool valid() const { return ready <= 100 && probably < ready && probably >= 1; }

    friend bool operator==(const Thresholds&, const Thresholds&) = default;
};

// The message for thresholds the user submitted that are not valid.
inline constexpr std::string_view kInvalidThresholdsMessage =
    "Probably must be below Ready, and thresholds must be between 1 and 100.";

// What the user mostly files; chosen during onboarding.
enum class UsagePreset { study, design, personal };

inline constexpr std::array<std::pair<UsagePreset, std::string_view>, 3> rawValues(UsagePreset) {
    return {{{UsagePreset::study, "study"}, {UsagePreset::design, "design"}, {UsagePreset::personal, "personal"}}};
}

// The fixed presentation values each preset carries.
struct UsagePresetValues {
    std::string_view title;
    std::string_view symbol;
    std::string_view example;
    std::string_view detail;  // the naming detail word
    std::array<std::string_view, 4> folders;  // suggested sub-folders, in order
};

const UsagePresetValues& presetValues(UsagePreset preset);

// Automatic cleanup of ZIPs in one approved watch folder; absent means off.
struct ZipCleanupRule {
    Uuid id;  // new each time the rule is switched on
    Uuid folderGrantID;
    Date enabledAt;

    friend bool operator==(const ZipCleanupRule&, const ZipCleanupRule&) = default;
};

struct Settings {
    Thresholds thresholds;
    bool dryRun = true;
    bool debug = false;
    std::optional<ZipCleanupRule> zipCleanupRule;
    std::optional<std::string> displayName;
    std::optional<UsagePreset> usagePreset;
    std::optional<std::string> namingDetail;
    std::optional<bool> onboardingCompleted;
    std::optional<bool> groupBySubjob = true;

    // groupBySubjob, or true when it is absent.
    bool autoGroupBySubjob() const { return groupBySubjob.value_or(true); }
    // namingDetail, else the preset's detail word, else "Tep".
    std::string suggestedNamingDetail() const;

    // Collapses white space to single spaces and keeps at most 40 user-perceived
    // characters; a text with nothing left gives no name.
    static std::optional<std::string> normalizeName(std::string_view text);

    friend bool operator==(const Settings&, const Settings&) = default;
};

void to_json(Json& out, const Thresholds& value);
void from_json(const Json& in, Thresholds& value);
void to_json(Json& out, const ZipCleanupRule& value);
void from_json(const Json& in, ZipCleanupRule& value);
void to_json(Json& out, const Settings& value);
void from_json(const Json& in, Settings& value);

}  // namespace kelo
