#include "gui/project_drop_list.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>

#include "gui/presentation.h"
#include "gui/project_icons.h"

namespace kelo::gui {

namespace {

constexpr int kIdRole = Qt::UserRole;
// What a QTableWidget puts on a drag of its rows.
const QString kRowsFormat = QStringLiteral("application/x-qabstractitemmodeldatalist");

}  // namespace

ProjectDropList::ProjectDropList(std::function<void(const QString&)> onDrop, QWidget* parent)
    : QListWidget(parent), onDrop_(std::move(onDrop)) {
    setObjectName(QStringLiteral("projectDropList"));
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setDragDropMode(QAbstractItemView::DropOnly);
    setIconSize(QSize(24, 24));
    setSelectionMode(QAbstractItemView::NoSelection);
}

void ProjectDropList::render(const Snapshot* snapshot) {
    clear();
    if (!snapshot) return;
    for (const auto& project : snapshot->state->projects) {
        if (project.status != ProjectStatus::active) continue;
        auto* item = new QListWidgetItem(projectIcon(project), qs(project.name), this);
        item->setData(kIdRole, qs(project.id.text()));
    }
}

void ProjectDropList::dropOnRow(int row) {
    if (const QListWidgetItem* target = item(row)) onDrop_(target->data(kIdRole).toString());
}

void ProjectDropList::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat(kRowsFormat) && event->source() != this) event->acceptProposedAction();
}

void ProjectDropList::dragMoveEvent(QDragMoveEvent* event) {
    const QListWidgetItem* target = itemAt(event->position().toPoint());
    if (target && event->mimeData()->hasFormat(kRowsFormat)) event->acceptProposedAction();
    else event->ignore();
}

void ProjectDropList::dropEvent(QDropEvent* event) {
    const QListWidgetItem* target = itemAt(event->position().toPoint());
    if (!target || !event->mimeData()->hasFormat(kRowsFormat)) return event->ignore();
    // The rows dragged are the table's selection; nothing moves in the views here.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    onDrop_(target->data(kIdRole).toString());
}

}  // namespace kelo::gui
