// The online AI document ("online-ai.json"): the user's AI settings, the log of
// requests per saved file version, the local daily counter and the quota pause.
// Plain values; the engine owns the live copy and is its only writer.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/category.h"
#include "model/date.h"
#include "model/file_record.h"
#include "model/json_codec.h"
#include "model/uuid.h"

namespace kelo {

class DayCalendar;
struct PlannedOperation;

struct AIConfiguration {
    bool enabled = false;
    bool automatic = false;
    bool freeTierConfirmed = false;
    bool dataUseAcknowledged = false;
    std::int64_t dailyLimit = 10;
    std::vector<std::string> allowedFolders;  // standardised absolute paths
    Uuid revision = Uuid::random();           // replaced on every save

    // dailyLimit within 1...50.
    bool valid() const { return dailyLimit >= 1 && dailyLimit <= 50; }
    // valid, switched on, both acknowledgements given, and some folder allowed.
    bool ready() const {
        return valid() && enabled && freeTierConfirmed && dataUseAcknowledged && !allowedFolders.empty();
    }

    friend bool operator==(const AIConfiguration&, const AIConfiguration&) = default;
};

enum class AIRecordStatus { started, suggested, failed, dismissed };
inline constexpr std::array<std::pair<AIRecordStatus, std::string_view>, 4> rawValues(AIRecordStatus) {
    return {{{AIRecordStatus::started, "started"},
             {AIRecordStatus::suggested, "suggested"},
             {AIRecordStatus::failed, "failed"},
             {AIRecordStatus::dismissed, "dismissed"}}};
}

enum class AIConfidence { low, medium, high };
inline constexpr std::array<std::pair<AIConfidence, std::string_view>, 3> rawValues(AIConfidence) {
    return {{{AIConfidence::low, "low"}, {AIConfidence::medium, "medium"}, {AIConfidence::high, "high"}}};
}

struct AIAdvice {
    std::optional<Uuid> projectID;  // absent when the model answered "unknown"
    Category category;
    std::string filename;  // stem, no extension
    std::string reason;
    AIConfidence confidence = AIConfidence::low;

    friend bool operator==(const AIAdvice&, const AIAdvice&) = default;
};

struct AIRecord {
    Uuid id;
    FileRecord file;  // as it was when the request was reserved
    Date date;
    AIRecordStatus status = AIRecordStatus::started;
    std::optional<AIAdvice> advice;
    std::optional<std::string> note;

    friend bool operator==(const AIRecord&, const AIRecord&) = default;
};

struct AIState {
    static constexpr std::size_t kMaximumRecords = 500;

    int schemaVersion = 1;
    AIConfiguration configuration;
    std::vector<AIRecord> records;  // oldest first
    std::string usageDay;
    std::int64_t requestsToday = 0;
    std::optional<Date> pausedUntil;
    std::optional<Date> lastRequestAt;

    bool valid() const {
        return schemaVersion == 1 && configuration.valid() && requestsToday >= 0 &&
               records.size() <= kMaximumRecords;
    }

    // Marks every request still "started" (cut off by a quit or crash) as failed,
    // keeping its reserved usage. True when any record changed.
    bool closeInterruptedRequests();

    // The daily counter and the quota pause. Every operation takes the time, so the
    // clock and the calendar can be fixed in tests; reserve and markQuotaExhausted
    // change only this value, and the caller persists it before anything is sent.
    static std::string day(Date now, const DayCalendar& calendar);
    std::int64_t used(Date now, const DayCalendar& calendar) const;
    bool canRequest(Date now, const DayCalendar& calendar) const;
    // Counts one request and appends a "started" record; throws KeloError when
    // no request may be made or this saved version was already sent.
    Uuid reserve(Date now, const DayCalendar& calendar, const FileRecord& file);
    void markQuotaExhausted(Date now, const DayCalendar& calendar);
    // Keeps records attached to files that completed operations moved or renamed.
    bool follow(const std::vector<PlannedOperation>& operations, const std::set<Uuid>& completed);

    friend bool operator==(const AIState&, const AIState&) = default;
};

inline constexpr std::string_view kInvalidAIDataMessage = "Unsupported or invalid online AI data.";
inline constexpr std::string_view kAIStorageIssue =
    "Online AI data unavailable. Restore online-ai.json from backup. File organization remains available.";
inline constexpr std::string_view kInterruptedRequestNote =
    "Interrupted request. No automatic retry; its reserved usage is retained.";

inline constexpr std::string_view kAIUnavailableMessage =
    "Online AI is disabled, paused, or at its local daily limit.";
inline constexpr std::string_view kAIAlreadyProcessedMessage =
    "This saved version was already processed. AI never retries it automatically.";
inline constexpr std::string_view kAIRenamedNote = "Renamed through the reviewed plan. Undo is available in History.";

void to_json(Json& out, const AIConfiguration& value);
void from_json(const Json& in, AIConfiguration& value);
void to_json(Json& out, const AIAdvice& value);
void from_json(const Json& in, AIAdvice& value);
void to_json(Json& out, const AIRecord& value);
void from_json(const Json& in, AIRecord& value);
void to_json(Json& out, const AIState& value);
void from_json(const Json& in, AIState& value);

}  // namespace kelo
