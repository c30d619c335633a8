// The Studio page against a real engine on temporary folders: showing the page
// opens a project, the dashboard and chart show its insights, the grid follows the
// filter, and pinning, renaming and saving a filter go through the engine.
#include "gui/studio_page.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QtTest>

#include "gui/size_chart.h"
#include "gui/tests/sample_window.h"
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
        settle(model);
    }
    StudioPage* page() const { return static_cast<StudioPage*>(window.page(kStudio)); }
    template <class T>
    T* child(const char* name) const {
        return page()->findChild<T*>(name);
    }
};

}  // namespace

class StudioPageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showingThePageOpensTheProjectAndTheGridFollowsTheFilter() {
        StudioWindow w;
        QVERIFY(w.model.snapshot()->inventory);
        auto* grid = w.child<QListWidget>("studioFiles");
        QCOMPARE(itemTexts(grid), (QStringList{"IMG_2.png", "Trà Xanh logo.ai", "brief.pdf"}));
        QVERIFY(w.child<QLabel>("studioTotals")->text().startsWith("3 tệp"));
        const auto& bars = w.child<SizeChart>("studioSizeChart")->bars();
        QCOMPARE(bars.size(), std::size_t{3});
        QCOMPARE(bars.front().first, QString("Working"));

        w.child<QLineEdit>("studioText")->setText("tra xanh");
        QCOMPARE(itemTexts(grid), QStringList{"Trà Xanh logo.ai"});
        w.child<QLineEdit>("studioText")->clear();
        auto* kind = w.child<QComboBox>("studioKind");
        kind->setCurrentIndex(kind->findData(QString("image")));
        QCOMPARE(itemTexts(grid), QStringList{"IMG_2.png"});
        QCOMPARE(w.child<QLabel>("studioShown")->text(), QString("Đang hiện 1 trên 1 tệp khớp bộ lọc"));
    }

    void pinningRenamingAndSavingAFilterGoThroughTheEngine() {
        StudioWindow w;
        auto* grid = w.child<QListWidget>("studioFiles");
        grid->item(0)->setSelected(true);  // IMG_2.png
        w.child<QPushButton>("studioPin")->click();
        QVERIFY(settle(w.model));
        QCOMPARE(itemTexts(w.child<QListWidget>("studioReferences")), QStringList{"IMG_2.png"});

        grid->item(0)->setSelected(true);
        w.page()->renameSelected("Tra Xanh poster.png");
        QVERIFY(settle(w.model));
        QVERIFY(itemTexts(grid).contains("Tra Xanh poster.png"));
        // The pinned file was renamed away: the board says it is gone.
        QCOMPARE(itemTexts(w.child<QListWidget>("studioReferences")),
                 QStringList{"IMG_2.png" + QString::fromUtf8(" (không còn ở đây)")});

        w.child<QComboBox>("studioDays")->setCurrentIndex(2);
        w.page()->saveCurrentFilter("Tuần này");
        QVERIFY(settle(w.model));
        auto* saved = w.child<QComboBox>("studioSavedFilters");
        QCOMPARE(saved->count(), 2);
        QCOMPARE(saved->itemText(1), QString("Tuần này"));
        QCOMPARE(*w.model.snapshot()->studioBoard->filters.front().days, 7);
    }
};

KELO_ISOLATED_TEST_MAIN(StudioPageTest)

#include "studio_page_test.moc"
