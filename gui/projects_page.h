// Projects: every project with its status, folder and aliases; the project actions
// (archive and reopen, add and remove aliases, a new project, sending a job folder
// to the Trash); and the names Kelo suggests for new projects, to accept or defer.
// Every action is an engine command sent through the model; refusals come back
// through the main window's message bar as the engine words them.
#pragma once

#include "gui/page.h"

class QLabel;
class QListWidget;
class QTableWidget;

namespace kelo::gui {

class DuplicatesDialog;
class HandoffDialog;

class ProjectsPage : public Page {
public:
    explicit ProjectsPage(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

    // The actions behind the buttons that ask something first, for the dialogs and
    // for tests: each acts on the selected project.
    void addAlias(const QString& alias);
    void removeAlias(const QString& alias);
    void trashSelected();
    void newProject(const QString& name);
    // Opens the duplicate finder or the handoff dialog for the selected project
    // (non-modal, deleted on close); null when none is selected.
    DuplicatesDialog* openDuplicates();
    HandoffDialog* openHandoff();

private:
    QString selectedId() const;
    QString selectedName() const;
    QStringList selectedAliases() const;
    void updateButtons();
    void askTrash();

    QTableWidget* table_;
    QLabel* empty_;
    QPushButton* archive_;
    QPushButton* reopen_;
    QPushButton* addAlias_;
    QPushButton* removeAlias_;
    QPushButton* newProject_;
    QPushButton* trashProject_;
    QPushButton* findDuplicates_;
    QPushButton* handoff_;
    QListWidget* suggestions_;
    QPushButton* accept_;
    QPushButton* defer_;
    bool canOperate_ = false;
};

}  // namespace kelo::gui
