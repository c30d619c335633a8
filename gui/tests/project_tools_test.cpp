// What the Projects and Studio pages open, against a real engine on temporary
// folders: the sticker studio, the duplicate finder, the handoff and the ZIP cleanup
// share one window holding "Lotus Spa" with three copies of one cover and an old ZIP
// in the inbox; the Studio page opens a project of its own. GIO is kept to its local
// backend (the real gvfsd-metadata is exercised in tests/artwork).
#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QToolButton>
#include <cstdlib>

#include "engine/duplicate_commands.h"
#include "gui/duplicates_dialog.h"
#include "gui/handoff_dialog.h"
#include "gui/projects_page.h"
#include "gui/size_chart.h"
#include "gui/sticker_canvas.h"
#include "gui/sticker_studio_dialog.h"
#include "gui/studio_page.h"
#include "gui/tests/sample_window.h"
#include "gui/zip_cleanup_box.h"
#include "studio/studio_board.h"
#include "support/engine_fixture.h"

using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

// A project "Tra Xanh" of three files, on show in the Studio page.
struct StudioWindow : SampleWindow {
    fs::path project = home / "Tra Xanh";

    StudioWindow() {
        writeFile(project / "Working/Trà Xanh logo.ai", "ai");
        writeFile(project / "Export/IMG_2.png", std::string(2000, 'p'));
        writeFile(project / "brief.pdf", "pdf");
        for (const char* name : {"Working/Trà Xanh logo.ai", "Export/IMG_2.png", "brief.pdf"})
            kelo::testing::makeOlder(project / name, std::chrono::hours(2));
        open();
        window.show();
        window.showPage(kStudio);
        QVERIFY(settle(model));
    }
    StudioPage* page() const { return static_cast<StudioPage*>(window.page(kStudio)); }
    template <class T>
    T* child(const char* name) const {
        return page()->findChild<T*>(name);
    }
};

// The canvas point at (x, y), fractions of the icon's edge.
QPoint at(const StickerCanvas& canvas, double x, double y) {
    const double edge = std::min(canvas.width(), canvas.height());
    return QPoint(static_cast<int>((canvas.width() - edge) / 2 + x * edge),
                  static_cast<int>((canvas.height() - edge) / 2 + y * edge));
}

}  // namespace

class ProjectToolsTest : public QObject {
    Q_OBJECT

    SampleWindow w;
    fs::path project = w.home / "Lotus Spa";

    const Project& lotus() { return w.model.snapshot()->state->projects.front(); }
    ProjectsPage* projects() { return static_cast<ProjectsPage*>(w.page(kProjects)); }

private Q_SLOTS:
    // Old enough for a handoff, which refuses files written moments ago.
    void initTestCase() {
        for (const char* name : {"cover.png", "Export/cover copy.png", "Export/cover final.png"}) {
            writeFile(project / name, std::string(300'000, 'c'));
            kelo::testing::makeOlder(project / name, std::chrono::hours(2));
        }
        writeFile(w.inbox / "old.zip", "zip");
        w.open();
        QCOMPARE(w.model.snapshot()->state->projects.size(), std::size_t{1});
    }

    void stickerStudioComposesWithMouseAndUndoThenAppliesAndResets() {
        StickerStudioDialog dialog(w.model, lotus());
        dialog.resize(900, 520);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        dialog.findChild<QToolButton*>("color-red")->click();
        dialog.findChild<QToolButton*>("symbol-star")->click();
        dialog.findChild<QToolButton*>("skin-rounded")->click();
        QCOMPARE(dialog.editor().artwork().folderSymbol, std::optional<std::string>("star"));
        auto* undo = dialog.findChild<QPushButton*>("undoArtwork");
        undo->click();
        QCOMPARE(dialog.editor().artwork().folderSkin, std::optional<std::string>());
        QCOMPARE(dialog.editor().artwork().folderColor, std::optional<std::string>("red"));

        // A sticker dropped from the palette lands where it was dropped.
        auto* canvas = dialog.findChild<StickerCanvas*>("stickerCanvas");
        QMimeData mime;
        mime.setData(kStickerMimeType, "symbol:heart");
        QDragEnterEvent enter(at(*canvas, 0.3, 0.7), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(canvas, &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(at(*canvas, 0.3, 0.7), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(canvas, &drop);
        auto stickers = dialog.editor().stickers();
        QCOMPARE(stickers.size(), std::size_t{1});
        QVERIFY(std::abs(stickers[0].sticker.x - 0.3) < 0.02 && std::abs(stickers[0].sticker.y - 0.7) < 0.02);

        // Dragged with the left button, it follows the mouse; one undo puts it back.
        const auto drag = [&](std::initializer_list<QPoint> path) {
            QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, *path.begin());
            for (const QPoint& point : path) QTest::mouseMove(canvas, point);
            QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, *std::rbegin(path));
        };
        drag({at(*canvas, 0.3, 0.7), at(*canvas, 0.5, 0.6), at(*canvas, 0.75, 0.3)});
        stickers = dialog.editor().stickers();
        QVERIFY(std::abs(stickers[0].sticker.x - 0.75) < 0.02 && std::abs(stickers[0].sticker.y - 0.3) < 0.02);
        undo->click();
        QVERIFY(std::abs(dialog.editor().stickers()[0].sticker.x - 0.3) < 0.02);
        drag({at(*canvas, 0.3, 0.7), at(*canvas, 0.75, 0.3)});

        // The wheel scales it; with Shift it turns.
        const double scale = dialog.editor().stickers()[0].sticker.scale;
        const QPoint on = at(*canvas, 0.75, 0.3);
        QWheelEvent grow(on, canvas->mapToGlobal(on), {}, {0, 240}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                         false);
        QApplication::sendEvent(canvas, &grow);
        QVERIFY(dialog.editor().stickers()[0].sticker.scale > scale * 1.15);
        QWheelEvent turn(on, canvas->mapToGlobal(on), {}, {0, 120}, Qt::NoButton, Qt::ShiftModifier, Qt::NoScrollPhase,
                         false);
        QApplication::sendEvent(canvas, &turn);
        QCOMPARE(dialog.editor().stickers()[0].sticker.rotation, 15.0);

        const FolderArtwork chosen = dialog.editor().artwork();
        w.press(dialog.findChild<QPushButton*>("applyArtwork"));
        QVERIFY(FolderArtwork::of(lotus()) == chosen);

        // The Projects page shows the project's icon and opens the studio from its row.
        auto* table = w.projects();
        QVERIFY(!table->item(0, 0)->icon().isNull());
        auto* studio = w.find(kProjects, "stickerStudio");
        QVERIFY(!studio->isEnabled());
        table->selectRow(0);
        QVERIFY(studio->isEnabled());

        StickerStudioDialog again(w.model, lotus());
        QVERIFY(again.editor().artwork() == chosen);
        w.press(again.findChild<QPushButton*>("resetArtwork"));
        QVERIFY(FolderArtwork::of(lotus()).empty());
    }

    void duplicateFinderKeepsOneCopyAndTrashesTheOthers() {
        w.projects()->selectRow(0);
        DuplicatesDialog* dialog = projects()->openDuplicates();
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
        HandoffDialog* dialog = projects()->openHandoff();
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
        w.act([&] { box->switchOn(); });
        QVERIFY(w.model.snapshot()->state->settings.zipCleanupRule.has_value());
        QVERIFY(box->findChild<QCheckBox*>("zipCleanupEnabled")->isChecked());
        QCOMPARE(w.bar(), QString::fromUtf8("Đã bật. Bỏ qua 1 ZIP có sẵn; chỉ ghi nhận ZIP mới từ bây giờ."));
        w.act([&] { box->switchOff(); });
        QVERIFY(!w.model.snapshot()->state->settings.zipCleanupRule.has_value());
        QVERIFY(!box->findChild<QCheckBox*>("zipCleanupEnabled")->isChecked());
    }

    void studioPageOpensTheProjectTheGridFollowsTheFilterAndPinsRenamesAndSavesFilters() {
        StudioWindow s;
        auto* grid = s.child<QListWidget>("studioFiles");
        QCOMPARE(itemTexts(grid), (QStringList{"IMG_2.png", "Trà Xanh logo.ai", "brief.pdf"}));
        QVERIFY(s.child<QLabel>("studioTotals")->text().startsWith("3 tệp"));
        const auto& bars = s.child<SizeChart>("studioSizeChart")->bars();
        QCOMPARE(bars.size(), std::size_t{3});
        QCOMPARE(bars.front().first, QString("Working"));

        s.child<QLineEdit>("studioText")->setText("tra xanh");
        QCOMPARE(itemTexts(grid), QStringList{"Trà Xanh logo.ai"});
        s.child<QLineEdit>("studioText")->clear();
        auto* kind = s.child<QComboBox>("studioKind");
        kind->setCurrentIndex(kind->findData(QString("image")));
        QCOMPARE(itemTexts(grid), QStringList{"IMG_2.png"});
        QCOMPARE(s.child<QLabel>("studioShown")->text(), QString("Đang hiện 1 trên 1 tệp khớp bộ lọc"));

        // Pinning, renaming and saving a filter go through the engine.
        grid->item(0)->setSelected(true);  // IMG_2.png
        s.press(s.child<QPushButton>("studioPin"));
        QCOMPARE(itemTexts(s.child<QListWidget>("studioReferences")), QStringList{"IMG_2.png"});

        grid->item(0)->setSelected(true);
        s.act([&] { s.page()->renameSelected("Tra Xanh poster.png"); });
        QVERIFY(itemTexts(grid).contains("Tra Xanh poster.png"));
        // The pinned file was renamed away: the board says it is gone.
        QCOMPARE(itemTexts(s.child<QListWidget>("studioReferences")),
                 QStringList{"IMG_2.png" + QString::fromUtf8(" (không còn ở đây)")});

        s.child<QComboBox>("studioDays")->setCurrentIndex(2);
        s.act([&] { s.page()->saveCurrentFilter("Tuần này"); });
        auto* saved = s.child<QComboBox>("studioSavedFilters");
        QCOMPARE(saved->count(), 2);
        QCOMPARE(saved->itemText(1), QString("Tuần này"));
        QCOMPARE(*s.model.snapshot()->studioBoard->filters.front().days, 7);
    }
};

int main(int argc, char** argv) {
    ::setenv("GIO_USE_VFS", "local", 1);
    return runIsolated<ProjectToolsTest>(argc, argv);
}

#include "project_tools_test.moc"
