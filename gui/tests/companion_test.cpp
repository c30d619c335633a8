// The mascot and the companion: moods read from hand-made snapshots, the blink
// schedule and poses, every pose drawn offscreen with Qt warnings treated as
// failures, the animation timer while shown and hidden, the Ready notification rule,
// and the panel against a real engine (a drop from outside the inbox is refused, a
// new file dropped in the inbox is found, sorted and undone).
#include <QImage>
#include <QPainter>
#include <QSettings>
#include <chrono>

#include "gui/companion/companion_choices.h"
#include "gui/companion/companion_panel.h"
#include "gui/companion/companion_texts.h"
#include "gui/companion/mascot_mood.h"
#include "gui/companion/mascot_painter.h"
#include "gui/companion/mascot_widget.h"
#include "gui/companion/ready_notice.h"
#include "gui/tests/sample_window.h"
#include "support/engine_fixture.h"

using kelo::testing::makeOlder;
using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

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

class CompanionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

KELO_ISOLATED_TEST_MAIN(CompanionTest)

#include "companion_test.moc"
