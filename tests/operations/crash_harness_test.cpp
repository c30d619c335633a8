// Crash and kill harnesses: a batch is cut short at every step in turn, or killed
// at random moments, in a child process; the parent then reopens the journal,
// reconciles and checks that no file was lost, duplicated, changed or overwritten,
// and that the journal agrees with the disk.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <new>
#include <random>
#include <thread>

#include "operations/batch_scenario.h"
#include "support/child_process.h"

namespace kelo {
namespace {

using testing::readCompleted;
using testing::waitForChild;
namespace fs = std::filesystem;

constexpr int kCrashExit = 77;

// Steps the child has taken, in memory it shares with the parent, so the parent can
// tell a kill inside the batch from one before it began or after it ended.
std::atomic<int>& childSteps() {
    static auto* steps = [] {
        void* shared =
            ::mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED) std::abort();
        return new (shared) std::atomic<int>(0);
    }();
    return *steps;
}

// Tmpfs keeps the kill harness fast; a killed process loses nothing the page cache
// holds, so it tests the same ordering as a disk would.
fs::path fastTemporaryBase() {
    std::error_code error;
    if (fs::is_directory("/dev/shm", error) && ::access("/dev/shm", W_OK) == 0) return "/dev/shm";
    return fs::temp_directory_path();
}

struct ChildScenario : testing::Scenario {
    using Scenario::Scenario;

    // Runs the plan in a child. With `crashAt` > 0 the child ends itself at that
    // step (journal step, journal sync or folder sync). Returns the child's pid.
    pid_t runInChild(int crashAt, const fs::path& resultFile) {
        return runInChild(crashAt, resultFile, [&](OperationExecutor& run) { return run.execute(plan, scope, false); });
    }

    // Runs `action` on an executor in a child that ends itself at step `crashAt`,
    // and writes the ids the action's result reports as completed to `resultFile`.
    template <class Action>
    pid_t runInChild(int crashAt, const fs::path& resultFile, Action action) {
        childSteps() = 0;
        return testing::startChild([&] {
            int steps = 0;
            auto step = [&] {
                childSteps().fetch_add(1);
                if (crashAt > 0 && ++steps == crashAt) _exit(kCrashExit);
            };
            // Journal syncs and folder syncs are steps alike.
            const auto syncThenStep = [&](int fd) {
                const int status = ::fsync(fd);
                step();
                return status;
            };
            LogCalls logCalls = LogCalls::system();
            logCalls.fsync = syncThenStep;
            auto run = executor(FileOperator(syncThenStep), logCalls);
            run->setStepProbe([&](std::string_view) { step(); });
            const BatchResult result = action(*run);
            std::ofstream out(resultFile);
            for (const auto& id : result.completed) out << id.text() << "\n";
        });
    }
};

// Cuts `action` short at every step in turn, on a scenario `prepare` sets up; the
// scenario's checks run after each cut (and what a run that finished reported as
// completed must be so). Returns how many cuts landed.
template <class Prepare, class Action>
int crashAtEveryStep(Prepare prepare, Action action) {
    for (int crashAt = 1;; ++crashAt) {
        ChildScenario scenario(6, fs::temp_directory_path());
        prepare(scenario);
        if (::testing::Test::HasFailure()) return crashAt - 1;
        const fs::path resultFile = scenario.dir / "result.txt";
        const int exit = waitForChild(
            scenario.runInChild(crashAt, resultFile, [&](OperationExecutor& run) { return action(scenario, run); }));
        EXPECT_TRUE(exit == kCrashExit || exit == 0) << "child exit " << exit << " at step " << crashAt;
        scenario.check(exit == 0 ? readCompleted(resultFile) : std::set<std::string>{});
        if (::testing::Test::HasFailure()) {
            ADD_FAILURE() << "invariant broken after a crash at step " << crashAt;
            return crashAt;
        }
        if (exit == 0) return crashAt - 1;
    }
}

TEST(CrashHarnessTest, CrashAtEveryStepOfABatchLosesNothing) {
    const int cuts = crashAtEveryStep([](ChildScenario&) {},
                                      [](ChildScenario& scenario, OperationExecutor& run) {
                                          return run.execute(scenario.plan, scenario.scope, false);
                                      });
    std::cout << "[ harness  ] crash points run: " << cuts << "\n";
    EXPECT_GT(cuts, 30);  // prepare, folders, started, renames, syncs, completed for six files
}

TEST(CrashHarnessTest, CrashAtEveryStepOfAnUndoLosesNothing) {
    Uuid batch;
    const int cuts = crashAtEveryStep(
        [&](ChildScenario& scenario) {
            scenario.executor()->execute(scenario.plan, scenario.scope, false);
            batch = scenario.plan.operations.front().batchID;
        },
        [&](ChildScenario& scenario, OperationExecutor& run) {
            return run.execute(run.undoPlan(batch), scenario.scope, false);
        });
    std::cout << "[ harness  ] crash points during undo: " << cuts << "\n";
    EXPECT_GT(cuts, 20);
}

// A batch cut short, then the reconcile that settles it cut short at each of its
// own steps; the next reconcile (in the check) must still settle everything.
TEST(CrashHarnessTest, CrashAtEveryStepOfAReconcileLosesNothing) {
    int batchSteps = 0;
    {
        ChildScenario whole(6, fs::temp_directory_path());
        ASSERT_EQ(waitForChild(whole.runInChild(0, whole.dir / "result.txt")), 0);
        batchSteps = childSteps();
    }
    int cuts = 0;
    for (const int batchCut : {batchSteps / 3, batchSteps / 2, (2 * batchSteps) / 3}) {
        cuts += crashAtEveryStep(
            [&](ChildScenario& scenario) {
                ASSERT_EQ(waitForChild(scenario.runInChild(batchCut, scenario.dir / "result.txt")), kCrashExit);
            },
            [](ChildScenario& scenario, OperationExecutor& run) {
                run.reconcile(scenario.scope);
                return BatchResult{};
            });
    }
    std::cout << "[ harness  ] crash points during reconcile: " << cuts << "\n";
    EXPECT_GT(cuts, 3);
}

TEST(CrashHarnessTest, RandomKillsDuringA200FileBatchLoseNothing) {
    const fs::path base = fastTemporaryBase();
    // How long an uninterrupted batch takes here, so kills land inside it.
    double batchSeconds = 0;
    int batchSteps = 0;
    {
        ChildScenario scenario(200, base);
        const auto start = std::chrono::steady_clock::now();
        ASSERT_EQ(waitForChild(scenario.runInChild(0, scenario.dir / "result.txt")), 0);
        batchSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        batchSteps = childSteps();
        scenario.check(readCompleted(scenario.dir / "result.txt"));
    }
    ASSERT_GT(batchSteps, 200);
    std::mt19937 random(20261122);
    std::uniform_real_distribution<double> when(0.0, batchSeconds * 1.1);
    int kills = 0;  // landed inside the batch: after its first step, before its last
    int outside = 0;
    int finished = 0;
    for (int run = 0; run < 100; ++run) {
        ChildScenario scenario(200, base);
        const fs::path resultFile = scenario.dir / "result.txt";
        const pid_t child = scenario.runInChild(0, resultFile);
        const auto delay = std::chrono::duration<double>(when(random));
        // The wait is the experiment itself (where the kill lands), not a wait for a result.
        std::this_thread::sleep_for(delay);
        ::kill(child, SIGKILL);
        const int exit = waitForChild(child);
        const int steps = childSteps();
        if (exit == 0)
            ++finished;
        else if (steps > 0 && steps < batchSteps)
            ++kills;
        else
            ++outside;
        scenario.check(exit == 0 ? readCompleted(resultFile) : std::set<std::string>{});
        if (HasFailure()) FAIL() << "invariant broken after kill run " << run;
    }
    std::cout << "[ harness  ] random kills: " << kills << " landed mid-batch, " << outside
              << " before its first or after its last step, " << finished << " finished first (batch of 200 takes "
              << batchSeconds << " s)\n";
    EXPECT_GE(kills, 30);  // only kills inside the batch count
}

}  // namespace
}  // namespace kelo
