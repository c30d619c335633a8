// Fault harness: the batch program runs under strace, which makes the Nth call of
// one system call fail (once, or from then on), for every N the batch reaches. After
// each run the journal is reopened and reconciled, and every promise is checked: no
// file lost, changed or overwritten, the journal agreeing with the disk, and nothing
// reported completed that did not happen. A failed fsync is never taken for success.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iostream>

#include "operations/batch_scenario.h"

namespace kelo {
namespace {

using testing::readCompleted;
namespace fs = std::filesystem;

bool haveStrace() { return std::system("strace -V >/dev/null 2>&1") == 0; }

std::string quoted(const fs::path& path) { return "'" + path.string() + "'"; }

struct FaultRun {
    testing::Scenario scenario{6, fs::temp_directory_path()};
    fs::path planFile = scenario.dir / "plan.json";
    fs::path resultFile = scenario.dir / "result.txt";

    FaultRun() {
        std::ofstream(planFile) << formatDocument(encodeValue(scenario.plan));
    }

    std::string batchCommand() const {
        return std::string(KELO_FAULT_BATCH) + " " + quoted(scenario.journalPath) + " " + quoted(planFile) + " " +
               quoted(resultFile) + " " + quoted(scenario.inbox) + " " + quoted(scenario.home) + " " +
               std::to_string(scenario.now.sinceReference);
    }

    // Runs the batch with `inject` (strace's inject= value); returns the exit status.
    int run(const std::string& syscall, const std::string& inject) const {
        const std::string command = "strace -qq -f -o /dev/null -e trace=" + syscall + " -e inject=" + syscall + ":" +
                                    inject + " " + batchCommand() + " >/dev/null 2>&1";
        const int status = std::system(command.c_str());
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
        const std::string command = "strace -qq -f -o " + quoted(trace) + " -e trace=access," + syscall + " " +
                                    batchCommand() + " >/dev/null 2>&1";
        Calls calls;
        if (std::system(command.c_str()) != 0) return calls;
        std::ifstream in(trace);
        bool began = false;
        for (std::string line; std::getline(in, line);) {
            if (line.find("/kelo-fault-harness/batch-begins") != std::string::npos) began = true;
            if (line.find(" " + syscall + "(") != std::string::npos || line.find(syscall + "(") == 0 ||
                line.find("] " + syscall + "(") != std::string::npos)
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
        for (const std::string error : {"EIO", "ENOSPC"}) {
            for (const bool persistent : {false, true}) {
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
        }
    }
    std::cout << "[ harness  ] faults injected inside the batch: " << injected << "\n";
    // Six files, each opened, renamed, synced and journaled: far more than this
    // reach the batch unless the harness lost its way.
    EXPECT_GE(injected, 300);
}

}  // namespace
}  // namespace kelo
