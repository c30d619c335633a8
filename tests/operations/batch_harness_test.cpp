// Crash and kill harnesses: a batch is cut short at every step in turn, or killed
// at random moments, in a child process; the parent then reopens the journal,
// reconciles and checks that no file was lost, duplicated, changed or overwritten,
// and that the journal agrees with the disk.
//
// Fault harness: the batch program runs under strace, which makes the Nth call of
// one system call fail (once, or from then on), for every N the batch reaches. After
// each run the journal is reopened and reconciled, and every promise is checked: no
// file lost, changed or overwritten, the journal agreeing with the disk, and nothing
// reported completed that did not happen. A failed fsync is never taken for success.
// Beside it, the same tracer checks which system calls the file-changing code really
// makes: an exclusive rename and never a plain one, the folder syncs after it, and
// the Trash's info file created with O_EXCL before the item moves.
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
#include <string>
#include <thread>
#include <vector>

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

    // Runs `action` (by default the plan) on an executor in a child, and writes the ids
    // its result reports as completed to `resultFile`. With `crashAt` > 0 the child ends
    // itself at that step (journal step, journal sync or folder sync). Returns its pid.
    using Action = std::function<BatchResult(OperationExecutor&)>;
    pid_t runInChild(int crashAt, const fs::path& resultFile, const Action& action = {}) {
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
            const BatchResult result = action ? action(*run) : run->execute(plan, scope, false);
            std::ofstream out(resultFile);
            for (const auto& id : result.completed) out << id.text() << "\n";
        });
    }
};

// Cuts `action` (by default the plan) short at every step in turn, on a scenario
// `prepare` sets up; the scenario's checks run after each cut (and what a run that
// finished reported as completed must be so). Returns how many cuts landed.
using ScenarioAction = std::function<BatchResult(ChildScenario&, OperationExecutor&)>;
int crashAtEveryStep(const std::function<void(ChildScenario&)>& prepare, const ScenarioAction& action = {}) {
    for (int crashAt = 1;; ++crashAt) {
        ChildScenario scenario(6, fs::temp_directory_path());
        prepare(scenario);
        if (::testing::Test::HasFailure()) return crashAt - 1;
        const fs::path resultFile = scenario.dir / "result.txt";
        const int exit = waitForChild(scenario.runInChild(
            crashAt, resultFile,
            action ? ChildScenario::Action([&](OperationExecutor& run) { return action(scenario, run); }) : nullptr));
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
    const int cuts = crashAtEveryStep([](ChildScenario&) {});
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
        ++(exit == 0 ? finished : childSteps() > 0 && childSteps() < batchSteps ? kills : outside);
        scenario.check(exit == 0 ? readCompleted(resultFile) : std::set<std::string>{});
        if (HasFailure()) FAIL() << "invariant broken after kill run " << run;
    }
    std::cout << "[ harness  ] random kills: " << kills << " landed mid-batch, " << outside
              << " before its first or after its last step, " << finished << " finished first (batch of 200 takes "
              << batchSeconds << " s)\n";
    EXPECT_GE(kills, 30);  // only kills inside the batch count
}

bool haveStrace() { return std::system("strace -V >/dev/null 2>&1") == 0; }

std::string quoted(const fs::path& path) { return "'" + path.string() + "'"; }

// Runs `command` under strace with `options`, quietly; returns std::system's status.
int traced(const std::string& options, const std::string& command) {
    return std::system(("strace -qq -f " + options + " " + command + " >/dev/null 2>&1").c_str());
}

bool contains(const std::string& line, const std::string& part) { return line.find(part) != std::string::npos; }

struct FaultRun {
    testing::Scenario scenario{6, fs::temp_directory_path()};
    fs::path planFile = scenario.dir / "plan.json";
    fs::path resultFile = scenario.dir / "result.txt";

    FaultRun() { std::ofstream(planFile) << formatDocument(encodeValue(scenario.plan)); }

    std::string batchCommand() const {
        return std::string(KELO_FAULT_BATCH) + " " + quoted(scenario.journalPath) + " " + quoted(planFile) + " " +
               quoted(resultFile) + " " + quoted(scenario.inbox) + " " + quoted(scenario.home) + " " +
               std::to_string(scenario.now.sinceReference);
    }

    // Runs the batch with `inject` (strace's inject= value); returns the exit status.
    int run(const std::string& syscall, const std::string& inject) const {
        const int status =
            traced("-o /dev/null -e trace=" + syscall + " -e inject=" + syscall + ":" + inject, batchCommand());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // How many times an uninterrupted batch makes this call: before the batch
    // began (the loader, reading the plan) and after.
    struct Calls {
        int before = 0;
        int during = 0;
    };
    Calls count(const std::string& syscall) const {
        const fs::path trace = scenario.dir / "trace.txt";
        Calls calls;
        if (traced("-o " + quoted(trace) + " -e trace=access," + syscall, batchCommand()) != 0) return calls;
        std::ifstream in(trace);
        bool began = false;
        for (std::string line; std::getline(in, line);) {
            if (contains(line, "/kelo-fault-harness/batch-begins")) began = true;
            if (contains(line, " " + syscall + "(") || line.starts_with(syscall + "("))
                ++(began ? calls.during : calls.before);
        }
        return calls;
    }
};

TEST(FaultInjectionTest, EveryFailingSystemCallOfABatchLosesNothing) {
    ASSERT_TRUE(haveStrace()) << "strace is missing; scripts/bootstrap installs it";
    int injected = 0;
    for (const std::string syscall : {"fsync", "renameat2", "write", "openat", "mkdirat"}) {
        const auto calls = FaultRun().count(syscall);
        ASSERT_GT(calls.during, 0) << syscall << " never reached the batch";
        for (const std::string error : {"EIO", "ENOSPC"})
            for (const bool persistent : {false, true})
                for (int n = calls.before + 1; n <= calls.before + calls.during; ++n) {
                    FaultRun run;
                    const std::string inject =
                        "error=" + error + ":when=" + std::to_string(n) + (persistent ? "+" : "");
                    const int exit = run.run(syscall, inject);
                    run.scenario.check(exit == 0 ? readCompleted(run.resultFile) : std::set<std::string>{});
                    ++injected;
                    if (HasFailure()) FAIL() << syscall << " " << inject << " exit " << exit;
                }
    }
    std::cout << "[ harness  ] faults injected inside the batch: " << injected << "\n";
    // Six files, each opened, renamed, synced and journaled: far more than this
    // reach the batch unless the harness lost its way.
    EXPECT_GE(injected, 300);
}

// Runs one test of this very executable under strace and returns the traced calls;
// every rename among them must be an exclusive renameat2, never a plain rename.
std::vector<std::string> traceTest(const std::string& filter, const std::string& calls) {
    testing::TempDir dir;
    const auto trace = dir / "trace";
    // Inside the shell /proc/self/exe would name the shell, so resolve ours here.
    const fs::path self = fs::read_symlink("/proc/self/exe");
    std::vector<std::string> lines;
    // A traced test that fails, or a strace that cannot trace, proves nothing: fail.
    const int status = traced("-e trace=" + calls + " -o " + quoted(trace), quoted(self) + " --gtest_filter=" + filter);
    if (status != 0) {
        ADD_FAILURE() << "the traced test " << filter << " did not pass under strace (status " << status << ")";
        return lines;
    }
    std::ifstream in(trace);
    for (std::string line; std::getline(in, line); lines.push_back(line)) {
        EXPECT_FALSE(contains(line, " rename(") || contains(line, " renameat(")) << line;
        EXPECT_TRUE(!contains(line, "renameat2(") || contains(line, "RENAME_NOREPLACE")) << line;
    }
    return lines;
}

TEST(SyscallTraceTest, MovesAreExclusiveRenamesFollowedByBothFolderSyncs) {
    ASSERT_TRUE(haveStrace()) << "strace is missing; scripts/bootstrap installs it";
    const auto lines =
        traceTest("FileOperatorTest.MovesAcrossFoldersAndRenamesInPlace", "rename,renameat,renameat2,fsync,fdatasync");
    ASSERT_FALSE(lines.empty());
    int exclusive = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (!contains(lines[i], "renameat2(")) continue;
        ++exclusive;
        ASSERT_LT(i + 2, lines.size());
        EXPECT_TRUE(contains(lines[i + 1], "fsync(") && contains(lines[i + 2], "fsync(")) << lines[i + 1];
    }
    EXPECT_EQ(exclusive, 2);
}

TEST(SyscallTraceTest, TrashClaimsTheInfoFileBeforeTheItemMoves) {
    ASSERT_TRUE(haveStrace()) << "strace is missing; scripts/bootstrap installs it";
    const auto lines = traceTest("TrashTest.HomeTrashRecordsThePathAndRestoresIt", "openat,rename,renameat,renameat2");
    ASSERT_FALSE(lines.empty());
    std::size_t info = lines.size();
    std::size_t move = lines.size();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (info == lines.size() && contains(lines[i], ".trashinfo\"") && contains(lines[i], "O_EXCL")) info = i;
        if (move == lines.size() && contains(lines[i], "renameat2(")) move = i;
    }
    ASSERT_LT(info, lines.size()) << "no O_EXCL open of the info file";
    ASSERT_LT(move, lines.size());
    EXPECT_LT(info, move);
}

}  // namespace
}  // namespace kelo
