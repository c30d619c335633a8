// Drag and drop and the keyboard against a real engine: Match rows dropped on a
// project are sorted through the sort command, files dropped from the file manager
// are selected (or refused in one sentence), and Ctrl+Z undoes the last batch.
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>
#include <QTableWidget>
#include <QtTest>

#include "gui/match_page.h"
#include "gui/project_drop_list.h"
#include "gui/tests/sample_window.h"
#include "support/engine_fixture.h"

using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

class DragDropTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rowsDroppedOnAProjectAreSortedAndCtrlZPutsThemBack() {
        SampleWindow w;
        writeFile(w.inbox / "brief for lotus.pdf", "pdf");
        kelo::testing::makeOlder(w.inbox / "brief for lotus.pdf", std::chrono::hours(2));
        fs::create_directories(w.home / "Lotus Spa");
        fs::create_directories(w.home / "Bloom");
        w.window.show();
        w.open();
        const fs::path &inbox = w.inbox, &home = w.home;
        MainWindow& window = w.window;

        // From the file manager: an inbox file is selected on Match, another is refused.
        window.openFiles({QString::fromStdString((inbox / "brief for lotus.pdf").string()),
                          QString::fromStdString((w.root / "elsewhere.pdf").string())});
        auto* table = w.files();
        QCOMPARE(table->selectionModel()->selectedRows().size(), 1);
        QCOMPARE(w.bar(), QString(text::kDroppedOutsideInbox).arg("elsewhere.pdf"));

        // The selected row dragged onto "Bloom" in the list beside the table.
        auto* list = w.page(kMatch)->findChild<ProjectDropList*>("projectDropList");
        const auto targets = list->findItems("Bloom", Qt::MatchExactly);
        QCOMPARE(targets.size(), 1);
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        std::unique_ptr<QMimeData> dragged(table->model()->mimeData(table->selectionModel()->selectedIndexes()));
        const QPoint onBloom = list->visualItemRect(targets.front()).center();
        QDragEnterEvent enter(onBloom, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(list->viewport(), &enter);
        QDragMoveEvent move(onBloom, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(list->viewport(), &move);
        QDropEvent drop(onBloom, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(list->viewport(), &drop);
        QVERIFY(drop.isAccepted());
        QVERIFY(settle(w.model));
        QVERIFY(fs::exists(home / "Bloom/Reference/brief for lotus.pdf"));

        window.undoLatest();
        QVERIFY(settle(w.model));
        QVERIFY(fs::exists(inbox / "brief for lotus.pdf"));
    }
};

int main(int argc, char** argv) {
    return runIsolated<DragDropTest>(argc, argv);
}

#include "drag_drop_test.moc"
