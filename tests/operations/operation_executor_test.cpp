// The executor end to end on real folders: preview, dry run, execution, undo,
// folder creation, coordination and recovery, checking the disk and the journal.
#include "operations/operation_executor.h"

#include <gtest/gtest.h>

#include "operations/batch_scenario.h"
#include "scan/metadata.h"
#include "support/log_kill_harness.h"
#include "support/refusal.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::refusalOf;
using testing::writeFile;
namespace fs = std::filesystem;

// The batch scenario's folders with no planned batch: the project "Hydro" holds only
// Export/taken.png. Files the test writes are "old" for the executor's clock.
class OperationExecutorTest : public ::testing::Test, protected testing::Scenario {
protected:
    OperationExecutorTest() : Scenario(0, fs::temp_directory_path()) {}
    fs::path project = home / "Hydro";
    const Uuid batch = Uuid::random();

    std::unique_ptr<OperationExecutor> makeExecutor(FileOperator fileOperator = FileOperator(),
                                                    FileCoordinator* coordinator = nullptr) {
        return executor(std::move(fileOperator), LogCalls::system(), coordinator);
    }

    fs::path inboxFile(const std::string& name) {
        writeFile(inbox / name, "content of " + name);
        return inbox / name;
    }

    // A move of the file as it is now, in the test's batch unless another is given.
    PlannedOperation move(const fs::path& source, const fs::path& destination, std::optional<Uuid> inBatch = {}) {
        return {Uuid::random(), inBatch.value_or(batch),    source,
                destination,    Metadata::identity(source), OperationType::move,
                std::nullopt};
    }

    // Hides the scenario's own plan, which has no operations here.
    OperationPlan plan(std::vector<PlannedOperation> operations) {
        return {Uuid::random(), now, std::move(operations)};
    }

    static const JournalEntry& entryOf(const OperationExecutor& executor, const Uuid& id) {
        const JournalEntry* entry = executor.journal().entry(id);
        if (entry == nullptr) throw std::runtime_error("no journal entry");
        return *entry;
    }
};

TEST_F(OperationExecutorTest, DryRunReportsEverythingSkippedAndChangesNothing) {
    auto executor = makeExecutor();
    const auto a = inboxFile("a.psd");
    writeFile(project / "Working" / "b.psd", "already there");
    const auto b = inboxFile("b.psd");
    const OperationPlan p = plan({move(a, project / "Working" / "a.psd"), move(b, project / "Working" / "b.psd")});

    const BatchResult result = executor->execute(p, scope, true);
    EXPECT_TRUE(result.completed.empty());
    EXPECT_EQ(result.skipped.at(p.operations[0].id), "Mô phỏng: chưa thay đổi tệp.");
    EXPECT_EQ(result.skipped.at(p.operations[1].id), "Name conflict: b.psd already exists. Nothing was overwritten.");
    EXPECT_EQ(result.summary(), "0 completed, 2 skipped, 0 failed. 0 overwritten.");
    EXPECT_TRUE(fs::exists(a));
    EXPECT_FALSE(fs::exists(project / "Working" / "a.psd"));
    EXPECT_TRUE(executor->journal().document().entries.empty());
}

// A second file bound for a taken destination and a file changed since planning are
// skipped, journaled as skipped, and the rest of the batch goes on.
TEST_F(OperationExecutorTest, SkippedOperationsAreJournaledAndTheRestOfTheBatchGoesOn) {
    auto executor = makeExecutor();
    const auto a = inboxFile("a.png");
    const auto b = inboxFile("b.png");
    writeFile(dir / "Inbox2" / "a.png", "other");
    AccessScope wider{{inbox, dir / "Inbox2"}, {home}};
    const OperationPlan p = plan(
        {move(b, project / "b.png"), move(a, project / "a.png"), move(dir / "Inbox2" / "a.png", project / "a.png")});
    writeFile(b, "rewritten after the plan was made");
    const BatchResult result = executor->execute(p, wider, false);
    EXPECT_EQ(result.completed, std::vector<Uuid>{p.operations[1].id});
    EXPECT_EQ(result.skipped.at(p.operations[0].id), "Source changed since the plan was created. File left untouched.");
    EXPECT_EQ(result.skipped.at(p.operations[2].id), "Two files share a destination in this batch.");
    EXPECT_EQ(readFile(project / "a.png"), "content of a.png");
    EXPECT_EQ(readFile(dir / "Inbox2" / "a.png"), "other");
    EXPECT_EQ(readFile(b), "rewritten after the plan was made");
    const JournalEntry& skipped = entryOf(*executor, p.operations[2].id);
    EXPECT_EQ(skipped.status, OperationStatus::failed);
    EXPECT_EQ(skipped.outcome, OperationOutcome::skipped);
}

TEST_F(OperationExecutorTest, UndoRestoresAndASecondUndoNoLongerMatches) {
    auto executor = makeExecutor();
    const auto a = inboxFile("a.png");
    const auto b = inboxFile("b.png");
    const OperationPlan p = plan({move(a, project / "a.png"), move(b, project / "b.png")});
    ASSERT_EQ(executor->execute(p, scope, false).completed.size(), 2u);

    const OperationPlan undo = executor->undoPlan(batch);
    ASSERT_EQ(undo.operations.size(), 2u);
    EXPECT_EQ(undo.operations[0].reverses, p.operations[1].id);  // newest first
    EXPECT_EQ(undo.operations[0].source, project / "b.png");
    EXPECT_EQ(undo.operations[0].destination, b);
    EXPECT_EQ(executor->execute(undo, scope, false).summary(), "2 completed, 0 skipped, 0 failed. 0 overwritten.");
    EXPECT_EQ(readFile(a), "content of a.png");
    EXPECT_EQ(readFile(b), "content of b.png");
    EXPECT_EQ(entryOf(*executor, p.operations[0].id).status, OperationStatus::undone);
    EXPECT_EQ(entryOf(*executor, undo.operations[0].id).status, OperationStatus::completed);

    // The batch has nothing completed left, and an old undo plan no longer applies.
    EXPECT_TRUE(executor->undoPlan(batch).operations.empty());
    for (const auto& result : executor->preview(undo, scope))
        EXPECT_EQ(result.issue, "Undo no longer matches a completed journal operation.");

    // Redo by moving again from scratch, then undo again: the disk follows each time.
    const OperationPlan again = plan({move(a, project / "a.png", Uuid::random())});
    ASSERT_EQ(executor->execute(again, scope, false).completed.size(), 1u);
    EXPECT_FALSE(fs::exists(a));
    ASSERT_EQ(executor->execute(executor->undoPlan(again.operations[0].batchID), scope, false).completed.size(), 1u);
    EXPECT_EQ(readFile(a), "content of a.png");
}

// Folders are made only inside approved access, never through a file, and a new
// project folder (with its category folders) only directly inside a home.
TEST_F(OperationExecutorTest, FoldersAreMadeOnlyWhereAccessAndTheHomeAllow) {
    auto executor = makeExecutor();
    EXPECT_EQ(refusalOf([&] { executor->ensureDirectories(dir / "Elsewhere" / "x", batch, scope); }),
              "Cannot create folders outside approved access.");
    EXPECT_FALSE(fs::exists(dir / "Elsewhere"));
    writeFile(project / "Assets", "a file, not a folder");
    EXPECT_EQ(refusalOf([&] { executor->ensureDirectories(project / "Assets" / "Post 1", batch, scope); }),
              "Destination component is not a folder.");

    executor->createProjectDirectory(home / "Lotus Spa", scope);
    for (const char* category : {"Working", "Export", "Assets", "Reference"})
        EXPECT_TRUE(fs::is_directory(home / "Lotus Spa" / category)) << category;
    for (const fs::path& wrong : {project / "Nested", inbox / "Job", fs::path(home)})
        EXPECT_EQ(refusalOf([&] { executor->createProjectDirectory(wrong, scope); }),
                  "New project must be directly inside the selected project home.")
            << wrong;
}

TEST_F(OperationExecutorTest, CoordinatorThatChangesPathsOrDeclinesFailsTheMove) {
    struct Redirecting : FileCoordinator {
        fs::path elsewhere;
        void coordinateMove(const fs::path& source, const fs::path&, const Accessor& accessor) override {
            accessor(source, elsewhere);
        }
    } redirecting;
    redirecting.elsewhere = project / "other.png";
    struct Declining : FileCoordinator {
        void coordinateMove(const fs::path&, const fs::path&, const Accessor&) override {}
    } declining;

    const auto a = inboxFile("a.png");
    for (const auto& [coordinator, failure] :
         {std::pair<FileCoordinator*, std::string>{&redirecting, "Coordinated paths changed. Review a new plan."},
          {&declining, "File coordination did not authorize the move."}}) {
        auto executor = makeExecutor(FileOperator(), coordinator);
        const OperationPlan p = plan({move(a, project / "a.png", Uuid::random())});
        EXPECT_EQ(executor->execute(p, scope, false).failed.at(p.operations[0].id), failure);
    }
    EXPECT_EQ(readFile(a), "content of a.png");
    EXPECT_FALSE(fs::exists(project / "other.png"));
}

TEST_F(OperationExecutorTest, AFailedSyncAfterTheMoveStopsTheBatchAndRecoveryCompletesIt) {
    // Folder syncs fail from the moment the first file's rename is done.
    int syncs = 0;
    FileOperator failingSync([&](int) { return ++syncs >= 3 ? -1 : 0; });
    const auto a = inboxFile("a.png");
    const auto b = inboxFile("b.png");
    OperationPlan p = plan({move(a, project / "Export" / "a.png"), move(b, project / "Export" / "b.png")});
    {
        auto executor = makeExecutor(failingSync);
        syncs = 2;  // the next sync (the first after the rename) fails
        EXPECT_EQ(refusalOf([&] { executor->execute(p, scope, false); }),
                  "Batch stopped. This operation may have completed: a.png. Scan to reconcile the journal before "
                  "continuing. Move occurred but directory synchronization failed. Inspect recovery before "
                  "continuing.");
        EXPECT_EQ(entryOf(*executor, p.operations[0].id).status, OperationStatus::started);
        EXPECT_EQ(entryOf(*executor, p.operations[1].id).status, OperationStatus::planned);
        EXPECT_TRUE(fs::exists(b));  // never attempted
    }
    auto restarted = makeExecutor();
    const auto messages = restarted->reconcile(scope);
    EXPECT_EQ(messages, (std::vector<std::string>{"Recovered completed move: a.png",
                                                  "Interrupted operation left for review: b.png"}));
    EXPECT_EQ(entryOf(*restarted, p.operations[0].id).status, OperationStatus::completed);
    EXPECT_EQ(entryOf(*restarted, p.operations[1].id).status, OperationStatus::failed);
    EXPECT_EQ(entryOf(*restarted, p.operations[1].id).error,
              "Interrupted operation; no retry. Inspect source and destination.");
    EXPECT_TRUE(fs::exists(b));  // not retried
}

// The batch's last completed mark waits for the next sync (a power cut that loses it
// is recovered from the disk), and closing the executor is such a sync.
TEST_F(OperationExecutorTest, TheLastMarkOfABatchWaitsForTheNextSyncOrTheClose) {
    std::uintmax_t durable = 0;  // the log's length at its last sync
    const LogCalls calls = testing::notingSyncedLength(durable);
    const auto a = inboxFile("a.png");
    const OperationPlan p = plan({move(a, project / "Export" / "a.png", Uuid::random())});
    fs::path log;
    std::uintmax_t cut = 0;
    {
        auto run = executor(FileOperator(), calls);
        EXPECT_EQ(run->execute(p, scope, false).completed.size(), 1u);
        log = run->journal().logUrl();
        cut = durable;
        EXPECT_LT(cut, fs::file_size(log));
    }
    EXPECT_EQ(durable, fs::file_size(log));

    fs::resize_file(log, cut);  // what a power cut before the close would have left
    auto restarted = makeExecutor();
    EXPECT_EQ(restarted->reconcile(scope), std::vector<std::string>{"Recovered completed move: a.png"});
    EXPECT_EQ(entryOf(*restarted, p.operations[0].id).status, OperationStatus::completed);
}

TEST_F(OperationExecutorTest, ReconcileLeavesEntriesOutsideTheScopeForLater) {
    const auto a = inboxFile("a.png");
    const OperationPlan p = plan({move(a, project / "a.png")});
    {
        auto executor = makeExecutor();
        executor->journal().prepare(p.operations);
        executor->journal().mark(p.operations[0].id, OperationStatus::started);
    }
    auto executor = makeExecutor();
    EXPECT_EQ(executor->reconcile(AccessScope{{inbox}, {}}),
              std::vector<std::string>{"Reconnect folders to reconcile a.png."});
    EXPECT_EQ(entryOf(*executor, p.operations[0].id).status, OperationStatus::started);
    EXPECT_EQ(executor->reconcile(scope), std::vector<std::string>{"Interrupted operation left for review: a.png"});
    EXPECT_TRUE(fs::exists(a));
}

}  // namespace
}  // namespace kelo
