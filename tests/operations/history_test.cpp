// The history of batches: what each batch counts, and the kept view that must
// always equal a history built afresh from the journal.
#include "operations/history_index.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "operations/history_view.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

struct JournalBuilder {
    std::vector<JournalEntry> entries;
    double clock = 100;

    Uuid add(const Uuid& batch, OperationType type, OperationStatus status,
             std::optional<OperationOutcome> outcome = std::nullopt, std::optional<Uuid> reverses = std::nullopt) {
        const PlannedOperation op{Uuid::random(), batch,   "/in/f" + std::to_string(entries.size()), "/jobs/a", {},
                                  type,           reverses};
        entries.push_back(JournalEntry{op, Date{clock++}, status, std::nullopt, outcome});
        return op.id;
    }
    void set(const Uuid& id, OperationStatus status) {
        for (auto& entry : entries)
            if (entry.operation.id == id) entry.status = status;
    }
};

// A batch is counted without its folder creations; one skipped whole at preview
// has nothing to undo.
TEST(HistoryIndexTest, CountsABatchAndLeavesFolderCreationsOut) {
    EXPECT_TRUE(HistoryIndex::build({}).empty());
    JournalBuilder journal;
    const Uuid batch = Uuid::random();
    journal.add(batch, OperationType::createDirectory, OperationStatus::completed);
    journal.add(batch, OperationType::move, OperationStatus::completed);
    journal.add(batch, OperationType::move, OperationStatus::completed);
    journal.add(batch, OperationType::rename, OperationStatus::failed, OperationOutcome::failed);
    journal.add(batch, OperationType::move, OperationStatus::failed, OperationOutcome::skipped);
    journal.add(batch, OperationType::move, OperationStatus::started);  // interrupted: listed, counted nowhere
    const Uuid skippedBatch = Uuid::random();
    journal.add(skippedBatch, OperationType::move, OperationStatus::failed, OperationOutcome::skipped);
    journal.add(skippedBatch, OperationType::rename, OperationStatus::failed, OperationOutcome::skipped);

    const auto history = HistoryIndex::build(journal.entries);
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ((std::vector{history[0].skipped, history[0].failed}), (std::vector{2, 0}));
    EXPECT_FALSE(history[0].canUndo);
    // Dated by the oldest counted entry, not the folder creation; the first three
    // names, oldest first; the interrupted entry listed but counted nowhere.
    EXPECT_EQ(history[1],
              (HistoryBatch{batch, {1, 2, 3, 4, 5}, Date{101}, 2, 0, 1, 1, 0, true, 0, {}, {"f1", "f2", "f3"}}));
}

// After an undo run, the first batch counts its entries as undone and offers no undo;
// the undo run is a newer batch of its own that never offers undo.
TEST(HistoryIndexTest, CountsAfterAnUndoEntryExists) {
    JournalBuilder journal;
    const Uuid sort = Uuid::random();
    const Uuid moveA = journal.add(sort, OperationType::move, OperationStatus::completed);
    const Uuid renameB = journal.add(sort, OperationType::rename, OperationStatus::completed);
    const Uuid other = Uuid::random();
    journal.add(other, OperationType::move, OperationStatus::completed);

    const Uuid undoRun = Uuid::random();
    journal.add(undoRun, OperationType::undo, OperationStatus::completed, std::nullopt, renameB);
    journal.set(renameB, OperationStatus::undone);
    // Half-way through the undo: the sort batch can still be undone for its move.
    auto history = HistoryIndex::build(journal.entries);
    ASSERT_EQ(history.size(), 3u);
    EXPECT_EQ((std::tuple{history[2].id, history[2].moved, history[2].undone, history[2].canUndo}),
              (std::tuple{sort, 1, 1, true}));

    journal.add(undoRun, OperationType::undo, OperationStatus::failed, OperationOutcome::failed, moveA);
    history = HistoryIndex::build(journal.entries);
    EXPECT_EQ((std::tuple{history[0].id, history[0].failed, history[0].canUndo}), (std::tuple{undoRun, 1, false}));

    journal.entries.back().status = OperationStatus::completed;
    journal.entries.back().outcome = std::nullopt;
    journal.set(moveA, OperationStatus::undone);
    history = HistoryIndex::build(journal.entries);
    ASSERT_EQ(history.size(), 3u);
    // Newest first: the undo run, labelled as the undo of the sort, counting nothing.
    EXPECT_EQ(history[0], (HistoryBatch{undoRun, {3, 4}, Date{103}, 0, 0, 0, 0, 0, false, 2, sort, {"f3", "f4"}}));
    EXPECT_EQ((std::tuple{history[1].id, history[1].undoes, history[1].canUndo}),
              (std::tuple{other, std::optional<Uuid>{}, true}));
    EXPECT_EQ(history[2], (HistoryBatch{sort, {0, 1}, Date{100}, 0, 0, 0, 0, 2, false, 0, {}, {"f0", "f1"}}));
}

// Batches recorded, marked and undone at random; the kept view must always equal a
// history built afresh from the journal.
TEST(HistoryViewTest, KeptViewMatchesARebuildAfterEveryChange) {
    testing::TempDir dir;
    OperationJournal journal(dir / "journal.json", [] { return Date{100}; });
    HistoryView view;
    std::mt19937 random(5);
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    std::vector<Uuid> operations;
    const OperationType types[] = {OperationType::move, OperationType::rename, OperationType::createDirectory};
    for (int step = 0; step < 120; ++step) {
        if (step % 4 != 3 || operations.empty()) {
            const Uuid batch = Uuid::random();
            std::vector<PlannedOperation> planned;
            for (std::size_t i = 0, n = 1 + pick(3); i < n; ++i) {
                PlannedOperation operation{Uuid::random(), batch, "/in/a", "/p/a", {}, types[pick(3)], std::nullopt};
                if (pick(4) == 0 && !operations.empty()) {
                    operation.type = OperationType::undo;
                    operation.reverses = operations[pick(operations.size())];
                }
                planned.push_back(operation);
                operations.push_back(operation.id);
            }
            journal.prepare(planned);
        }
        const OperationStatus statuses[] = {OperationStatus::started, OperationStatus::completed,
                                            OperationStatus::failed, OperationStatus::undone};
        for (std::size_t marks = pick(3); marks-- > 0;)
            journal.mark(operations[pick(operations.size())], statuses[pick(4)], std::nullopt,
                         pick(2) == 0 ? OperationOutcome::skipped : OperationOutcome::failed);
        const auto before = view.current(journal);
        ASSERT_EQ(std::vector<HistoryBatch>(before->begin(), before->end()),
                  HistoryIndex::build(journal.document().entries))
            << "step " << step;
        EXPECT_EQ(view.current(journal), before);  // nothing changed: the same list is shared
    }
}

}  // namespace
}  // namespace kelo
