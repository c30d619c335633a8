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
#include "gui/projects_page.h"
#include "gui/tests/sample_window.h"
#include "gui/zip_cleanup_box.h"
#include "support/engine_fixture.h"
#include "support/temp_dir.h"

using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

// A project "Lotus Spa" holding three copies of one cover, old enough for a handoff
// (it refuses files written moments ago), and an old ZIP in the inbox.
fs::path openWithCopies(SampleWindow& w) {
    const fs::path project = w.home / "Lotus Spa";
    for (const char* name : {"cover.png", "Export/cover copy.png", "Export/cover final.png"}) {
        writeFile(project / name, std::string(300'000, 'c'));
        kelo::testing::makeOlder(project / name, std::chrono::hours(2));
    }
    writeFile(w.inbox / "old.zip", "zip");
    w.open();
    w.projects()->selectRow(0);
    return project;
}

ProjectsPage* projects(SampleWindow& w) {
    return static_cast<ProjectsPage*>(w.page(kProjects));
}

}  // namespace

// One window for the three dialogs; the handoff packs what the duplicate finder left.
class HousekeepingDialogsTest : public QObject {
    Q_OBJECT

    SampleWindow w;
    fs::path project;

private Q_SLOTS:
    void initTestCase() { project = openWithCopies(w); }

    void keepingOneCopyTrashesTheOthers() {
        DuplicatesDialog* dialog = projects(w)->openDuplicates();
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
        QVERIFY(fs::exists(project / "cover.png"));  // the one chosen to keep
        const auto labels = dialog->findChildren<QLabel*>();
        QCOMPARE(std::count_if(labels.begin(), labels.end(),
                               [](QLabel* label) { return label->text() == QString(text::kTrashedCopy); }),
                 2);
        dialog->close();
    }

    void handoffPacksIntoTheChosenFolder() {
        HandoffDialog* dialog = projects(w)->openHandoff();
        const fs::path exports = w.root / "Exports";
        fs::create_directories(exports);
        dialog->setExportFolder(QString::fromStdString(exports.string()));
        dialog->pack();
        QVERIFY(dialog->packing());
        QVERIFY(QTest::qWaitFor([&] { return !dialog->packing(); }, 20000));
        QVERIFY2(dialog->outcome().startsWith("Handoff created: "), qPrintable(dialog->outcome()));
        QVERIFY(fs::exists(exports / "Lotus Spa-handoff.zip"));
        dialog->close();
    }

    void zipCleanupSwitchesFromSettings() {
        auto* box = w.page(kSettings)->findChild<ZipCleanupBox*>("zipCleanup");
        QVERIFY(box);
        box->switchOn();
        QVERIFY(settle(w.model));
        QVERIFY(w.model.snapshot()->state->settings.zipCleanupRule.has_value());
        QVERIFY(box->findChild<QCheckBox*>("zipCleanupEnabled")->isChecked());
        QCOMPARE(w.bar(), QString::fromUtf8("Đã bật. Bỏ qua 1 ZIP có sẵn; chỉ ghi nhận ZIP mới từ bây giờ."));
        box->switchOff();
        QVERIFY(settle(w.model));
        QVERIFY(!w.model.snapshot()->state->settings.zipCleanupRule.has_value());
        QVERIFY(!box->findChild<QCheckBox*>("zipCleanupEnabled")->isChecked());
    }
};

KELO_ISOLATED_TEST_MAIN(HousekeepingDialogsTest)

#include "housekeeping_test.moc"
