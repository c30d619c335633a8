// Kills a process that is writing the journal after each acknowledged step, at
// whatever point it has reached by then (inside an append, a sync or a fold), and
// reopens: the journal must hold every acknowledged step and be exactly the state
// after some later step, never anything in between.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <iostream>

#include "operations/operation_journal.h"
#include "support/child_process.h"
#include "support/temp_dir.h"

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
        int pipeFds[2];
        ASSERT_EQ(::pipe(pipeFds), 0);
        const pid_t child = testing::startChild([&] {
            ::close(pipeFds[0]);
            OperationJournal journal(dir / "journal.json", fixedNow);
            char ack = 'o';
            if (::write(pipeFds[1], &ack, 1) != 1) ::_exit(3);
            for (const Step& step : steps) {
                step(journal);
                if (::write(pipeFds[1], &ack, 1) != 1) ::_exit(3);
            }
        });
        ASSERT_GE(child, 0);
        ::close(pipeFds[1]);
        // One byte when the journal is open, then one per acknowledged step.
        std::size_t received = 0;
        char byte = 0;
        while (received < acknowledged + 1 && ::read(pipeFds[0], &byte, 1) == 1) ++received;
        ::kill(child, SIGKILL);
        testing::waitForChild(child);
        ::close(pipeFds[0]);
        ASSERT_EQ(received, acknowledged + 1) << "the writer failed before it was killed";

        OperationJournal reopened(dir / "journal.json", fixedNow);
        ASSERT_TRUE(reopened.isConsistent());
        bool matched = false;
        for (std::size_t k = acknowledged; k < states.size() && !matched; ++k)
            matched = reopened.document() == states[k];
        EXPECT_TRUE(matched) << "the reopened journal is not the state after any step from " << acknowledged;
    }
}

// The writer kills itself inside an append: halfway through writing a record, or
// with the record written and its sync not yet made, at every such point of the run
// in turn. Whatever step was under way, the reopened journal holds every step
// before it, and is the state after that step or before it.
TEST(JournalCrashTest, KillsInsideAnAppendLoseNothingAcknowledged) {
    const std::vector<Step> steps = makeSteps();
    const std::vector<JournalDocument> states = statesAfterEachStep(steps);
    int insideAppends = 0;
    for (int killAt = 1;; ++killAt) {
        testing::TempDir dir;
        int pipeFds[2];
        ASSERT_EQ(::pipe(pipeFds), 0);
        const pid_t child = testing::startChild([&] {
            ::close(pipeFds[0]);
            int calls = 0;
            LogCalls logCalls = LogCalls::system();
            logCalls.write = [&](int fd, const void* data, std::size_t size) {
                if (++calls == killAt) {
                    [[maybe_unused]] const ssize_t half = ::write(fd, data, size / 2);
                    ::kill(::getpid(), SIGKILL);
                }
                return ::write(fd, data, size);
            };
            logCalls.fsync = [&](int fd) {
                if (++calls == killAt) ::kill(::getpid(), SIGKILL);
                return ::fsync(fd);
            };
            OperationJournal journal(dir / "journal.json", fixedNow, logCalls);
            for (std::size_t i = 0; i < steps.size(); ++i) {
                const char started = static_cast<char>(i);  // the step under way
                if (::write(pipeFds[1], &started, 1) != 1) ::_exit(3);
                steps[i](journal);
            }
        });
        ASSERT_GE(child, 0);
        ::close(pipeFds[1]);
        std::size_t underWay = 0;
        for (char byte = 0; ::read(pipeFds[0], &byte, 1) == 1;) underWay = static_cast<std::size_t>(byte);
        ::close(pipeFds[0]);
        const int exit = testing::waitForChild(child);
        if (exit == 0) break;  // every append of the run has been cut once
        ASSERT_EQ(exit, 128 + SIGKILL);
        ++insideAppends;
        OperationJournal reopened(dir / "journal.json", fixedNow);
        ASSERT_TRUE(reopened.isConsistent());
        EXPECT_TRUE(reopened.document() == states[underWay] || reopened.document() == states[underWay + 1])
            << "killed inside call " << killAt << " during step " << underWay;
    }
    std::cout << "[ harness  ] kills inside an append: " << insideAppends << "\n";
    EXPECT_GE(insideAppends, 2 * 12);  // a write and a sync for each of the twelve marks and prepares at least
}

}  // namespace
}  // namespace kelo
