// Runs a QtTest class inside a QApplication whose settings, data, Trash and runtime
// folders all point into a temporary folder, so a test never touches the user's own.
#pragma once

#include <QApplication>
#include <QtTest>
#include <filesystem>

#include "support/temp_dir.h"

namespace kelo::gui {

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
