#include "gui/history_page.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

#include "gui/presentation.h"

namespace kelo::gui {

namespace {

enum Column { kDate, kFiles, kMoved, kRenamed, kSkipped, kFailed, kUndone, kUndo, kColumnCount };

QTableWidgetItem* cell(const QString& value) {
    auto* item = new QTableWidgetItem(value);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

// "a.png, b.psd, c.ai và 7 tệp khác": enough of a batch to recognise it.
QString filesOf(const HistoryBatch& batch) {
    QStringList names;
    for (const auto& name : batch.names) names << qs(name);
    QString line = names.join(QStringLiteral(", "));
    const auto others = static_cast<qsizetype>(batch.indices.size()) - names.size();
    if (others > 0) line += QString::fromUtf8(text::kHistoryMoreFiles).arg(others);
    return line;
}

const HistoryBatch* findBatch(const HistoryList& history, const Uuid& id) {
    for (const auto& batch : history)
        if (batch.id == id) return &batch;
    return nullptr;
}

}  // namespace

HistoryPage::HistoryPage(AppModel& model, QWidget* parent) : Page(model, parent) {
    auto* layout = new QVBoxLayout(this);
    table_ = new QTableWidget(0, kColumnCount, this);
    table_->setObjectName(QStringLiteral("historyTable"));
    table_->setHorizontalHeaderLabels({text::kColumnDate, text::kColumnFiles, text::kColumnMoved, text::kColumnRenamed,
                                       text::kColumnSkipped, text::kColumnFailed, text::kColumnUndone, QString()});
    table_->setSelectionMode(QAbstractItemView::NoSelection);
    table_->verticalHeader()->setVisible(false);
    table_->setTextElideMode(Qt::ElideMiddle);
    lastRun_ = new QLabel(this);
    lastRun_->setObjectName(QStringLiteral("lastRun"));
    lastRun_->setWordWrap(true);
    lastRun_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(lastRun_);
    layout->addWidget(table_, 1);
    empty_ = new QLabel(text::kNoHistory, this);
    layout->addWidget(empty_);

    auto* buttons = new QHBoxLayout;
    more_ = new QPushButton(this);
    more_->setObjectName(QStringLiteral("moreHistory"));
    connect(more_, &QPushButton::clicked, this, [this] {
        shown_ += kPageSize;
        fillRows();
    });
    undoTrash_ = new QPushButton(text::kUndoTrash, this);
    undoTrash_->setObjectName(QStringLiteral("undoTrash"));
    connect(undoTrash_, &QPushButton::clicked, this,
            [this] { model_.submit(text::kCommandUndo, EngineActions::undoTrash()); });
    buttons->addWidget(more_);
    buttons->addStretch();
    buttons->addWidget(undoTrash_);
    layout->addLayout(buttons);
}

void HistoryPage::render(const Snapshot* snapshot, bool canOperate) {
    canOperate_ = canOperate;
    history_ = snapshot ? snapshot->history : nullptr;
    undoTrash_->setVisible(snapshot && snapshot->canUndoTrash);
    enable(undoTrash_, canOperate);
    // What the last command did, ending with its batch summary.
    QStringList lines;
    if (snapshot)
        for (const auto& message : snapshot->messages) lines << qs(message);
    lastRun_->setText(lines.isEmpty() ? QString() : text::kLastRun + QLatin1Char('\n') + lines.join(QLatin1Char('\n')));
    lastRun_->setVisible(!lines.isEmpty());
    fillRows();
}

void HistoryPage::fillRows() {
    const int total = history_ ? static_cast<int>(history_->size()) : 0;
    const int rows = std::min(total, shown_);
    table_->clearContents();
    table_->setRowCount(rows);
    for (int row = 0; row < rows; ++row) {
        const HistoryBatch& batch = (*history_)[static_cast<std::size_t>(row)];
        auto* date = cell(formatDate(batch.date));
        if (batch.undoes) {
            // An undo batch moves nothing of its own: say what it took back.
            date->setText(date->text() + text::kUndoBatchSuffix + QString::number(batch.putBack) + text::kUndoBatchFiles);
            if (const HistoryBatch* undone = findBatch(*history_, *batch.undoes))
                date->setToolTip(text::kUndoBatchTooltip + formatDate(undone->date));
        }
        table_->setItem(row, kDate, date);
        auto* files = cell(filesOf(batch));
        files->setToolTip(files->text());
        table_->setItem(row, kFiles, files);
        const int counts[] = {batch.moved, batch.renamed, batch.skipped, batch.failed, batch.undone};
        for (int column = kMoved; column <= kUndone; ++column)
            table_->setItem(row, column, cell(QString::number(counts[column - kMoved])));
        if (batch.canUndo) {
            auto* undo = new QPushButton(text::kUndo, table_);
            undo->setObjectName(QStringLiteral("undoBatch"));
            enable(undo, canOperate_);
            const std::string id = batch.id.text();
            connect(undo, &QPushButton::clicked, this,
                    [this, id] { model_.submit(text::kCommandUndo, EngineActions::undoBatch(id)); });
            table_->setCellWidget(row, kUndo, undo);
        }
    }
    table_->resizeColumnsToContents();
    table_->horizontalHeader()->setSectionResizeMode(kFiles, QHeaderView::Stretch);
    table_->setColumnWidth(kUndo, std::max(table_->columnWidth(kUndo), 110));
    empty_->setVisible(total == 0);
    const int remaining = total - rows;
    more_->setText(text::kMoreHistoryPrefix + QString::number(remaining) + QLatin1Char(')'));
    more_->setVisible(remaining > 0);
}

}  // namespace kelo::gui
