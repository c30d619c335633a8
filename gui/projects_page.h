// Projects: every project with its status, folder and aliases, and the project
// actions (status, aliases, a new project, sending a project to the Trash).
#pragma once

#include "gui/page.h"

class QComboBox;
class QLabel;
class QTableWidget;

namespace kelo::gui {

class ProjectsPage : public Page {
public:
    explicit ProjectsPage(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

private:
    QString selectedId() const;
    void updateButtons();

    QTableWidget* table_;
    QLabel* empty_;
    QComboBox* status_;
    QPushButton* setStatus_;
    QPushButton* addAlias_;
    QPushButton* newProject_;
    QPushButton* trashProject_;
    bool canOperate_ = false;
};

}  // namespace kelo::gui
