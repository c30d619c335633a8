// The window's actions, each through a real engine on real temporary folders: the
// sample folders the first run offers, sorting and undoing, a name conflict and
// "keep both", the learning buttons, rename and group, the Trash, the project
// actions, name suggestions and clusters, the one-click clean, and the settings
// that only the form can reach, and drag and drop with Ctrl+Z. Refusals must reach
// the message bar word for word.
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QMimeData>
#include <QTimer>
#include <QtTest>

#include "gui/match_model.h"
#include "gui/match_page.h"
#include "gui/project_drop_list.h"
#include "gui/projects_page.h"
#include "gui/rename_dialog.h"
#include "gui/settings_page.h"
#include "gui/tests/sample_window.h"
#include "support/temp_dir.h"

using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

using enum MatchModel::Column;

// Answers the next message box with Ok or Yes, from inside its event loop.
void acceptNextMessageBox() {
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [timer] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) return;
        for (auto choice : {QMessageBox::Ok, QMessageBox::Yes})
            if (QAbstractButton* button = box->button(choice)) button->click();
        timer->deleteLater();
    });
    timer->start(10);
}

}  // namespace

class ActionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sampleFoldersAreMadeInAFolderOfTheirOwnAndApproved();
    void sortFromMatchThenUndoFromHistory();
    void nameConflictOffersKeepBoth();
    void archivedProjectRefusesSortsVerbatimUntilReopened();
    void confirmRejectLeaveAloneAndRestore();
    void renameComposesTheReviewedNameAndGroupingGoesIntoAProject();
    void trashThenPutBack();
    void projectAliasesNewProjectAndTrash();
    void nameSuggestionsAndClusters();
    void cleanMovesEveryReadyFileAfterConfirmation();
    void namingDetailAndResetLearning();
    void reconnectFindsAMovedInboxAgain();
    void filesDroppedAreSelectedAndRowsDroppedOnAProjectSortedThenCtrlZ();
};

void ActionsTest::sampleFoldersAreMadeInAFolderOfTheirOwnAndApproved() {
    SampleWindow w;
    w.openSamples();
    QVERIFY(fs::is_directory(w.inbox));
    // Nothing outside the data directory, which holds the samples too.
    QStringList top;
    for (const auto& entry : fs::directory_iterator(w.root.path()))
        top << QString::fromStdString(entry.path().filename());
    top.sort();
    QCOMPARE(top, QStringList({"data"}));
    QCOMPARE(w.inbox.parent_path().parent_path(), w.root / "data/Sample folders");
    QVERIFY(fs::is_directory(w.home / "Hydro Cafe"));

    const auto& grants = w.model.snapshot()->state->grants;
    QCOMPARE(grants.size(), std::size_t(2));
    QVERIFY(!w.sampleMessages.empty());
    QCOMPARE(w.sampleMessages.front(), text::kSamplesCreated + w.inbox.parent_path().string());
    QVERIFY(w.sampleNoteShown);

    QTableView* files = w.files();
    QCOMPARE(files->model()->rowCount(), 13);
    const int post = w.row("Hydro Cafe social post 3.png");
    QCOMPARE(cell(files, post, kProject), QString("Hydro Cafe"));
    QVERIFY(cell(files, post, kScore).toInt() > 0);
    QVERIFY(!cell(files, post, kSignals).isEmpty());  // the reasons
}

void ActionsTest::sortFromMatchThenUndoFromHistory() {
    SampleWindow w;
    w.openSamples();
    w.selectFiles({"Hydro Cafe social post 3.png"});
    w.chooseProject("Hydro Cafe");
    auto* category = w.find<QComboBox>(kMatch, "categoryChoice");
    category->setCurrentIndex(category->findText("Export"));
    w.find<QLineEdit>(kMatch, "subfolder")->setText("Social");
    w.press(kMatch, "sortButton");
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));

    const fs::path moved = w.home / "Hydro Cafe/Export/Social/Hydro Cafe social post 3.png";
    QVERIFY(fs::exists(moved));
    QVERIFY(!fs::exists(w.inbox / "Hydro Cafe social post 3.png"));
    QCOMPARE(w.row("Hydro Cafe social post 3.png"), -1);

    auto* history = w.find<QTableWidget>(kHistory, "historyTable");
    QCOMPARE(history->rowCount(), 1);
    QCOMPARE(history->item(0, 1)->text(), QString("Hydro Cafe social post 3.png"));
    QCOMPARE(history->item(0, 2)->text(), QString("1"));  // moved
    auto* lastRun = w.find<QLabel>(kHistory, "lastRun");
    QVERIFY(lastRun->text().contains("1 completed, 0 skipped, 0 failed. 0 overwritten."));

    auto* undo = qobject_cast<QPushButton*>(history->cellWidget(0, 7));
    QVERIFY(undo && undo->isEnabled());
    w.press(undo);
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
    QVERIFY(fs::exists(w.inbox / "Hydro Cafe social post 3.png"));
    QVERIFY(!fs::exists(moved));
    QVERIFY(w.row("Hydro Cafe social post 3.png") >= 0);
}

void ActionsTest::nameConflictOffersKeepBoth() {
    SampleWindow w;
    w.openSamples();
    writeFile(w.home / "Lotus Spa/Reference/lotus price list.pdf", "the older list");
    auto* keepBoth = w.find(kMatch, "keepBoth");
    QVERIFY(!keepBoth->isEnabled());

    w.selectFiles({"lotus price list.pdf"});
    // "Sort into" follows the suggestion for the chosen file.
    QCOMPARE(w.find<QComboBox>(kMatch, "projectChoice")->currentText(), QString("Lotus Spa"));
    auto* category = w.find<QComboBox>(kMatch, "categoryChoice");
    category->setCurrentIndex(category->findText("Reference"));
    w.press(kMatch, "sortButton");
    QVERIFY(fs::exists(w.inbox / "lotus price list.pdf"));  // skipped, nothing overwritten
    QVERIFY(w.bar().contains("Name conflict: "));
    QVERIFY(keepBoth->isEnabled());

    w.press(keepBoth);
    QVERIFY(!fs::exists(w.inbox / "lotus price list.pdf"));
    QVERIFY(fs::exists(w.home / "Lotus Spa/Reference/lotus price list 2.pdf"));
    QCOMPARE(kelo::testing::readFile(w.home / "Lotus Spa/Reference/lotus price list.pdf"), "the older list");
    QVERIFY(!keepBoth->isEnabled());
}

void ActionsTest::archivedProjectRefusesSortsVerbatimUntilReopened() {
    SampleWindow w;
    w.openSamples();
    w.selectProject("Lotus Spa");
    auto* archive = w.find(kProjects, "archiveProject");
    auto* reopen = w.find(kProjects, "reopenProject");
    QVERIFY(archive->isEnabled() && !reopen->isEnabled());
    w.press(archive);
    QCOMPARE(w.projects()->item(column(w.projects(), 0).indexOf("Lotus Spa"), 1)->text(), QString("Đã lưu trữ"));

    w.selectFiles({"lotus price list.pdf"});
    w.chooseProject("Lotus Spa");
    w.press(kMatch, "sortButton");
    QCOMPARE(w.bar(), QString("Mở lại dự án trước khi chọn."));
    QVERIFY(fs::exists(w.inbox / "lotus price list.pdf"));

    w.selectProject("Lotus Spa");
    QVERIFY(reopen->isEnabled() && !archive->isEnabled());
    w.press(reopen);
    QCOMPARE(w.projects()->item(column(w.projects(), 0).indexOf("Lotus Spa"), 1)->text(), QString("Đang làm"));
}

void ActionsTest::confirmRejectLeaveAloneAndRestore() {
    SampleWindow w;
    w.openSamples();
    w.selectFiles({"lotus price list.pdf"});
    QCOMPARE(cell(w.files(), w.row("lotus price list.pdf"), kProject), QString("Lotus Spa"));
    w.press(kMatch, "confirmButton");
    QCOMPARE(cell(w.files(), w.row("lotus price list.pdf"), kState), QString("Ready"));
    QVERIFY(fs::exists(w.inbox / "lotus price list.pdf"));  // learning moves nothing

    const int collab = w.row("hydro lotus collab.psd");
    const QString first = cell(w.files(), collab, kProject);
    const int before = cell(w.files(), collab, kScore).toInt();
    w.selectFiles({"hydro lotus collab.psd"});
    w.press(kMatch, "rejectButton");
    const auto& feedback = w.model.snapshot()->state->learning.feedback;
    QVERIFY(!feedback.empty() && feedback.back().filename == "hydro lotus collab.psd" && feedback.back().rejected);
    const int after = w.row("hydro lotus collab.psd");
    QVERIFY(cell(w.files(), after, kProject) != first ||
            cell(w.files(), after, kScore).toInt() < before);

    auto* restore = w.find(kMatch, "restoreIgnored");
    QVERIFY(!restore->isEnabled());
    w.selectFiles({"scan0001.pdf"});
    w.press(kMatch, "leaveAloneButton");
    QVERIFY(cell(w.files(), w.row("scan0001.pdf"), kState).endsWith(text::kIgnoredMark));
    QVERIFY(restore->isEnabled());
    w.press(restore);
    QVERIFY(!cell(w.files(), w.row("scan0001.pdf"), kState).endsWith(text::kIgnoredMark));
    QVERIFY(!restore->isEnabled());
}

void ActionsTest::renameComposesTheReviewedNameAndGroupingGoesIntoAProject() {
    {
        // The dialog shows the name the parts make, or the rule's refusal.
        RenameDialog dialog("Untitled-1.ai", {"Hydro", "Logo", ""});
        auto* ok = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        QCOMPARE(dialog.preview(),
                 QString("Nhập đủ Job, mục đích và chi tiết; không dùng dấu chấm hoặc ký tự đường dẫn."));
        QVERIFY(!ok->isEnabled());
        dialog.findChild<QLineEdit*>("renameDetail")->setText("Final");
        QCOMPARE(dialog.preview(), QString("Tên mới: Hydro-Logo-Final.ai"));
        QVERIFY(ok->isEnabled());
    }
    SampleWindow w;
    w.openSamples();
    auto* page = static_cast<MatchPage*>(w.window.page(kMatch));
    w.selectFiles({"Untitled-1.ai"});
    page->renameSelected({" Hydro ", "Logo", "Final"});
    QVERIFY(settle(w.model));
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
    QVERIFY(fs::exists(w.inbox / "Hydro-Logo-Final.ai"));
    QVERIFY(!fs::exists(w.inbox / "Untitled-1.ai"));

    // A part the naming rule refuses: the rule's own words, and nothing renamed.
    w.selectFiles({"scan0001.pdf"});
    page->renameSelected({"Hydro", "menu.v2", "Final"});
    QVERIFY(settle(w.model));
    QCOMPARE(w.bar(), QString("Nhập đủ Job, mục đích và chi tiết; không dùng dấu chấm hoặc ký tự đường dẫn."));
    QVERIFY(fs::exists(w.inbox / "scan0001.pdf"));

    // Loose inbox files cannot be grouped beside themselves: the engine says why.
    w.selectFiles({"mango tea label 1.ai", "mango tea label 2.ai"});
    page->groupSelected("Mango", QString());
    QVERIFY(settle(w.model));
    QVERIFY2(w.bar().startsWith("Left mango tea label 1.ai and mango tea label 2.ai where they are"),
             qPrintable(w.bar()));
    QCOMPARE(w.bar(), w.model.refusal());
    QVERIFY(fs::exists(w.inbox / "mango tea label 1.ai"));
    QVERIFY(!fs::exists(w.inbox / "Mango"));

    // Grouped into a project, they go into a new folder inside it.
    QString lotus;
    for (const auto& project : w.model.snapshot()->state->projects)
        if (project.name == "Lotus Spa") lotus = QString::fromStdString(project.id.text());
    QVERIFY(!lotus.isEmpty());
    w.selectFiles({"mango tea label 1.ai", "mango tea label 2.ai"});
    page->groupSelected("Mango", lotus);
    QVERIFY(settle(w.model));
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
    QVERIFY(!fs::exists(w.inbox / "mango tea label 1.ai"));
    bool found = false;
    for (const auto& entry : fs::recursive_directory_iterator(w.home / "Lotus Spa"))
        if (entry.path().filename() == "mango tea label 2.ai") found = entry.path().parent_path().filename() == "Mango";
    QVERIFY(found);
}

void ActionsTest::trashThenPutBack() {
    SampleWindow w;
    w.openSamples();
    auto* undoTrash = w.find(kHistory, "undoTrash");
    QVERIFY(undoTrash->isHidden());
    w.selectFiles({"IMG_2024_0815.jpg"});
    w.press(kMatch, "trashButton");
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
    QVERIFY(!fs::exists(w.inbox / "IMG_2024_0815.jpg"));
    const fs::path trashed =
        fs::path(qEnvironmentVariable("XDG_DATA_HOME").toStdString()) / "Trash/files/IMG_2024_0815.jpg";
    QVERIFY(fs::exists(trashed));
    QVERIFY(!undoTrash->isHidden() && undoTrash->isEnabled());

    w.press(undoTrash);
    QVERIFY(fs::exists(w.inbox / "IMG_2024_0815.jpg"));
    QVERIFY(!fs::exists(trashed));
    QVERIFY(undoTrash->isHidden());
}

void ActionsTest::projectAliasesNewProjectAndTrash() {
    SampleWindow w;
    w.openSamples();
    auto* page = static_cast<ProjectsPage*>(w.window.page(kProjects));
    auto aliasesOf = [&](const QString& name) {
        return w.projects()->item(column(w.projects(), 0).indexOf(name), 3)->text();
    };
    w.selectProject("Lotus Spa");
    page->addAlias("LS");
    QVERIFY(settle(w.model));
    QCOMPARE(aliasesOf("Lotus Spa"), QString("lotus, LS"));
    QVERIFY(w.find(kProjects, "removeAlias")->isEnabled());
    page->removeAlias("lotus");
    QVERIFY(settle(w.model));
    QCOMPARE(aliasesOf("Lotus Spa"), QString("LS"));
    w.selectProject("Bamboo Books");
    page->addAlias("LS");  // already names Lotus Spa
    QVERIFY(settle(w.model));
    QCOMPARE(w.bar(), QString("LS already names the project Lotus Spa. Nothing changed."));

    page->newProject("Mango Tea");
    QVERIFY(settle(w.model));
    QVERIFY(fs::is_directory(w.home / "Mango Tea"));
    QVERIFY(column(w.projects(), 0).contains("Mango Tea"));
    page->newProject("mango tea");
    QVERIFY(settle(w.model));
    QCOMPARE(w.bar(), QString("A project called Mango Tea already exists. No project was created."));

    // A job folder that is no longer a folder: the trash checks refuse in their own words.
    fs::remove_all(w.home / "Lotus Spa");
    writeFile(w.home / "Lotus Spa", "not a folder any more");
    w.selectProject("Lotus Spa");
    page->trashSelected();
    QVERIFY(settle(w.model));
    QCOMPARE(w.bar(), QString("Job không còn là thư mục thông thường. Hãy quét lại."));
    QVERIFY(fs::is_regular_file(w.home / "Lotus Spa"));

    w.selectProject("Bamboo Books");
    acceptNextMessageBox();
    w.press(kProjects, "trashProject");
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
    QVERIFY(!fs::exists(w.home / "Bamboo Books"));
    QVERIFY(!column(w.projects(), 0).contains("Bamboo Books"));
}

void ActionsTest::nameSuggestionsAndClusters() {
    SampleWindow w;
    w.openSamples();
    auto* suggestions = w.find<QListWidget>(kProjects, "nameSuggestions");
    auto texts = [](const QListWidget* list) {
        QStringList out;
        for (int i = 0; i < list->count(); ++i) out << list->item(i)->text();
        return out;
    };
    auto pick = [&](QListWidget* list, const QString& start) {
        for (int i = 0; i < list->count(); ++i)
            if (list->item(i)->text().startsWith(start)) list->setCurrentRow(i);
    };
    QCOMPARE(texts(suggestions), QStringList({"Mango (3 tệp)", "Tea (3 tệp)"}));
    pick(suggestions, "Tea");
    w.press(kProjects, "deferSuggestion");
    QCOMPARE(texts(suggestions), QStringList({"Mango (3 tệp)"}));
    pick(suggestions, "Mango");
    w.press(kProjects, "acceptSuggestion");
    QVERIFY(fs::is_directory(w.home / "Mango"));
    QVERIFY(column(w.projects(), 0).contains("Mango"));
    QCOMPARE(texts(suggestions), QStringList({text::kNoNameSuggestions}));

    auto* clusters = w.find<QListWidget>(kMatch, "clusterList");
    auto* ignore = w.find(kMatch, "ignoreCluster");
    const QString hydro =
        "hydro — 3 tệp: Hydro Cafe social post 3.png, Hydro Cafe social post 4.png, "
        "hydro lotus collab.psd";
    // Clusters are found off the main thread; the list fills in when they are ready.
    QTRY_VERIFY(texts(clusters).contains(hydro));
    QVERIFY(!ignore->isEnabled());
    pick(clusters, "hydro");
    QVERIFY(ignore->isEnabled());
    w.press(ignore);
    QTRY_VERIFY(!texts(clusters).contains(hydro));
    QVERIFY(texts(clusters).size() >= 1);
    w.press(kMatch, "restoreIgnored");
    QTRY_VERIFY(texts(clusters).contains(hydro));
}

void ActionsTest::cleanMovesEveryReadyFileAfterConfirmation() {
    SampleWindow w;
    w.openSamples();
    QStringList ready;
    for (const auto& c : *w.model.snapshot()->classifications)
        if (c.state == ConfidenceState::ready) ready << QString::fromStdString(c.file.filename());
    QVERIFY(!ready.isEmpty());
    // The Overview counts them and previews each with where it will go.
    QCOMPARE(w.window.findChild<QLabel*>("readyCount")->text().toInt(), ready.size());
    auto* preview = w.window.findChild<QListWidget*>("cleanPreview");
    QCOMPARE(preview->count(), ready.size());
    for (int i = 0; i < preview->count(); ++i)
        QVERIFY2(ready.contains(preview->item(i)->text().section("  →  ", 0, 0)), qPrintable(preview->item(i)->text()));

    acceptNextMessageBox();
    w.window.findChild<QPushButton*>("cleanButton")->click();
    QVERIFY(settle(w.model));
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
    for (const QString& name : ready) {
        QVERIFY(!fs::exists(w.inbox / name.toStdString()));
        bool placed = false;
        for (const auto& entry : fs::recursive_directory_iterator(w.home))
            placed = placed || entry.path().filename() == name.toStdString();
        QVERIFY2(placed, qPrintable(name));
    }
    auto* history = w.find<QTableWidget>(kHistory, "historyTable");
    QCOMPARE(history->rowCount(), 1);
    QCOMPARE(history->item(0, 2)->text(), QString::number(ready.size()));
    QCOMPARE(preview->item(0)->text(), QString(text::kCleanNothing));
}

void ActionsTest::namingDetailAndResetLearning() {
    SampleWindow w;
    w.openSamples();
    auto* settings = static_cast<SettingsPage*>(w.window.page(kSettings));
    settings->findChild<QLineEdit*>("namingDetail")->setText("  Ban in ");
    auto* preset = settings->findChild<QComboBox*>("usagePreset");
    preset->setCurrentIndex(preset->findData(static_cast<int>(UsagePreset::personal)));
    settings->findChild<QPushButton*>("saveSettings")->click();
    QVERIFY(settle(w.model));
    QCOMPARE(w.model.snapshot()->state->settings.namingDetail, std::optional<std::string>("Ban in"));
    QCOMPARE(w.model.snapshot()->state->settings.usagePreset, std::optional(UsagePreset::personal));

    w.selectFiles({"lotus price list.pdf"});
    w.press(kMatch, "confirmButton");
    QVERIFY(!w.model.snapshot()->state->learning.feedback.empty());
    acceptNextMessageBox();
    settings->findChild<QPushButton*>("resetLearning")->click();
    QVERIFY(settle(w.model));
    QVERIFY(w.model.snapshot()->state->learning.feedback.empty());
    QVERIFY(w.model.snapshot()->state->learning.associations.empty());
}

// The inbox moves away; Settings' "reconnect" asks for the folder with the chooser's
// title and explanation and points the same grant at the new place.
void ActionsTest::reconnectFindsAMovedInboxAgain() {
    SampleWindow w;
    w.openSamples();
    const fs::path moved = w.root / "Moved Downloads";
    fs::rename(w.inbox, moved);
    w.model.submit("scan", EngineActions::scan());
    QVERIFY(settle(w.model));
    QCOMPARE(w.files()->model()->rowCount(), 0);

    auto* grants = w.find<QTableWidget>(kSettings, "grantsTable");
    for (int row = 0; row < grants->rowCount(); ++row)
        if (grants->item(row, 1)->text() == QString::fromStdString(w.inbox.string())) grants->selectRow(row);
    QString title, explanation;
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [&, timer] {
        auto* chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!chooser) return;
        title = chooser->windowTitle();
        if (auto* note = chooser->findChild<QLabel*>("chooserExplanation")) explanation = note->text();
        // Typed in as a user would: selecting waits for the dialog's folder listing.
        if (auto* typed = chooser->findChild<QLineEdit*>("fileNameEdit"))
            typed->setText(QString::fromStdString(moved.string()));
        QMetaObject::invokeMethod(chooser, "accept");
        timer->deleteLater();
    });
    timer->start(10);
    w.press(kSettings, "reconnectGrant");
    QCOMPARE(title, QString("Theo dõi thư mục"));
    QCOMPARE(explanation, QString("Kelo chỉ truy cập thư mục bạn chọn. Hãy dùng thư mục mẫu để thử trước."));
    QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
    QCOMPARE(w.files()->model()->rowCount(), 13);
    QCOMPARE(w.model.snapshot()->state->grants.size(), std::size_t(2));
}

// Files dropped from the file manager are selected on Match (or refused in one
// sentence); a row dragged onto a project in the list beside the table is sorted
// through the sort command, and Ctrl+Z undoes that batch.
void ActionsTest::filesDroppedAreSelectedAndRowsDroppedOnAProjectSortedThenCtrlZ() {
    SampleWindow w;
    w.openSamples();
    w.window.show();
    const fs::path file = w.inbox / "lotus price list.pdf";
    w.window.openFiles({QString::fromStdString(file.string()), QString::fromStdString((w.root / "x.pdf").string())});
    QTableView* table = w.files();
    QCOMPARE(table->selectionModel()->selectedRows().size(), 1);
    QCOMPARE(w.bar(), QString(text::kDroppedOutsideInbox).arg("x.pdf"));

    auto* list = w.find<ProjectDropList>(kMatch, "projectDropList");
    const auto targets = list->findItems("Bamboo Books", Qt::MatchExactly);
    QCOMPARE(targets.size(), 1);
    QVERIFY(QTest::qWaitForWindowExposed(&w.window));
    std::unique_ptr<QMimeData> dragged(table->model()->mimeData(table->selectionModel()->selectedIndexes()));
    const QPoint onProject = list->visualItemRect(targets.front()).center();
    QDragEnterEvent enter(onProject, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list->viewport(), &enter);
    QDragMoveEvent move(onProject, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list->viewport(), &move);
    QDropEvent drop(onProject, Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(list->viewport(), &drop);
    QVERIFY(drop.isAccepted());
    QVERIFY(settle(w.model));
    QVERIFY(fs::exists(w.home / "Bamboo Books/Reference/lotus price list.pdf"));

    w.window.undoLatest();
    QVERIFY(settle(w.model));
    QVERIFY(fs::exists(file));
}

int main(int argc, char** argv) {
    return kelo::gui::runIsolated<ActionsTest>(argc, argv);
}

#include "actions_test.moc"
