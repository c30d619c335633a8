// History: what the last command did (its batch summary), the batches newest first,
// fifty at a time, each with its counts and an undo button while it can be undone;
// and the single-step undo of the last Trash move.
#pragma once

#include "gui/page.h"

class QLabel;
class QTableWidget;

namespace kelo::gui {

class HistoryPage : public Page {
public:
    static constexpr int kPageSize = 50;

    explicit HistoryPage(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

private:
    void fillRows();

    QTableWidget* table_;
    QLabel* lastRun_;
    QLabel* empty_;
    QPushButton* more_;
    QPushButton* undoTrash_;
    std::shared_ptr<const HistoryList> history_;
    int shown_ = kPageSize;
    bool canOperate_ = false;
};

}  // namespace kelo::gui
