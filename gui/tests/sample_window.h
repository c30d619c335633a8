// What every desktop-app test starts from. runIsolated runs a QtTest class inside a
// QApplication whose settings, data, Trash and runtime folders all point into a
// temporary folder, so a test never touches the user's own.
//
// SampleWindow owns a temporary folder, an AppModel whose engine runs on "data" inside
// it, and a main window on that model; an inbox "Downloads" and a project home
// "Projects" sit beside the data (or, after openSamples, the first run's sample
// folders). Nothing outside the temporary folder is touched. GUI thread only; each
// test owns its own.
#pragma once

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>
#include <filesystem>
#include <string>
#include <vector>

#include "gui/app_model.h"
#include "gui/main_window.h"
#include "gui/page.h"
#include "support/temp_dir.h"

namespace kelo::gui {

// Waits until the engine has answered every command sent so far.
inline bool settle(AppModel& model) {
    return QTest::qWaitFor([&] { return !model.busy(); }, 20000);
}

// What a table shows in one cell, and down one column, whatever model it has.
inline QString cell(const QTableView* table, int row, int col) {
    return table->model()->index(row, col).data().toString();
}
inline QStringList column(const QTableView* table, int col) {
    QStringList values;
    for (int row = 0; row < table->model()->rowCount(); ++row) values << cell(table, row, col);
    return values;
}

// The values in order, for lists whose order is not what a test checks.
inline QStringList sorted(QStringList values) {
    values.sort();
    return values;
}

// Every line of a list, top to bottom.
inline QStringList itemTexts(const QListWidget* list) {
    QStringList out;
    for (int i = 0; i < list->count(); ++i) out << list->item(i)->text();
    return out;
}

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

template <typename Test>
int runIsolated(int argc, char** argv) {
    testing::TempDir home;
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        const auto folder = home / variable;
        std::filesystem::create_directories(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        qputenv(variable, QByteArray::fromStdString(folder.string()));
    }
    QApplication app(argc, argv);
    QApplication::setOrganizationName("Kelo");
    QApplication::setApplicationName("Kelo");
    Test test;
    return QTest::qExec(&test, argc, argv);
}

}  // namespace kelo::gui

// The main() of a suite that needs nothing set up before runIsolated, as QTEST_MAIN is for plain suites.
#define KELO_ISOLATED_TEST_MAIN(Test)                    \
    int main(int argc, char** argv) {                    \
        return kelo::gui::runIsolated<Test>(argc, argv); \
    }
