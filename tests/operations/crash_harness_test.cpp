// Crash and kill harnesses: a batch is cut short at every step in turn, or killed
// at random moments, in a child process; the parent then reopens the journal,
// reconciles and checks that no file was lost, duplicated, changed or overwritten,
// and that the journal agrees with the disk.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <random>
#include <thread>

#include "operations/operation_executor.h"
#include "scan/metadata.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::TempDir;
using testing::writeFile;
namespace fs = std::filesystem;

constexpr int kCrashExit = 77;

// Tmpfs keeps the kill harness fast; a killed process loses nothing the page cache
// holds, so it tests the same ordering as a disk would.
fs::path fastTemporaryBase() {
    std::error_code error;
    if (fs::is_directory("/dev/shm", error) && ::access("/dev/shm", W_OK) == 0) return "/dev/shm";
    return fs::temp_directory_path();
}

// One inbox, one project home, `count` files to move, one of them onto a name that
// is already taken (it must be skipped, and the file in the way left alone).
struct Scenario {
    TempDir dir;
    fs::path inbox = dir / "Inbox";
    fs::path home = dir / "Projects";
    fs::path journalPath = dir / "data" / "journal.json";
    AccessScope scope{{inbox}, {home}};
    OperationPlan plan;
    std::map<fs::path, std::string> content;  // source → original content
    Date now = Date::now().adding(3600);

    Scenario(int count, const fs::path& base) : dir(base) {
        fs::create_directories(inbox);
        fs::create_directories(home / "Hydro" / "Export");
        writeFile(home / "Hydro" / "Export" / "taken.png", "in the way");
        plan.id = Uuid::random();
        plan.createdAt = now;
        const Uuid batch = Uuid::random();
        for (int i = 0; i < count; ++i) {
            const std::string name = i == 1 ? "taken.png" : "file " + std::to_string(i) + ".png";
            const fs::path source = inbox / name;
            content[source] = "bytes of " + name + std::string(static_cast<std::size_t>(i % 7), '#');
            writeFile(source, content[source]);
            // Every third file goes into a sub-job folder that does not exist yet.
            const fs::path folder = i % 3 == 0 ? home / "Hydro" / "Export" / ("Post " + std::to_string(i % 4))
                                               : home / "Hydro" / "Export";
            plan.operations.push_back({Uuid::random(), batch, source, folder / name, Metadata::identity(source),
                                       OperationType::move, std::nullopt});
        }
    }

    std::unique_ptr<OperationExecutor> executor(FileOperator fileOperator = FileOperator()) {
        auto journal = std::make_unique<OperationJournal>(journalPath, [this] { return now; });
        return std::make_unique<OperationExecutor>(std::move(journal), [this] { return now; },
                                                   std::move(fileOperator));
    }

    // Runs the plan in a child. With `crashAt` > 0 the child ends itself at that
    // step (journal step or folder sync). Returns the child's pid.
    pid_t runInChild(int crashAt, const fs::path& resultFile) {
        const pid_t child = fork();
        if (child != 0) return child;
        int steps = 0;
        auto step = [&] {
            if (crashAt > 0 && ++steps == crashAt) _exit(kCrashExit);
        };
        try {
            auto run = executor(FileOperator([&](int fd) {
                const int status = ::fsync(fd);
                step();
                return status;
            }));
            run->setStepProbe([&](std::string_view) { step(); });
            const BatchResult result = run->execute(plan, scope, false);
            std::ofstream out(resultFile);
            for (const auto& id : result.completed) out << id.text() << "\n";
            out.close();
            _exit(0);
        } catch (...) {
            _exit(3);
        }
    }

    // Every invariant the operations layer promises, after a reconcile.
    void check(const std::set<std::string>& reportedCompleted) {
        auto recovered = executor();
        recovered->reconcile(scope);
        const OperationJournal& journal = recovered->journal();
        ASSERT_TRUE(journal.isConsistent());
        EXPECT_EQ(readFile(home / "Hydro" / "Export" / "taken.png"), "in the way");
        for (const auto& operation : plan.operations) {
            const bool atSource = fs::exists(operation.source);
            const bool atDestination = fs::exists(operation.destination);
            const std::string& original = content[operation.source];
            if (operation.source.filename() == "taken.png") {
                EXPECT_TRUE(atSource);
                EXPECT_EQ(readFile(operation.source), original);
                continue;
            }
            ASSERT_NE(atSource, atDestination) << operation.source << " must be at exactly one place";
            EXPECT_EQ(readFile(atSource ? operation.source : operation.destination), original);
            const JournalEntry* entry = journal.entry(operation.id);
            if (entry == nullptr) {
                EXPECT_TRUE(atSource) << "an operation never journaled never ran";
                continue;
            }
            EXPECT_NE(entry->status, OperationStatus::planned);
            EXPECT_NE(entry->status, OperationStatus::started);
            if (entry->status == OperationStatus::completed) {
                EXPECT_TRUE(atDestination) << operation.source;
            }
            if (entry->status == OperationStatus::failed) {
                EXPECT_TRUE(atSource) << operation.source;
            }
            if (reportedCompleted.contains(operation.id.text())) {
                EXPECT_TRUE(atDestination) << operation.source;
            }
        }
        for (const auto& entry : journal.document().entries) {
            EXPECT_NE(entry.status, OperationStatus::started);
            if (entry.operation.type == OperationType::createDirectory && entry.status == OperationStatus::completed) {
                EXPECT_TRUE(fs::is_directory(entry.operation.destination));
            }
        }
    }
};

std::set<std::string> readCompleted(const fs::path& file) {
    std::set<std::string> ids;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) ids.insert(line);
    return ids;
}

int waitFor(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    return 128 + WTERMSIG(status);
}

TEST(CrashHarnessTest, CrashAtEveryStepOfABatchLosesNothing) {
    int crashPoints = 0;
    for (int crashAt = 1;; ++crashAt) {
        Scenario scenario(6, fs::temp_directory_path());
        const fs::path resultFile = scenario.dir / "result.txt";
        const int exit = waitFor(scenario.runInChild(crashAt, resultFile));
        ASSERT_TRUE(exit == kCrashExit || exit == 0) << "child exit " << exit << " at step " << crashAt;
        scenario.check(exit == 0 ? readCompleted(resultFile) : std::set<std::string>{});
        if (HasFailure()) FAIL() << "invariant broken after a crash at step " << crashAt;
        if (exit == 0) break;
        ++crashPoints;
    }
    std::cout << "[ harness  ] crash points run: " << crashPoints << "\n";
    EXPECT_GT(crashPoints, 30);  // prepare, folders, started, renames, syncs, completed for six files
}

TEST(CrashHarnessTest, RandomKillsDuringA200FileBatchLoseNothing) {
    const fs::path base = fastTemporaryBase();
    // How long an uninterrupted batch takes here, so kills land inside it.
    double batchSeconds = 0;
    {
        Scenario scenario(200, base);
        const auto start = std::chrono::steady_clock::now();
        ASSERT_EQ(waitFor(scenario.runInChild(0, scenario.dir / "result.txt")), 0);
        batchSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        scenario.check(readCompleted(scenario.dir / "result.txt"));
    }
    std::mt19937 random(20261122);
    std::uniform_real_distribution<double> when(0.0, batchSeconds * 1.1);
    int kills = 0;
    int finished = 0;
    for (int run = 0; run < 100; ++run) {
        Scenario scenario(200, base);
        const fs::path resultFile = scenario.dir / "result.txt";
        const pid_t child = scenario.runInChild(0, resultFile);
        const auto delay = std::chrono::duration<double>(when(random));
        // The wait is the experiment itself (where the kill lands), not a wait for a result.
        std::this_thread::sleep_for(delay);
        ::kill(child, SIGKILL);
        const int exit = waitFor(child);
        if (exit == 0) ++finished;
        else ++kills;
        scenario.check(exit == 0 ? readCompleted(resultFile) : std::set<std::string>{});
        if (HasFailure()) FAIL() << "invariant broken after kill run " << run;
    }
    std::cout << "[ harness  ] random kills: " << kills << " killed mid-batch, " << finished
              << " finished first (batch of 200 takes " << batchSeconds << " s)\n";
    EXPECT_GT(kills, 50);
}

}  // namespace
}  // namespace kelo
