// The arithmetic of the daily counter, the quota pause and record following.
#include <algorithm>

#include "access/path_safety.h"
#include "ai/ai_state.h"
#include "ai/day_calendar.h"
#include "model/kelo_error.h"
#include "operations/operation_plan.h"

namespace kelo {

std::string AIState::day(Date now, const DayCalendar& calendar) { return calendar.dayKey(now); }

std::int64_t AIState::used(Date now, const DayCalendar& calendar) const {
    // Stored keys are compared as text, so "2026-3-7" never equals "2026-03-07".
    return usageDay == day(now, calendar) ? requestsToday : 0;
}

bool AIState::canRequest(Date now, const DayCalendar& calendar) const {
    if (!configuration.ready()) return false;
    if (used(now, calendar) >= configuration.dailyLimit) return false;
    return !pausedUntil || *pausedUntil <= now;
}

Uuid AIState::reserve(Date now, const DayCalendar& calendar, const FileRecord& file) {
    if (!canRequest(now, calendar)) throw KeloError::unsafe(std::string(kAIUnavailableMessage));
    const std::string fingerprint = file.fingerprint();
    for (const auto& record : records)
        if (record.file.fingerprint() == fingerprint) throw KeloError::unsafe(std::string(kAIAlreadyProcessedMessage));
    const std::string today = day(now, calendar);
    if (usageDay != today) {
        usageDay = today;
        requestsToday = 0;
    }
    ++requestsToday;
    lastRequestAt = now;
    AIRecord record;
    record.id = Uuid::random();
    record.file = file;
    record.date = now;
    record.status = AIRecordStatus::started;
    records.push_back(record);
    if (records.size() > kMaximumRecords)
        records.erase(records.begin(), records.begin() + static_cast<long>(records.size() - kMaximumRecords));
    return record.id;
}

void AIState::markQuotaExhausted(Date now, const DayCalendar& calendar) {
    pausedUntil = calendar.nextMidnight(now).value_or(now.adding(86400));
}

bool AIState::follow(const std::vector<PlannedOperation>& operations, const std::set<Uuid>& completed) {
    bool changed = false;
    for (const auto& operation : operations) {
        if (!completed.contains(operation.id) || !operation.expected) continue;
        for (auto& record : records) {
            if (record.file.url != operation.source || record.file.identity != *operation.expected) continue;
            FileRecord moved;
            moved.url = operation.destination;
            moved.sourceFolder = PathSafety::standardized(operation.destination).parent_path();
            moved.identity = record.file.identity;
            moved.created = record.file.created;
            moved.contentType = record.file.contentType;
            record.file = moved;
            if (operation.type == OperationType::rename) {
                record.status = AIRecordStatus::dismissed;
                record.note = std::string(kAIRenamedNote);
            }
            changed = true;
        }
    }
    return changed;
}

}  // namespace kelo
