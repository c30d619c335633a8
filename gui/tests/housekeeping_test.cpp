// The housekeeping dialogs against a real engine on temporary folders: finding the
// copies in a project and trashing all but the kept one, packing a handoff ZIP, and
// switching the ZIP cleanup on and off from Settings.
#include <QCheckBox>
#include <QLabel>
#include <QTableWidget>
#include <QtTest>

#include "engine/duplicate_commands.h"
#include "gui/duplicates_dialog.h"
#include "gui/handoff_dialog.h"
#include "gui/main_window.h"
#include "gui/projects_page.h"
#include "gui/tests/isolated_app.h"
#include "gui/zip_cleanup_box.h"
#include "support/engine_fixture.h"
#include "support/temp_dir.h"

using kelo::testing::TempDir;
using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

enum PageIndex { kOverview, kMatch, kProjects, kStudio, kHistory, kSettings };

struct Window {
    TempDir root;
    fs::path inbox = root / "Downloads";
    fs::path home = root / "Projects";
    fs::path project = home / "Lotus Spa";
    AppModel model;
    MainWindow window{model};

    Window() {
        writeFile(project / "cover.png", std::string(300'000, 'c'));
        writeFile(project / "Export/cover copy.png", std::string(300'000, 'c'));
        writeFile(project / "Export/cover final.png", std::string(300'000, 'c'));
        writeFile(inbox / "old.zip", "zip");
        // A handoff refuses files written moments ago: they may still be being saved.
        for (const char* name : {"cover.png", "Export/cover copy.png", "Export/cover final.png"})
            kelo::testing::makeOlder(project / name, std::chrono::hours(2));
        model.start(root / "data");
        settle(model);
        model.addGrant(inbox, FolderGrant::Role::watch);
        model.addGrant(home, FolderGrant::Role::projectHome);
        settle(model);
        Settings settings = model.snapshot()->state->settings;
        settings.dryRun = false;
        model.updateSettings(settings);
        settle(model);
        auto* table = window.page(kProjects)->findChild<QTableWidget*>("projectsTable");
        table->selectRow(0);
    }
    ProjectsPage* projects() const { return static_cast<ProjectsPage*>(window.page(kProjects)); }
};

}  // namespace

class HousekeepingDialogsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepingOneCopyTrashesTheOthers() {
        Window w;
        DuplicatesDialog* dialog = w.projects()->openDuplicates();
        QVERIFY(dialog);
        QVERIFY(w.model.backgroundBusy());  // the mascot shows the search
        QVERIFY(QTest::qWaitFor([&] { return !dialog->searching(); }, 20000));
        QVERIFY(!w.model.backgroundBusy());
        QCOMPARE(dialog->groups().size(), std::size_t{1});
        QCOMPARE(dialog->status(), QString::fromStdString(DuplicateCommands::summary(dialog->groups())));
        // Files are listed in path order: the two in Export, then the cover itself.
        dialog->keep(0, 2);
        dialog->trashOthers(0);
        QVERIFY(settle(w.model));
        QVERIFY(fs::exists(w.project / "cover.png"));
        QVERIFY(!fs::exists(w.project / "Export/cover copy.png"));
        QVERIFY(!fs::exists(w.project / "Export/cover final.png"));
        const auto labels = dialog->findChildren<QLabel*>();
        QCOMPARE(std::count_if(labels.begin(), labels.end(),
                               [](QLabel* label) { return label->text() == QString(text::kTrashedCopy); }),
                 2);
        dialog->close();
    }

    void stoppingASearchSaysSo() {
        Window w;
        DuplicatesDialog* dialog = w.projects()->openDuplicates();
        dialog->stop();
        QVERIFY(QTest::qWaitFor([&] { return !dialog->searching(); }, 20000));
        // A search this small may end before it sees the stop; either way nothing partial shows.
        QVERIFY(dialog->status() == QString::fromStdString(std::string(kDuplicateSearchStopped)) ||
                dialog->groups().size() == 1);
        dialog->close();
    }

    void handoffPacksIntoTheChosenFolder() {
        Window w;
        HandoffDialog* dialog = w.projects()->openHandoff();
        const fs::path exports = w.root / "Exports";
        fs::create_directories(exports);
        dialog->setExportFolder(QString::fromStdString(exports.string()));
        dialog->pack();
        QVERIFY(dialog->packing());
        QVERIFY(QTest::qWaitFor([&] { return !dialog->packing(); }, 20000));
        QVERIFY2(dialog->outcome().startsWith("Handoff created: "), qPrintable(dialog->outcome()));
        QVERIFY(fs::exists(exports / "Lotus Spa-handoff.zip"));
        // Again: the archive is there, so the engine refuses and says why.
        dialog->pack();
        QVERIFY(QTest::qWaitFor([&] { return !dialog->packing(); }, 20000));
        QVERIFY(!dialog->outcome().startsWith("Handoff created: "));
        QVERIFY(!dialog->outcome().isEmpty());
        dialog->close();
    }

    void zipCleanupSwitchesFromSettings() {
        Window w;
        auto* box = w.window.page(kSettings)->findChild<ZipCleanupBox*>("zipCleanup");
        QVERIFY(box);
        box->switchOn();
        QVERIFY(settle(w.model));
        QVERIFY(w.model.snapshot()->state->settings.zipCleanupRule.has_value());
        QVERIFY(box->findChild<QCheckBox*>("zipCleanupEnabled")->isChecked());
        QCOMPARE(w.window.findChild<QLabel*>("messageBar")->text(),
                 QString::fromUtf8("Đã bật. Bỏ qua 1 ZIP có sẵn; chỉ ghi nhận ZIP mới từ bây giờ."));
        box->switchOff();
        QVERIFY(settle(w.model));
        QVERIFY(!w.model.snapshot()->state->settings.zipCleanupRule.has_value());
        QVERIFY(!box->findChild<QCheckBox*>("zipCleanupEnabled")->isChecked());
    }
};

int main(int argc, char** argv) {
    return runIsolated<HousekeepingDialogsTest>(argc, argv);
}

#include "housekeeping_test.moc"
