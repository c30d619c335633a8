// The daily counter, quota pause, record following and eligibility, on fixed
// clocks and named time zones.
#include <gtest/gtest.h>

#include "ai/ai_eligibility.h"
#include "ai/ai_state.h"
#include "ai/day_calendar.h"
#include "model/kelo_error.h"
#include "operations/operation_plan.h"
#include "support/refusal.h"

namespace kelo {
namespace {

using testing::refusalOf;

// 2026-03-07 12:00:00 UTC.
const Date kNoon = Date::fromUnix(1772884800);

FileRecord file(const std::string& path, std::uint64_t size = 1000, std::uint64_t inode = 1) {
    FileRecord record;
    record.url = path;
    record.sourceFolder = std::filesystem::path(path).parent_path();
    record.identity = {7, inode, size, kNoon.adding(-3600)};
    record.created = kNoon.adding(-7200);
    return record;
}

AIState readyState(std::int64_t limit = 3) {
    AIState state;
    state.configuration.enabled = state.configuration.freeTierConfirmed = true;
    state.configuration.dataUseAcknowledged = true;
    state.configuration.dailyLimit = limit;
    state.configuration.allowedFolders = {"/inbox"};
    return state;
}

TEST(AIUsageTest, DayKeysAreUnpaddedLocalDays) {
    EXPECT_EQ(AIState::day(kNoon, DayCalendar("UTC")), "2026-3-7");
    // 23:30 UTC is already the next day in Hanoi and still the same day in New York.
    const Date lateEvening = kNoon.adding(11.5 * 3600);
    EXPECT_EQ(AIState::day(lateEvening, DayCalendar("Asia/Ho_Chi_Minh")), "2026-3-8");
    EXPECT_EQ(AIState::day(lateEvening, DayCalendar("America/New_York")), "2026-3-7");

    AIState state = readyState();
    state.usageDay = "2026-03-07";
    state.requestsToday = 3;
    EXPECT_EQ(state.used(kNoon, DayCalendar("UTC")), 0) << "padded keys are another day";
    state.usageDay = "2026-3-7";
    EXPECT_EQ(state.used(kNoon, DayCalendar("UTC")), 3);
}

TEST(AIUsageTest, DailyLimitHoldsUntilLocalMidnightAndAVersionIsSentOnce) {
    const DayCalendar utc("UTC");
    AIState state = readyState(3);
    for (int i = 1; i <= 3; ++i) {
        const Uuid id = state.reserve(kNoon, utc, file("/inbox/" + std::to_string(i) + ".png", 10, i));
        EXPECT_EQ(state.records.back().id, id);
        EXPECT_EQ(state.records.back().status, AIRecordStatus::started);
    }
    EXPECT_EQ(state.requestsToday, 3);
    EXPECT_FALSE(state.canRequest(kNoon, utc));
    EXPECT_EQ(refusalOf([&] { state.reserve(kNoon, utc, file("/inbox/4.png", 10, 4)); }), kAIUnavailableMessage);
    EXPECT_EQ(state.records.size(), 3u);

    const Date tomorrow = kNoon.adding(12 * 3600);
    state.reserve(tomorrow, utc, file("/inbox/4.png", 10, 4));
    EXPECT_EQ(state.usageDay, "2026-3-8");
    EXPECT_EQ(state.requestsToday, 1);
    EXPECT_EQ(state.lastRequestAt, tomorrow);

    // One saved version is sent once, whatever became of it; an edited one is new.
    state.records.back().status = AIRecordStatus::failed;
    EXPECT_EQ(refusalOf([&] { state.reserve(tomorrow, utc, file("/inbox/4.png", 10, 4)); }),
              kAIAlreadyProcessedMessage);
    EXPECT_EQ(refusalOf([&] { state.reserve(tomorrow, utc, file("/inbox/4.png", 11, 4)); }), "");
}

TEST(AIUsageTest, NotReadyOrPausedRefusesAndThePauseEndsAtLocalMidnight) {
    const DayCalendar utc("UTC");
    AIState off = readyState();
    off.configuration.dataUseAcknowledged = false;
    EXPECT_EQ(refusalOf([&] { off.reserve(kNoon, utc, file("/inbox/a.png")); }), kAIUnavailableMessage);

    AIState state = readyState();
    const Date lateMinute = Date::fromUnix(1772884800 + 11 * 3600 + 59 * 60);  // 23:59
    state.markQuotaExhausted(lateMinute, utc);
    EXPECT_EQ(state.pausedUntil, lateMinute.adding(60));
    EXPECT_FALSE(state.canRequest(lateMinute.adding(59), utc));
    EXPECT_TRUE(state.canRequest(lateMinute.adding(60), utc)) << "a pause ending now allows requests";

    const Date earlyMinute = Date::fromUnix(1772841600 + 60);  // 00:01
    state.markQuotaExhausted(earlyMinute, utc);
    EXPECT_EQ(state.pausedUntil, earlyMinute.adding(86400 - 60));

    // In Hanoi (UTC+7) local midnight is 17:00 UTC.
    state.markQuotaExhausted(kNoon, DayCalendar("Asia/Ho_Chi_Minh"));
    EXPECT_EQ(state.pausedUntil, kNoon.adding(5 * 3600));
}

TEST(AIUsageTest, TheOldestRecordsGoBeyondFiveHundred) {
    const DayCalendar utc("UTC");
    AIState state = readyState(50);
    for (int i = 0; i < 501; ++i) {
        state.requestsToday = 0;
        state.reserve(kNoon, utc, file("/inbox/f.png", 10, 100 + i));
    }
    ASSERT_EQ(state.records.size(), AIState::kMaximumRecords);
    EXPECT_EQ(state.records.front().file.identity.inode, 101u);
    EXPECT_EQ(state.records.back().file.identity.inode, 600u);
    EXPECT_TRUE(state.valid());
}

TEST(AIUsageTest, RecordsFollowCompletedMovesAndRenames) {
    const DayCalendar utc("UTC");
    AIState state = readyState(50);
    const FileRecord moved = file("/inbox/a.png", 10, 1), renamed = file("/inbox/b.png", 10, 2),
                     untouched = file("/inbox/c.png", 10, 3);
    for (const auto& record : {moved, renamed, untouched}) state.reserve(kNoon, utc, record);
    state.records[0].status = AIRecordStatus::suggested;

    const auto operation = [](const FileRecord& from, const char* to, FileIdentity identity,
                              OperationType type = OperationType::move) {
        return PlannedOperation{Uuid::random(), Uuid::random(), from.url, to, identity, type, std::nullopt};
    };
    FileIdentity otherIdentity = untouched.identity;
    otherIdentity.size += 1;
    const PlannedOperation move = operation(moved, "/work/P/Logo/a.png", moved.identity),
                           rename = operation(renamed, "/inbox/b2.png", renamed.identity, OperationType::rename),
                           stale = operation(untouched, "/x/c.png", otherIdentity),
                           notDone = operation(untouched, "/y/c.png", untouched.identity);

    EXPECT_TRUE(state.follow({move, rename, stale, notDone}, {move.id, rename.id, stale.id}));
    EXPECT_EQ(state.records[0].file.url, "/work/P/Logo/a.png");
    EXPECT_EQ(state.records[0].file.sourceFolder, "/work/P/Logo");
    EXPECT_EQ(state.records[0].file.identity, moved.identity);
    EXPECT_EQ(state.records[0].file.created, moved.created);
    EXPECT_EQ(state.records[0].status, AIRecordStatus::suggested);
    EXPECT_EQ(state.records[1].file.url, "/inbox/b2.png");
    EXPECT_EQ(state.records[1].status, AIRecordStatus::dismissed);
    EXPECT_EQ(state.records[1].note, kAIRenamedNote);
    EXPECT_EQ(state.records[2].file, untouched);
    EXPECT_FALSE(state.follow({move}, {move.id})) << "nothing left at the old path";
}

TEST(AIEligibilityTest, OnlyApprovedAndAllowedRootsAllow) {
    AIConfiguration configuration = readyState().configuration;
    configuration.allowedFolders = {"/inbox", "/gone"};
    const FileRecord inside = file("/inbox/sub/a.png");
    EXPECT_TRUE(AIEligibility::allowed(inside, configuration, {"/other", "/inbox/"}));
    EXPECT_FALSE(AIEligibility::allowed(file("/inboxes/a.png"), configuration, {"/inbox"}));
    EXPECT_FALSE(AIEligibility::allowed(file("/gone/a.png"), configuration, {"/inbox"}))
        << "an allowed folder no longer approved allows nothing";
    EXPECT_FALSE(AIEligibility::allowed(file("/other/a.png"), configuration, {"/other"}));
}

TEST(AIEligibilityTest, PreviewLimitsAreInclusive) {
    EXPECT_TRUE(AIEligibility::previewSupported(file("/i/a.PNG", 52428800)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.png", 52428801)));
    EXPECT_TRUE(AIEligibility::previewSupported(file("/i/a.psd", 2147483648ULL)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.ai", 2147483649ULL)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.psb", 10)));
    EXPECT_FALSE(AIEligibility::previewSupported(file("/i/a.pdf", 10)));
    EXPECT_TRUE(AIEligibility::previewSupported(file("/i/a.heic", 10)));
}

TEST(AIEligibilityTest, AutomaticWaitsForQuietAndSkipsOldOrSentFiles) {
    const FileRecord record = file("/inbox/a.png");
    const Date modified = record.identity.modified;
    AIState state = readyState();
    EXPECT_FALSE(AIEligibility::automatic(record, state, modified.adding(29)));
    EXPECT_TRUE(AIEligibility::automatic(record, state, modified.adding(30)));
    EXPECT_TRUE(AIEligibility::automatic(record, state, modified.adding(604800)));
    EXPECT_FALSE(AIEligibility::automatic(record, state, modified.adding(604801)));
    EXPECT_FALSE(AIEligibility::automatic(file("/inbox/a.psb"), state, modified.adding(60)));
    state.reserve(modified.adding(60), DayCalendar("UTC"), record);
    EXPECT_FALSE(AIEligibility::automatic(record, state, modified.adding(60)));
}

}  // namespace
}  // namespace kelo
