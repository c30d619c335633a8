// Kills a process that is writing the journal after each acknowledged step, at
// whatever point it has reached by then (inside an append, a sync or a fold), and
// reopens: the journal must hold every acknowledged step and be exactly the state
// after some later step, never anything in between.
#include <gtest/gtest.h>

#include <functional>
#include <iostream>

#include "operations/operation_journal.h"
#include "support/log_kill_harness.h"

namespace kelo {
namespace {

using Step = std::function<void(OperationJournal&)>;

std::vector<Step> makeSteps() {
    const Uuid batch = Uuid::random();
    std::vector<PlannedOperation> first, second;
    for (int i = 0; i < 6; ++i) {
        PlannedOperation op;
        op.id = Uuid::random();
        op.batchID = batch;
        op.source = "/in/f" + std::to_string(i);
        op.destination = "/jobs/f" + std::to_string(i);
        op.expected = FileIdentity{1, static_cast<std::uint64_t>(i), 1, Date{1}};
        (i < 3 ? first : second).push_back(op);
    }
    std::vector<Step> steps;
    steps.push_back([first](OperationJournal& j) { j.prepare(first); });
    for (const auto& op : first) {
        steps.push_back([id = op.id](OperationJournal& j) { j.mark(id, OperationStatus::started); });
        steps.push_back([id = op.id](OperationJournal& j) { j.mark(id, OperationStatus::completed); });
    }
    steps.push_back([](OperationJournal& j) { j.checkpoint(); });
    steps.push_back([second](OperationJournal& j) { j.prepare(second); });
    for (const auto& op : second) {
        steps.push_back([id = op.id](OperationJournal& j) { j.mark(id, OperationStatus::started); });
        steps.push_back([id = op.id](OperationJournal& j) {
            j.mark(id, OperationStatus::failed, "Interrupted operation; no retry. Inspect source and destination.");
        });
    }
    steps.push_back([id = first[0].id](OperationJournal& j) { j.mark(id, OperationStatus::undone); });
    steps.push_back([](OperationJournal& j) { j.checkpoint(); });
    return steps;
}

Date fixedNow() {
    return Date{42};
}

// The document after each number of steps, from a run that is not killed.
std::vector<JournalDocument> statesAfterEachStep(const std::vector<Step>& steps) {
    testing::TempDir dir;
    OperationJournal journal(dir / "journal.json", fixedNow);
    std::vector<JournalDocument> states{journal.document()};
    for (const Step& step : steps) {
        step(journal);
        states.push_back(journal.document());
    }
    return states;
}

TEST(JournalCrashTest, KilledWriterLosesNothingAcknowledged) {
    const std::vector<Step> steps = makeSteps();
    const std::vector<JournalDocument> states = statesAfterEachStep(steps);

    for (std::size_t acknowledged = 0; acknowledged <= steps.size(); ++acknowledged) {
        SCOPED_TRACE("killed after " + std::to_string(acknowledged) + " acknowledged steps");
        testing::TempDir dir;
        // Step i begins once the journal is open and i steps are acknowledged.
        testing::ReportingChild child([&](const testing::ReportingChild::Report& begin) {
            OperationJournal journal(dir / "journal.json", fixedNow);
            for (std::size_t i = 0; i < steps.size(); ++i) {
                begin(i);
                steps[i](journal);
            }
            begin(steps.size());
        });
        ASSERT_TRUE(child.awaitReports(acknowledged + 1)) << "the writer failed before it was killed";
        child.kill();
        child.wait();

        OperationJournal reopened(dir / "journal.json", fixedNow);
        ASSERT_TRUE(reopened.isConsistent());
        bool matched = false;
        for (std::size_t k = acknowledged; k < states.size() && !matched; ++k)
            matched = reopened.document() == states[k];
        EXPECT_TRUE(matched) << "the reopened journal is not the state after any step from " << acknowledged;
    }
}

// Whatever step was under way when a kill cut an append short, the reopened journal
// holds every step before it, and is the state after that step or before it.
TEST(JournalCrashTest, KillsInsideAnAppendLoseNothingAcknowledged) {
    const std::vector<Step> steps = makeSteps();
    const std::vector<JournalDocument> states = statesAfterEachStep(steps);
    const int kills = testing::killInsideEveryLogCall(
        [&](const std::filesystem::path& dir, const LogCalls& calls, const testing::ReportingChild::Report& begin) {
            OperationJournal journal(dir / "journal.json", fixedNow, calls);
            for (std::size_t i = 0; i < steps.size(); ++i) {
                begin(i);
                steps[i](journal);
            }
        },
        [&](const std::filesystem::path& dir, int killAt, std::size_t underWay) {
            OperationJournal reopened(dir / "journal.json", fixedNow);
            ASSERT_TRUE(reopened.isConsistent());
            EXPECT_TRUE(reopened.document() == states[underWay] || reopened.document() == states[underWay + 1])
                << "killed inside call " << killAt << " during step " << underWay;
        });
    std::cout << "[ harness  ] kills inside an append: " << kills << "\n";
    EXPECT_GE(kills, 2 * 12);  // a write and a sync for each of the twelve marks and prepares at least
}

}  // namespace
}  // namespace kelo
