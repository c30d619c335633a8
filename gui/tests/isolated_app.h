// Helpers of the desktop app's QtTest suites. runIsolated runs a QtTest class inside a QApplication whose settings,
// data, Trash and runtime folders all point into a temporary folder, so a test never touches the user's own.
#pragma once

#include <QApplication>
#include <QListWidget>
#include <QTableWidget>
#include <QtTest>
#include <filesystem>

#include "gui/app_model.h"
#include "support/temp_dir.h"

namespace kelo::gui {

// Waits until the engine has answered every command sent so far.
inline bool settle(AppModel& model) {
    return QTest::qWaitFor([&] { return !model.busy(); }, 20000);
}

// What a table shows in one cell, and down one column (or any list sorted), whatever model it has.
inline QString cell(const QTableView* table, int row, int col) {
    return table->model()->index(row, col).data().toString();
}
inline QStringList column(const QTableView* table, int col) {
    QStringList values;
    for (int row = 0; row < table->model()->rowCount(); ++row) values << cell(table, row, col);
    return values;
}

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
