// ProjectDropList: the projects beside the Match table, each a drop target: rows
// dragged from the table and dropped on a project are sorted into it through the
// same engine command as the sort button. Main thread only.
#pragma once

#include <QListWidget>
#include <functional>

#include "engine/snapshot.h"

namespace kelo::gui {

class ProjectDropList : public QListWidget {
public:
    // `onDrop` gets the id of the project the rows were dropped on.
    ProjectDropList(std::function<void(const QString& projectId)> onDrop, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot);

    // What a drop does, for tests: sorts the dragged rows into the project at `row`.
    void dropOnRow(int row);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    std::function<void(const QString&)> onDrop_;
};

}  // namespace kelo::gui
