// The sticker studio against a real engine on temporary folders: the choices, a
// sticker dropped onto the icon, dragged, scaled and turned with the mouse, undo in
// the dialog, Apply and Reset reaching the project; and the project's icon on the
// Projects page. GIO is kept to its local backend (the real gvfsd-metadata is
// exercised in tests/artwork).
#include <QApplication>
#include <QMimeData>
#include <QPushButton>
#include <QTableWidget>
#include <QToolButton>
#include <QtTest>
#include <cstdlib>

#include "gui/sticker_canvas.h"
#include "gui/sticker_studio_dialog.h"
#include "gui/tests/sample_window.h"

using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

class StickerStudioTest : public QObject {
    Q_OBJECT

    SampleWindow w;
    AppModel& model = w.model;
    const fs::path& home = w.home;

    const Project& lotus() { return model.snapshot()->state->projects.front(); }

    // The canvas point at (x, y), fractions of the icon's edge.
    static QPoint at(const StickerCanvas& canvas, double x, double y) {
        const double edge = std::min(canvas.width(), canvas.height());
        return QPoint(static_cast<int>((canvas.width() - edge) / 2 + x * edge),
                      static_cast<int>((canvas.height() - edge) / 2 + y * edge));
    }

private Q_SLOTS:
    void initTestCase() {
        fs::create_directories(home / "Lotus");
        w.open();
        QCOMPARE(model.snapshot()->state->projects.size(), std::size_t{1});
    }

    void composesWithMouseAndUndoThenAppliesAndResets() {
        StickerStudioDialog dialog(model, lotus());
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
        QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, at(*canvas, 0.3, 0.7));
        QTest::mouseMove(canvas, at(*canvas, 0.5, 0.6));
        QTest::mouseMove(canvas, at(*canvas, 0.75, 0.3));
        QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, at(*canvas, 0.75, 0.3));
        stickers = dialog.editor().stickers();
        QVERIFY(std::abs(stickers[0].sticker.x - 0.75) < 0.02 && std::abs(stickers[0].sticker.y - 0.3) < 0.02);
        undo->click();
        QVERIFY(std::abs(dialog.editor().stickers()[0].sticker.x - 0.3) < 0.02);
        QTest::mousePress(canvas, Qt::LeftButton, Qt::NoModifier, at(*canvas, 0.3, 0.7));
        QTest::mouseMove(canvas, at(*canvas, 0.75, 0.3));
        QTest::mouseRelease(canvas, Qt::LeftButton, Qt::NoModifier, at(*canvas, 0.75, 0.3));

        // The wheel scales it; with Shift it turns.
        const double scale = dialog.editor().stickers()[0].sticker.scale;
        QWheelEvent grow(at(*canvas, 0.75, 0.3), canvas->mapToGlobal(at(*canvas, 0.75, 0.3)), {}, {0, 240},
                         Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(canvas, &grow);
        QVERIFY(dialog.editor().stickers()[0].sticker.scale > scale * 1.15);
        QWheelEvent turn(at(*canvas, 0.75, 0.3), canvas->mapToGlobal(at(*canvas, 0.75, 0.3)), {}, {0, 120},
                         Qt::NoButton, Qt::ShiftModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(canvas, &turn);
        QCOMPARE(dialog.editor().stickers()[0].sticker.rotation, 15.0);

        const FolderArtwork chosen = dialog.editor().artwork();
        dialog.findChild<QPushButton*>("applyArtwork")->click();
        QVERIFY(settle(model));
        QVERIFY(FolderArtwork::of(lotus()) == chosen);

        // The Projects page shows the project's icon and opens the studio from its row.
        auto* table = w.projects();
        QVERIFY(!table->item(0, 0)->icon().isNull());
        auto* studio = w.find(kProjects, "stickerStudio");
        QVERIFY(!studio->isEnabled());
        table->selectRow(0);
        QVERIFY(studio->isEnabled());

        StickerStudioDialog again(model, lotus());
        QVERIFY(again.editor().artwork() == chosen);
        again.findChild<QPushButton*>("resetArtwork")->click();
        QVERIFY(settle(model));
        QVERIFY(FolderArtwork::of(lotus()).empty());
    }
};

int main(int argc, char** argv) {
    ::setenv("GIO_USE_VFS", "local", 1);
    return runIsolated<StickerStudioTest>(argc, argv);
}

#include "sticker_studio_test.moc"
