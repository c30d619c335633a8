// The window's actions, each through a real engine on real temporary folders: the
// sample folders the first run offers, sorting and undoing, a name conflict and
// "keep both", the learning buttons, rename and group, the Trash, the project
// actions, name suggestions and clusters, the one-click clean, and the settings
// that only the form can reach, and drag and drop with Ctrl+Z. Refusals must reach
// the message bar word for word. Then the desktop companion: moods read from
// hand-made snapshots, the blink schedule and poses, every pose drawn offscreen with
// Qt warnings treated as failures, the animation timer while shown and hidden, the
// Ready notification rule, and the panel against a real engine (a drop from outside
// the inbox is refused, a new file dropped in the inbox is found, sorted and undone).
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QFileDialog>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QTimer>
#include <chrono>

#include "gui/companion/companion_choices.h"
#include "gui/companion/companion_panel.h"
#include "gui/companion/companion_texts.h"
#include "gui/companion/mascot_mood.h"
#include "gui/companion/mascot_painter.h"
#include "gui/companion/mascot_widget.h"
#include "gui/companion/ready_notice.h"
#include "gui/match_model.h"
#include "gui/match_page.h"
#include "gui/project_drop_list.h"
#include "gui/projects_page.h"
#include "gui/rename_dialog.h"
#include "gui/settings_page.h"
#include "gui/tests/sample_window.h"
#include "support/engine_fixture.h"

using kelo::testing::makeOlder;
using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

using enum MatchModel::Column;

// Hands the next modal dialog of type T to `answer`, from inside its event loop.
template <typename T, typename Answer>
void answerNext(Answer answer) {
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [timer, answer] {
        if (auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget())) {
            answer(dialog);
            timer->deleteLater();
        }
    });
    timer->start(10);
}

// Answers the next message box with Ok or Yes.
void acceptNextMessageBox() {
    answerNext<QMessageBox>([](QMessageBox* box) {
        for (auto choice : {QMessageBox::Ok, QMessageBox::Yes})
            if (QAbstractButton* button = box->button(choice)) button->click();
    });
}

Classification classified(const char* path, ConfidenceState state) {
    Classification c;
    c.file.url = path;
    c.state = state;
    return c;
}

SnapshotPtr snapshotWith(std::vector<Classification> files, std::vector<std::string> issues = {},
                         std::optional<Snapshot::RunOutcome> run = std::nullopt) {
    auto snapshot = std::make_shared<Snapshot>();
    snapshot->state = std::make_shared<AppState>();
    snapshot->classifications = std::make_shared<std::vector<Classification>>(std::move(files));
    snapshot->issues = std::move(issues);
    snapshot->lastRun = run;
    return snapshot;
}

Classification scored(const char* path, ConfidenceState state, const Uuid& project, int score) {
    Classification c = classified(path, state);
    c.candidates = CandidateList({Candidate{project, score, {}}}, {}, std::make_shared<std::vector<Uuid>>(1, project));
    return c;
}

QStringList warnings;
void recordWarnings(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type != QtDebugMsg && type != QtInfoMsg) warnings << message;
}

QImage render(const MascotPose& pose, qreal scale) {
    QImage image(QSize(96, 96) * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintMascot(painter, QRectF(0, 0, 96, 96), pose);
    return image;
}

int paintedPixels(const QImage& image) {
    int painted = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) painted += qAlpha(image.pixel(x, y)) > 0;
    return painted;
}

}  // namespace

class ActionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The samples are made in a folder of their own, approved, and classified; the
    // Overview counts the Ready ones, previews where each will go, and cleans them.
    void sampleFoldersAreApprovedAndCleanMovesTheirReadyFilesAfterConfirmation() {
        SampleWindow w;
        w.openSamples();
        // Nothing outside the data directory, which holds the samples too.
        QCOMPARE(QDir(QString::fromStdString(w.root.path())).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList({"data"}));
        QCOMPARE(w.inbox.parent_path().parent_path(), w.root / "data/Sample folders");
        QCOMPARE(w.model.snapshot()->state->grants.size(), std::size_t(2));
        QVERIFY(!w.sampleMessages.empty());
        QCOMPARE(w.sampleMessages.front(), text::kSamplesCreated + w.inbox.parent_path().string());
        QVERIFY(w.sampleNoteShown);

        QCOMPARE(w.files()->model()->rowCount(), 13);
        const int post = w.row("Hydro Cafe social post 3.png");
        QCOMPARE(cell(w.files(), post, kProject), QString("Hydro Cafe"));
        QVERIFY(!cell(w.files(), post, kSignals).isEmpty());  // the reasons

        QStringList ready;
        for (const auto& c : *w.model.snapshot()->classifications)
            if (c.state == ConfidenceState::ready) ready << QString::fromStdString(c.file.filename());
        QVERIFY(!ready.isEmpty());
        QCOMPARE(w.window.findChild<QLabel*>("readyCount")->text().toInt(), ready.size());
        auto* preview = w.window.findChild<QListWidget*>("cleanPreview");
        QCOMPARE(preview->count(), ready.size());
        for (int i = 0; i < preview->count(); ++i)
            QVERIFY2(ready.contains(preview->item(i)->text().section("  →  ", 0, 0)),
                     qPrintable(preview->item(i)->text()));

        acceptNextMessageBox();
        w.press(w.window.findChild<QPushButton*>("cleanButton"));
        QCOMPARE(preview->item(0)->text(), QString(text::kCleanNothing));
    }

    // "Sort into" with a category and sub-folder reaches the engine; a name conflict
    // enables "keep both"; History lists the batch and its undo button puts it back, and
    // puts back what the Trash button sent away.
    void sortKeepBothAndTrashEachPutBackFromHistory() {
        SampleWindow w;
        w.openSamples();
        writeFile(w.home / "Lotus Spa/Reference/lotus price list.pdf", "the older list");
        w.selectFiles({"Hydro Cafe social post 3.png"});
        w.chooseProject("Hydro Cafe");
        auto* category = w.find<QComboBox>(kMatch, "categoryChoice");
        category->setCurrentIndex(category->findText("Export"));
        w.find<QLineEdit>(kMatch, "subfolder")->setText("Social");
        w.press(kMatch, "sortButton");
        QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
        const fs::path moved = w.home / "Hydro Cafe/Export/Social/Hydro Cafe social post 3.png";
        QVERIFY(fs::exists(moved));

        auto* history = w.find<QTableWidget>(kHistory, "historyTable");
        QCOMPARE(history->rowCount(), 1);
        QCOMPARE(history->item(0, 1)->text(), QString("Hydro Cafe social post 3.png"));
        QVERIFY(
            w.find<QLabel>(kHistory, "lastRun")->text().contains("1 completed, 0 skipped, 0 failed. 0 overwritten."));
        auto* undo = qobject_cast<QPushButton*>(history->cellWidget(0, 7));
        QVERIFY(undo && undo->isEnabled());
        w.press(undo);
        QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
        QVERIFY(!fs::exists(moved));

        auto* keepBoth = w.find(kMatch, "keepBoth");
        QVERIFY(!keepBoth->isEnabled());
        w.selectFiles({"lotus price list.pdf"});
        // "Sort into" follows the suggestion for the chosen file.
        QCOMPARE(w.find<QComboBox>(kMatch, "projectChoice")->currentText(), QString("Lotus Spa"));
        category->setCurrentIndex(category->findText("Reference"));
        w.find<QLineEdit>(kMatch, "subfolder")->clear();
        w.press(kMatch, "sortButton");
        QVERIFY2(w.bar().contains("Name conflict: "), qPrintable(w.bar()));
        QVERIFY(keepBoth->isEnabled());
        w.press(keepBoth);
        QVERIFY(fs::exists(w.home / "Lotus Spa/Reference/lotus price list 2.pdf"));
        QVERIFY(!keepBoth->isEnabled());

        auto* undoTrash = w.find(kHistory, "undoTrash");
        QVERIFY(undoTrash->isHidden());
        w.selectFiles({"IMG_2024_0815.jpg"});
        w.press(kMatch, "trashButton");
        const fs::path trashed =
            fs::path(qEnvironmentVariable("XDG_DATA_HOME").toStdString()) / "Trash/files/IMG_2024_0815.jpg";
        QVERIFY(fs::exists(trashed));
        QVERIFY(!undoTrash->isHidden() && undoTrash->isEnabled());

        w.press(undoTrash);
        QVERIFY(fs::exists(w.inbox / "IMG_2024_0815.jpg"));
        QVERIFY(undoTrash->isHidden());
    }

    // The learning buttons on Match, name suggestions, clusters and "reset learning" in
    // Settings reach the engine.
    void confirmRejectLeaveAloneSuggestionsClustersAndRestore() {
        SampleWindow w;
        w.openSamples();
        w.selectFiles({"lotus price list.pdf"});
        w.press(kMatch, "confirmButton");
        QCOMPARE(cell(w.files(), w.row("lotus price list.pdf"), kState), QString("Ready"));

        w.selectFiles({"hydro lotus collab.psd"});
        w.press(kMatch, "rejectButton");
        const auto& feedback = w.model.snapshot()->state->learning.feedback;
        QVERIFY(!feedback.empty() && feedback.back().filename == "hydro lotus collab.psd" && feedback.back().rejected);

        auto* restore = w.find(kMatch, "restoreIgnored");
        QVERIFY(!restore->isEnabled());
        w.selectFiles({"scan0001.pdf"});
        w.press(kMatch, "leaveAloneButton");
        QVERIFY(cell(w.files(), w.row("scan0001.pdf"), kState).endsWith(text::kIgnoredMark));
        QVERIFY(restore->isEnabled());
        w.press(restore);
        QVERIFY(!cell(w.files(), w.row("scan0001.pdf"), kState).endsWith(text::kIgnoredMark));
        QVERIFY(!restore->isEnabled());

        // Name suggestions on Projects, and clusters on Match ignored and restored.
        auto* suggestions = w.find<QListWidget>(kProjects, "nameSuggestions");
        auto pick = [&](QListWidget* list, const QString& start) {
            for (int i = 0; i < list->count(); ++i)
                if (list->item(i)->text().startsWith(start)) list->setCurrentRow(i);
        };
        QCOMPARE(itemTexts(suggestions), QStringList({"Mango (3 tệp)", "Tea (3 tệp)"}));
        pick(suggestions, "Tea");
        w.press(kProjects, "deferSuggestion");
        QCOMPARE(itemTexts(suggestions), QStringList({"Mango (3 tệp)"}));
        pick(suggestions, "Mango");
        w.press(kProjects, "acceptSuggestion");
        QVERIFY(column(w.projects(), 0).contains("Mango"));
        QCOMPARE(itemTexts(suggestions), QStringList({text::kNoNameSuggestions}));

        auto* clusters = w.find<QListWidget>(kMatch, "clusterList");
        auto* ignore = w.find(kMatch, "ignoreCluster");
        const QString hydro =
            "hydro — 3 tệp: Hydro Cafe social post 3.png, Hydro Cafe social post 4.png, "
            "hydro lotus collab.psd";
        // Clusters are found off the main thread; the list fills in when they are ready.
        QTRY_VERIFY(itemTexts(clusters).contains(hydro));
        QVERIFY(!ignore->isEnabled());
        pick(clusters, "hydro");
        QVERIFY(ignore->isEnabled());
        w.press(ignore);
        QTRY_VERIFY(!itemTexts(clusters).contains(hydro));
        w.press(kMatch, "restoreIgnored");
        QTRY_VERIFY(itemTexts(clusters).contains(hydro));

        acceptNextMessageBox();
        w.press(kSettings, "resetLearning");
        QVERIFY(w.model.snapshot()->state->learning.feedback.empty());
    }

    void renameComposesTheReviewedNameAndGroupingGoesIntoAProject() {
        const QString refused = "Nhập đủ Job, mục đích và chi tiết; không dùng dấu chấm hoặc ký tự đường dẫn.";
        {
            // The dialog shows the name the parts make, or the rule's refusal.
            RenameDialog dialog("Untitled-1.ai", {"Hydro", "Logo", ""});
            auto* ok = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
            QCOMPARE(dialog.preview(), refused);
            QVERIFY(!ok->isEnabled());
            dialog.findChild<QLineEdit*>("renameDetail")->setText("Final");
            QCOMPARE(dialog.preview(), QString("Tên mới: Hydro-Logo-Final.ai"));
            QVERIFY(ok->isEnabled());
        }
        SampleWindow w;
        w.openSamples();
        auto* page = static_cast<MatchPage*>(w.window.page(kMatch));
        w.selectFiles({"Untitled-1.ai"});
        w.act([&] { page->renameSelected({" Hydro ", "Logo", "Final"}); });
        QVERIFY(fs::exists(w.inbox / "Hydro-Logo-Final.ai"));

        // A part the naming rule refuses: the rule's own words, and nothing renamed.
        w.selectFiles({"scan0001.pdf"});
        w.act([&] { page->renameSelected({"Hydro", "menu.v2", "Final"}); });
        QCOMPARE(w.bar(), refused);

        // Grouped into a project, they go into a new folder inside it.
        QString lotus;
        for (const auto& project : w.model.snapshot()->state->projects)
            if (project.name == "Lotus Spa") lotus = QString::fromStdString(project.id.text());
        w.selectFiles({"mango tea label 1.ai", "mango tea label 2.ai"});
        w.act([&] { page->groupSelected("Mango", lotus); });
        QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
        QVERIFY(fs::exists(w.home / "Lotus Spa/Working/Mango/mango tea label 2.ai"));
    }

    void projectArchiveReopenAliasesNewProjectAndTrash() {
        SampleWindow w;
        w.openSamples();
        auto* page = static_cast<ProjectsPage*>(w.window.page(kProjects));
        auto columnOf = [&](const QString& name, int col) {
            return w.projects()->item(column(w.projects(), 0).indexOf(name), col)->text();
        };
        w.selectProject("Lotus Spa");
        auto* archive = w.find(kProjects, "archiveProject");
        auto* reopen = w.find(kProjects, "reopenProject");
        QVERIFY(archive->isEnabled() && !reopen->isEnabled());
        w.press(archive);
        QCOMPARE(columnOf("Lotus Spa", 1), QString("Đã lưu trữ"));
        QVERIFY(reopen->isEnabled() && !archive->isEnabled());
        w.press(reopen);
        QCOMPARE(columnOf("Lotus Spa", 1), QString("Đang làm"));

        w.act([&] { page->addAlias("LS"); });
        QCOMPARE(columnOf("Lotus Spa", 3), QString("lotus, LS"));
        QVERIFY(w.find(kProjects, "removeAlias")->isEnabled());
        w.act([&] { page->removeAlias("lotus"); });
        QCOMPARE(columnOf("Lotus Spa", 3), QString("LS"));

        w.act([&] { page->newProject("Mango Tea"); });
        QVERIFY(column(w.projects(), 0).contains("Mango Tea"));

        w.selectProject("Bamboo Books");
        acceptNextMessageBox();
        w.press(kProjects, "trashProject");
        QVERIFY2(w.model.refusal().isEmpty(), qPrintable(w.model.refusal()));
        QVERIFY(!fs::exists(w.home / "Bamboo Books"));
        QVERIFY(!column(w.projects(), 0).contains("Bamboo Books"));
    }

    // The inbox moves away; Settings' "reconnect" asks for the folder with the chooser's
    // title and explanation and points the same grant at the new place.
    void reconnectFindsAMovedInboxAgain() {
        SampleWindow w;
        w.openSamples();
        const fs::path moved = w.root / "Moved Downloads";
        fs::rename(w.inbox, moved);
        w.model.submit("scan", EngineActions::scan());
        QVERIFY(settle(w.model));
        QCOMPARE(w.files()->model()->rowCount(), 0);

        auto* grants = w.find<QTableWidget>(kSettings, "grantsTable");
        grants->selectRow(column(grants, 1).indexOf(QString::fromStdString(w.inbox.string())));
        QString title, explanation;
        answerNext<QFileDialog>([&](QFileDialog* chooser) {
            title = chooser->windowTitle();
            if (auto* note = chooser->findChild<QLabel*>("chooserExplanation")) explanation = note->text();
            // Typed in as a user would: selecting waits for the dialog's folder listing.
            if (auto* typed = chooser->findChild<QLineEdit*>("fileNameEdit"))
                typed->setText(QString::fromStdString(moved.string()));
            QMetaObject::invokeMethod(chooser, "accept");
        });
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
    void filesDroppedAreSelectedAndRowsDroppedOnAProjectSortedThenCtrlZ() {
        SampleWindow w;
        w.openSamples();
        w.window.show();
        const fs::path file = w.inbox / "lotus price list.pdf";
        w.window.openFiles(
            {QString::fromStdString(file.string()), QString::fromStdString((w.root / "x.pdf").string())});
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

    void moodFollowsTheSnapshots() {
        MoodTracker mood;
        const auto quiet = snapshotWith({classified("/in/a.pdf", ConfidenceState::noIdea)});
        QCOMPARE(mood.update(quiet, false, 0), Mood::idle);
        QCOMPARE(mood.update(quiet, true, 1), Mood::busy);
        // A batch that moved files without failure: happy for a while, once.
        const auto done = snapshotWith({}, {}, Snapshot::RunOutcome{2, 0, 0});
        QCOMPARE(mood.update(done, false, 2), Mood::happy);
        QCOMPARE(mood.update(done, false, 2 + MoodTracker::kHappyFor - 0.1), Mood::happy);
        QCOMPARE(mood.update(done, false, 2 + MoodTracker::kHappyFor + 0.1), Mood::idle);
        // Nothing happening and nothing to sort: asleep; a new snapshot wakes it.
        QCOMPARE(mood.update(done, false, 2 + MoodTracker::kAsleepAfter + 1), Mood::asleep);
        QCOMPARE(mood.update(quiet, false, 2 + MoodTracker::kAsleepAfter + 2), Mood::idle);
        // With a file waiting it stays awake however long it waits.
        const auto waiting = snapshotWith({classified("/in/b.pdf", ConfidenceState::probably)});
        QCOMPARE(mood.update(waiting, false, 10000), Mood::idle);
        QCOMPARE(mood.update(waiting, false, 10000 + 2 * MoodTracker::kAsleepAfter), Mood::idle);
        // Issues and failed batches concern it; busy still wins; a failed batch is no joy.
        QCOMPARE(mood.update(snapshotWith({}, {"Folder unavailable: /in"}), false, 20000), Mood::concerned);
        QCOMPARE(mood.update(snapshotWith({}, {}, Snapshot::RunOutcome{3, 0, 1}), false, 20001), Mood::concerned);
        QCOMPARE(mood.update(snapshotWith({}, {"x"}), true, 20002), Mood::busy);
        QCOMPARE(mood.update(snapshotWith({}), false, 20003), Mood::idle);
    }

    void suggestionPrefersReadyThenScoreAndPassesOverWhatItMayNotOffer() {
        const Uuid acme = Uuid::random();
        auto snapshot = std::const_pointer_cast<Snapshot>(
            snapshotWith({scored("/in/probably.psd", ConfidenceState::probably, acme, 75),
                          scored("/in/ready-low.psd", ConfidenceState::ready, acme, 82),
                          scored("/in/ready-high.psd", ConfidenceState::ready, acme, 95),
                          scored("/in/left-alone.psd", ConfidenceState::ready, acme, 99),
                          scored("/in/no-idea.psd", ConfidenceState::noIdea, acme, 20)}));
        auto state = std::make_shared<AppState>();
        state->ignored.insert((*snapshot->classifications)[3].file.fingerprint());
        FolderGrant inbox;
        inbox.role = FolderGrant::Role::watch;
        inbox.displayPath = "/in";
        state->grants.push_back(inbox);
        snapshot->state = state;
        auto next = [&](std::set<std::string> skipped) {
            const auto s = topSuggestion(*snapshot, skipped);
            return s ? QString::fromStdString(s->file.string()) : QString();
        };
        QCOMPARE(next({}), QString("/in/ready-high.psd"));
        QCOMPARE(next({(*snapshot->classifications)[2].file.fingerprint()}), QString("/in/ready-low.psd"));
        QCOMPARE(next({(*snapshot->classifications)[2].file.fingerprint(),
                       (*snapshot->classifications)[1].file.fingerprint()}),
                 QString("/in/probably.psd"));

        // A drop is judged by where the file lies, not by its name.
        QCOMPARE(judgeDrop(*snapshot, "/in/probably.psd").verdict, DropVerdict::offered);
        QCOMPARE(judgeDrop(*snapshot, "/in/sub/probably.psd").verdict, DropVerdict::notInInbox);
        QCOMPARE(judgeDrop(*snapshot, "/elsewhere/ready-high.psd").verdict, DropVerdict::notInInbox);
        QCOMPARE(judgeDrop(*snapshot, "/in/new.psd").verdict, DropVerdict::notListed);
        QCOMPARE(judgeDrop(*snapshot, "/in/no-idea.psd").verdict, DropVerdict::noProject);
        QCOMPARE(judgeDrop(*snapshot, "/in/left-alone.psd").verdict, DropVerdict::offered);
    }

    void blinksAreRandomButReplayableFromTheSeed() {
        BlinkSchedule a(42), b(42), c(43);
        std::vector<double> times;
        double t = 0;
        for (int i = 0; i < 50; ++i) {
            const double next = a.nextBlinkAfter(t);
            QVERIFY(next - t <= BlinkSchedule::kLongest + 1e-9);
            if (i > 0) QVERIFY(next - t >= BlinkSchedule::kShortest - 1e-9);
            QCOMPARE(b.nextBlinkAfter(t), next);
            times.push_back(next);
            t = next;
        }
        QVERIFY(c.nextBlinkAfter(0) != times.front() || c.nextBlinkAfter(times.front()) != times[1]);
        // Eyes shut in the middle of a blink, open between blinks, and going back in
        // time replays the same schedule.
        const double blink = times[10];
        QVERIFY(a.eyeOpenAt(blink + BlinkSchedule::kBlinkLength / 2) < 0.05);
        QCOMPARE(a.eyeOpenAt(blink + BlinkSchedule::kBlinkLength + 0.01), 1.0);
        QCOMPARE(a.eyeOpenAt(blink - 0.01), 1.0);
        QVERIFY(a.eyeOpenAt(times[0] + BlinkSchedule::kBlinkLength / 2) < 0.05);
    }

    void reduceMotionHoldsEveryMoodStill() {
        BlinkSchedule blinks(7);
        for (const auto& [mood, name] : kMoods) {
            const MascotPose still = poseFor(mood, 0.3, blinks, true);
            QCOMPARE(poseFor(mood, 17.9, blinks, true), still);
            bool moves = false;
            for (double t = 0; t < 4 && !moves; t += 0.37) moves = !(poseFor(mood, t, blinks, false) == still);
            QVERIFY2(moves, name.data());
        }
        QCOMPARE(poseFor(Mood::asleep, 0, blinks, true).eyeOpen, 0.0);
    }

    void everyPoseDrawsWithoutWarnings() {
        warnings.clear();
        const QtMessageHandler previous = qInstallMessageHandler(recordWarnings);
        BlinkSchedule blinks(3);
        std::vector<QImage> stills;
        for (const auto& [mood, name] : kMoods) {
            for (qreal scale : {1.0, 2.0}) {
                for (double t = 0; t < 3; t += 0.25) {
                    const QImage image = render(poseFor(mood, t, blinks, false), scale);
                    QVERIFY2(paintedPixels(image) > image.width() * image.height() / 5, name.data());
                }
            }
            stills.push_back(render(poseFor(mood, 0, blinks, true), 1));
        }
        qInstallMessageHandler(previous);
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join('\n')));
        for (std::size_t i = 0; i < stills.size(); ++i)
            for (std::size_t j = i + 1; j < stills.size(); ++j) QVERIFY(stills[i] != stills[j]);
    }

    void animationRunsOnlyWhileShownAndMoving() {
        QWidget window;
        auto* mascot = new MascotWidget(&window, 5);
        QVERIFY(!mascot->animating());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(mascot->animating());
        QVERIFY(QTest::qWaitFor([&] { return mascot->framesDrawn() > 2; }, 5000));
        window.showMinimized();
        QCoreApplication::processEvents();
        QVERIFY(!mascot->animating());
        window.showNormal();
        QVERIFY(mascot->animating());
        mascot->setReduceMotion(true);
        QVERIFY(!mascot->animating());
        mascot->setReduceMotion(false);
        window.hide();
        QVERIFY(!mascot->animating());
        const int frames = mascot->framesDrawn();
        mascot->setMood(Mood::happy);  // a change while hidden draws nothing either
        QCoreApplication::processEvents();
        QCOMPARE(mascot->framesDrawn(), frames);
    }

    void readyNewsIsToldWhileHiddenAtMostOnceAMinute() {
        ReadyNotice notice;
        const std::set<std::string> a{"a"}, ab{"a", "b"}, abc{"a", "b", "c"}, bc{"b", "c"};
        QCOMPARE(notice.observe(a, false, true, 0), std::nullopt);  // the window shows it
        QCOMPARE(notice.observe(ab, true, true, 1), std::optional<int>(1));
        QCOMPARE(notice.observe(abc, true, true, 30), std::nullopt);  // within the minute: held
        QCOMPARE(notice.dueAt(), std::optional<double>(61));
        QCOMPARE(notice.observe(abc, true, true, 61), std::optional<int>(1));
        QCOMPARE(notice.observe(abc, true, true, 200), std::nullopt);  // nothing new
        // Held news that is no longer Ready is dropped; switched off, nothing is told.
        QCOMPARE(notice.observe({"a", "b", "c", "d"}, true, true, 70), std::nullopt);
        QCOMPARE(notice.observe(bc, true, true, 100), std::nullopt);
        QCOMPARE(notice.observe(bc, true, true, 125), std::nullopt);
        QCOMPARE(notice.observe({"b", "c", "e"}, true, false, 400), std::nullopt);
        QCOMPARE(notice.dueAt(), std::nullopt);
    }

    void panelRefusesFilesOutsideTheInboxSortsADroppedOneAndComesBackWhereItWasLeft() {
        SampleWindow w;
        const fs::path root = w.root.path(), &inbox = w.inbox;
        AppModel& model = w.model;
        writeFile(w.home / "ACME/Working/old.psd", "psd");
        writeFile(inbox / "notes.txt", "n");
        writeFile(root / "Elsewhere/ACME-logo-v3.psd", "elsewhere");
        makeOlder(inbox / "notes.txt", std::chrono::hours(48));
        w.open();

        CompanionChoices::setPanelPosition(QPoint(123, 77));
        CompanionPanel panel(model);
        QObject::connect(&model, &AppModel::snapshotChanged, &panel,
                         [&] { panel.render(model.snapshot().get(), model.canOperate()); });
        panel.render(model.snapshot().get(), model.canOperate());
        panel.dropFile(root / "Elsewhere/ACME-logo-v3.psd");
        QCOMPARE(panel.note(), QString::fromUtf8(text::kDropNotInInbox));
        QVERIFY(fs::exists(root / "Elsewhere/ACME-logo-v3.psd"));

        // Saved into the inbox after the last scan: the drop looks again and offers it.
        writeFile(inbox / "ACME-logo-v2.psd", "logo");
        makeOlder(inbox / "ACME-logo-v2.psd", std::chrono::hours(48));
        w.act([&] { panel.dropFile(inbox / "ACME-logo-v2.psd"); });
        QVERIFY2(panel.shown().has_value(), qPrintable(panel.note()));
        QCOMPARE(panel.shown()->file, inbox / "ACME-logo-v2.psd");
        QVERIFY(panel.findChild<QLabel*>("companionSuggestion")->text().contains("ACME"));

        w.press(panel.findChild<QPushButton*>("companionSort"));
        QVERIFY(!fs::exists(inbox / "ACME-logo-v2.psd"));
        auto* undo = panel.findChild<QPushButton*>("companionUndo");
        QVERIFY(undo->isEnabled());
        w.press(undo);
        QVERIFY(fs::exists(inbox / "ACME-logo-v2.psd"));

        panel.show();
        QCOMPARE(panel.pos(), QPoint(123, 77));
        QTest::mousePress(&panel, Qt::LeftButton, {}, QPoint(20, 20));
        QTest::mouseMove(&panel, QPoint(60, 50));
        QTest::mouseRelease(&panel, Qt::LeftButton, {}, QPoint(60, 50));
        QVERIFY(panel.pos() != QPoint(123, 77));
        QCOMPARE(CompanionChoices::panelPosition(), std::optional<QPoint>(panel.pos()));
    }
};

KELO_ISOLATED_TEST_MAIN(ActionsTest)

#include "actions_test.moc"
