// SampleWindow: what every desktop-app test starts from. It owns a temporary
// folder, an AppModel whose engine runs on "data" inside it, and a main window on
// that model; an inbox "Downloads" and a project home "Projects" sit beside the data
// (or, after openSamples, the first run's sample folders). Nothing outside the
// temporary folder is touched. GUI thread only; each test owns its own.
#pragma once

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <filesystem>
#include <string>
#include <vector>

#include "gui/app_model.h"
#include "gui/main_window.h"
#include "gui/page.h"
#include "gui/tests/isolated_app.h"
#include "support/temp_dir.h"

namespace kelo::gui {

enum PageIndex { kOverview, kMatch, kProjects, kStudio, kHistory, kSettings };

struct SampleWindow {
    testing::TempDir root;
    std::filesystem::path inbox = root / "Downloads";
    std::filesystem::path home = root / "Projects";
    Clock clock = Date::now;  // the engine's; a test may set its own before start
    AppModel model;
    MainWindow window{model};
    std::vector<std::string> sampleMessages;  // what the sample-folder command said
    bool sampleNoteShown = false;             // the first-run dialog said the samples were made

    // Starts the engine on root/data and waits for it.
    void start();
    // Starts it with the inbox and the project home approved (made if missing) and
    // dry run off, as a user who has set Kelo up would have it.
    void open();
    // Starts it, makes the sample folders with the first-run dialog's button, and
    // turns dry run off through the Settings form.
    void openSamples();
    void setDryRun(bool on);
    // Clicks the button and waits for the engine to answer what the click sent.
    void press(QAbstractButton* button);
    void press(int pageIndex, const char* name) { press(find(pageIndex, name)); }
    // Calls what a page offers (a dialog would have asked for its arguments) and waits
    // for the engine to answer what it sent.
    template <typename Action>
    void act(Action action) {
        action();
        QVERIFY(settle(model));
    }

    Page* page(int index) const { return window.page(index); }
    template <typename T = QPushButton>
    T* find(int pageIndex, const char* name) const {
        return window.page(pageIndex)->findChild<T*>(name);
    }
    QTableView* files() const { return find<QTableView>(kMatch, "matchTable"); }
    QTableWidget* projects() const { return find<QTableWidget>(kProjects, "projectsTable"); }
    QString bar() const { return window.findChild<QLabel*>("messageBar")->text(); }
    // The Match row showing `name`, -1 when none does.
    int row(const QString& name) const;

    void selectFiles(const QStringList& names) const;
    void selectProject(const QString& name) const;
    void chooseProject(const QString& name) const;
};

}  // namespace kelo::gui
