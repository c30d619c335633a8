#include "operations/history_view.h"

#include <gtest/gtest.h>

#include <random>

#include "support/temp_dir.h"

namespace kelo {
namespace {

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
        ASSERT_EQ(std::vector<HistoryBatch>(before->begin(), before->end()), HistoryIndex::build(journal.document().entries))
            << "step " << step;
        EXPECT_EQ(view.current(journal), before);  // nothing changed: the same list is shared
    }
}

}  // namespace
}  // namespace kelo
