// The desktop app's wiring: snapshots reach the pages, refusals reach the user word
// for word, the window keeps running while the engine works, a failed start-up
// disables every action, and a second launch raises the first window. Then what the
// window leaves to other threads, against real files: the live inbox with a real
// engine and short timings, the Match page's thumbnail cache (never decoding on the
// main thread), and the rename dialog's text reading with the real Tesseract on
// pictures the test paints. Every engine runs on its own temporary data directory.
#include <QCheckBox>
#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QProgressBar>
#include <QRadioButton>
#include <QScopeGuard>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <algorithm>
#include <future>
#include <map>

#include "engine/persistent_data.h"
#include "gui/background_mode.h"
#include "gui/history_page.h"
#include "gui/live_inbox.h"
#include "gui/match_model.h"
#include "gui/onboarding_dialog.h"
#include "gui/progress_strip.h"
#include "gui/rename_dialog.h"
#include "gui/single_instance.h"
#include "gui/status_log.h"
#include "gui/tests/sample_window.h"
#include "gui/thumbnail_cache.h"

using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

constexpr LiveInbox::Timing kFast{std::chrono::milliseconds(60), std::chrono::milliseconds(80), 1000};
constexpr int kEdge = 48;

bool offered(const SampleWindow& w, const std::string& name) {
    return std::ranges::any_of(*w.model.snapshot()->files, [&](const auto& file) { return file.filename() == name; });
}

// Writes a `width` by `height` PNG and describes it the way a scan would.
FileRecord picture(const fs::path& path, int width, int height, std::uint64_t inode = 1) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    if (!image.save(QString::fromStdString(path.string()), "PNG")) throw std::runtime_error("cannot write PNG");
    FileRecord file;
    file.url = path;
    file.sourceFolder = path.parent_path();
    file.identity = {1, inode, fs::file_size(path), {}};
    return file;
}

// Waits for the next ready() and returns its arguments.
std::pair<QString, QImage> nextReady(QSignalSpy& spy) {
    if (spy.isEmpty() && !spy.wait(10000)) return {};
    const QList<QVariant> args = spy.takeFirst();
    return {args.at(0).toString(), args.at(1).value<QImage>()};
}

// Black lines on white, large enough for the reader at any sensible scale.
fs::path paint(const fs::path& path, const QStringList& lines) {
    QImage image(1200, 160 + 140 * lines.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(Qt::black);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 48, QFont::Bold));
    for (int i = 0; i < lines.size(); ++i) painter.drawText(80, 160 + 140 * i, lines[i]);
    painter.end();
    image.save(QString::fromStdString(path.string()));
    return path;
}

// Presses the button, sees the busy bar, and waits for the reading to end.
void read(RenameDialog& dialog, const fs::path& image) {
    FileRecord file;
    file.url = image;
    const OcrCommands::OcrRequest request{file, {Project::make("Hydro Cafe", "/p", {}, ProjectStatus::active, Date())}};
    dialog.offerTextReading(
        [request](const std::atomic<bool>& cancel) { return OcrCommands::readHints(request, &cancel); });
    auto* button = dialog.findChild<QPushButton*>("renameReadText");
    QVERIFY(button);
    button->click();
    QVERIFY(!button->isEnabled());
    QVERIFY(!dialog.findChild<QProgressBar*>("renameReading")->isHidden());
    QTRY_VERIFY_WITH_TIMEOUT(button->isEnabled(), 60000);
    QVERIFY(dialog.findChild<QProgressBar*>("renameReading")->isHidden());
}

}  // namespace

class GuiTest : public QObject {
    Q_OBJECT

    testing::TempDir dir;

private Q_SLOTS:
    void grantedFoldersFillEveryPage() {
        SampleWindow w;
        writeFile(w.inbox / "ACME-logo-final.psd", "psd");
        writeFile(w.inbox / "notes.txt", "text");
        writeFile(w.home / "ACME/Working/old.psd", "psd");
        fs::create_directories(w.home / "Bloom");
        w.open();
        QVERIFY(w.model.canOperate());

        auto* files = w.files();
        QCOMPARE(files->model()->rowCount(), 2);
        QVERIFY(w.row("notes.txt") >= 0);
        const int logo = w.row("ACME-logo-final.psd");
        QCOMPARE(cell(files, logo, MatchModel::kProject), QString("ACME"));
        QCOMPARE(cell(files, logo, MatchModel::kCategory), QString("Working"));

        QCOMPARE(sorted(column(w.projects(), 0)), QStringList({"ACME", "Bloom"}));
        QCOMPARE(column(w.projects(), 1), QStringList({"Đang làm", "Đang làm"}));

        auto* grants = w.find<QTableWidget>(kSettings, "grantsTable");
        const QString inbox = QString::fromStdString(w.inbox.string());
        QCOMPARE(grants->rowCount(), 2);
        QVERIFY(column(grants, 1).contains(inbox));
        int counted = 0;
        for (const char* count : {"readyCount", "probablyCount", "noIdeaCount"})
            counted += w.window.findChild<QLabel*>(count)->text().toInt();
        QCOMPARE(counted, 2);

        // Removing the inbox empties the file list; the project home stays.
        grants->selectRow(column(grants, 1).indexOf(inbox));
        w.press(kSettings, "removeGrant");
        QCOMPARE(files->model()->rowCount(), 0);
        QCOMPARE(grants->rowCount(), 1);
        QVERIFY(w.bar().startsWith("Removed folder "));
    }

    void matchSortsByValueAndFiltersByNameAndState() {
        SampleWindow w;
        writeFile(w.inbox / "Trà Xanh nhãn.ai", std::string(1000, 'a'));
        writeFile(w.inbox / "tra sua.png", std::string(5, 'b'));
        writeFile(w.inbox / "ACME-logo-final.psd", std::string(200, 'c'));
        fs::create_directories(w.home / "ACME");
        w.open();
        auto* files = w.files();
        QCOMPARE(files->model()->rowCount(), 3);

        // Sizes sort by bytes, not by their text ("1000 B" would come before "5 B").
        files->sortByColumn(MatchModel::kSize, Qt::AscendingOrder);
        QCOMPARE(column(files, MatchModel::kFile),
                 QStringList({"tra sua.png", "ACME-logo-final.psd", "Trà Xanh nhãn.ai"}));
        files->sortByColumn(MatchModel::kScore, Qt::DescendingOrder);
        QCOMPARE(cell(files, 0, MatchModel::kFile), QString("ACME-logo-final.psd"));

        // The name filter ignores accents and case; the state filter narrows further.
        auto* name = w.find<QLineEdit>(kMatch, "matchFilter");
        auto* state = w.find<QComboBox>(kMatch, "stateFilter");
        name->setText("TRA XANH");
        QCOMPARE(column(files, MatchModel::kFile), QStringList({"Trà Xanh nhãn.ai"}));
        name->setText("tra");
        QCOMPARE(files->model()->rowCount(), 2);
        QCOMPARE(w.find<QLabel>(kMatch, "matchShown")->text(), QString("2 / 3 tệp"));
        name->clear();
        state->setCurrentIndex(state->findData("No Idea"));
        QCOMPARE(files->model()->rowCount(), 2);
        QVERIFY(!column(files, MatchModel::kFile).contains("ACME-logo-final.psd"));

        // A selection made through the filter survives the next snapshot.
        files->selectRow(0);
        const QString chosen = cell(files, 0, MatchModel::kFile);
        w.model.scan();
        QVERIFY(settle(w.model));
        const auto rows = files->selectionModel()->selectedRows(MatchModel::kFile);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.front().data().toString(), chosen);
    }

    void statusLogNamesFilesAndKeepsTheLastMessages() {
        QCOMPARE(StatusLog::withFileNames(
                     "Moved /home/a/Sample folders/Downloads/brief v2.pdf to /home/a/Projects/Bloom/Reference."),
                 QString("Moved brief v2.pdf to Reference."));
        QCOMPARE(
            StatusLog::withFileNames("Created the project Mango at /p/Mango. Kelo never deletes folders: /x/y, ok"),
            QString("Created the project Mango at Mango. Kelo never deletes folders: y, ok"));
        QCOMPARE(StatusLog::withFileNames("50/50 and/or a/b stay"), QString("50/50 and/or a/b stay"));

        StatusLog log;
        auto* latest = log.findChild<QLabel*>("messageBar");
        for (int i = 0; i < StatusLog::kKept + 3; ++i) log.showMessages({QString("Renamed /in/file %1.png.").arg(i)});
        log.showRefusal("Left /in/x.ai where it is: Name conflict: /p/x.ai");
        QCOMPARE(latest->text(), QString("Left x.ai where it is: Name conflict: x.ai"));
        QCOMPARE(latest->toolTip(), QString("Left /in/x.ai where it is: Name conflict: /p/x.ai"));
        QCOMPARE(latest->property("refusal").toBool(), true);
        const auto& entries = log.entries();
        QCOMPARE(entries.size(), std::size_t(StatusLog::kKept));
        QVERIFY(entries.front().refusal);
        QCOMPARE(entries[1].text, QString("Renamed file 22.png."));  // newest first
        QVERIFY(!entries[1].refusal);
        log.showMessages({"Saved /a/x.png.", "Second.", "Third."});  // one line in view, the rest counted
        QCOMPARE(latest->text(), QString("Saved x.png.  (+2 dòng trong Nhật ký)"));
        QCOMPARE(log.entries().front().text, QString("Third."));
        log.findChild<QToolButton*>("closeMessage")->click();
        QVERIFY(log.isHidden());
        log.showMessages({});
        QVERIFY(latest->isHidden());
        QCOMPARE(log.entries().size(), std::size_t(StatusLog::kKept));  // the log keeps what was said
    }

    void progressStripWaitsHalfASecondAndCanStop() {
        QWidget host;
        auto* strip = new ProgressStrip(&host);
        host.show();
        auto* bar = strip->findChild<QProgressBar*>("busyIndicator");
        auto* stop = strip->findChild<QPushButton*>("progressStop");

        strip->begin("quick");
        strip->end();
        QTest::qWait(ProgressStrip::kDelayMs + 100);
        QVERIFY(strip->isHidden());  // work that ended at once never flashed

        std::stop_source source;
        strip->begin("slow", source);
        QVERIFY(strip->isHidden());
        QTRY_VERIFY(!strip->isHidden());
        QCOMPARE(bar->maximum(), 0);  // no counts yet: it runs back and forth
        strip->report(250, 1000);
        QCOMPARE(bar->value(), 250);
        QVERIFY(stop->isVisible() && stop->isEnabled());
        stop->click();
        QVERIFY(source.stop_requested());
        strip->end();
        QVERIFY(strip->isHidden());
    }

    // While the engine is held the window keeps delivering timers and shows the busy
    // strip after half a second; the queued answers then arrive in the order sent.
    void answersArriveInOrderAndTheWindowRunsWhileTheyArePending() {
        SampleWindow w;
        w.start();
        const SnapshotPtr before = w.model.snapshot();
        QStringList events;
        connect(&w.model, &AppModel::refused, [&](const QString& message) { events << "refused: " + message; });
        connect(&w.model, &AppModel::snapshotChanged, [&] { events << "snapshot"; });
        connect(&w.model, &AppModel::busyChanged, [&](bool busy) { events << (busy ? "busy" : "idle"); });

        // The first command is held on the engine thread so all three are queued before
        // any answer; the guard lets it go whatever happens, so a failing test never leaves
        // the engine waiting.
        std::promise<void> gate;
        auto open = qScopeGuard([&gate] { gate.set_value(); });
        w.model.submit("held", [waiter = gate.get_future().share()](Engine& engine) {
            waiter.wait();
            return engine.snapshot();
        });
        for (const Thresholds thresholds : {Thresholds{70, 70}, Thresholds{80, 60}}) {
            Settings settings;
            settings.thresholds = thresholds;
            w.model.updateSettings(settings);
        }

        auto* indicator = w.window.findChild<QProgressBar*>("busyIndicator");
        QVERIFY(indicator->isHidden());  // work that ends within half a second shows nothing
        QTRY_VERIFY(!indicator->isHidden());
        int ticks = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, [&] { ++ticks; });
        timer.start(5);
        QVERIFY(QTest::qWaitFor([&] { return ticks >= 5; }, 5000));
        QVERIFY(w.model.busy());
        QCOMPARE(w.model.snapshot(), before);

        open.dismiss();
        gate.set_value();
        QVERIFY(settle(w.model));
        QVERIFY(indicator->isHidden());
        const QString refusal = "refused: " + QString::fromUtf8(kInvalidThresholdsMessage);
        QCOMPARE(events, QStringList({"busy", "snapshot", refusal, "snapshot", "idle"}));
        QCOMPARE(w.model.snapshot()->state->settings.thresholds, (Thresholds{80, 60}));
        QVERIFY(w.model.refusal().isEmpty());
    }

    void closingHidesOrMinimisesAndLaunchAtLoginWritesTheAutostartEntry() {
        SampleWindow w;
        auto* option = w.find<QCheckBox>(kSettings, "hideWhenClosed");
        QVERIFY(option->isChecked());  // hiding is the default

        w.window.show();
        QVERIFY(w.window.close());
        QVERIFY(!w.window.isVisible());

        option->setChecked(false);
        QCOMPARE(QSettings().value("kelo_hide_dock_when_closed").toBool(), false);
        QVERIFY(!BackgroundMode::hideWhenClosed());
        w.window.show();
        QVERIFY(!w.window.close());  // refused: the w.window stays, minimised
        QVERIFY(w.window.isVisible());
        QVERIFY(w.window.windowState() & Qt::WindowMinimized);

        option->setChecked(true);
        QVERIFY(BackgroundMode::hideWhenClosed());

        auto* launch = w.find<QCheckBox>(kSettings, "launchAtLogin");
        const QString entry = qEnvironmentVariable("XDG_CONFIG_HOME") + "/autostart/kelo.desktop";
        QVERIFY(!launch->isChecked());

        launch->click();
        QVERIFY(launch->isChecked());
        QFile file(entry);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString content = file.readAll();
        QVERIFY(content.startsWith("[Desktop Entry]\n"));
        QVERIFY(content.contains("Exec=\"" + QCoreApplication::applicationFilePath() + "\"\n"));
        QVERIFY(!content.contains("Icon="));  // a build is not in the icon theme

        // An installed copy is started by its installed path, even when it was reached
        // through a link; any other copy by the path it runs from.
        QTemporaryDir prefix;
        QVERIFY(QDir(prefix.path()).mkpath("bin"));
        QVERIFY(QFile(prefix.filePath("bin/kelo-gui")).open(QIODevice::WriteOnly));
        QVERIFY(QFile::link(prefix.filePath("bin"), prefix.filePath("alias")));
        QCOMPARE(BackgroundMode::autostartProgram(prefix.filePath("alias/kelo-gui"), prefix.filePath("bin")),
                 prefix.filePath("bin/kelo-gui"));
        QCOMPARE(BackgroundMode::autostartProgram("/build/gui/kelo-gui", prefix.filePath("bin")),
                 "/build/gui/kelo-gui");

        launch->click();
        QVERIFY(!launch->isChecked());
        QVERIFY(!QFile::exists(entry));

        // When the entry cannot be written the box shows the truth, not the wish.
        const QString folder = qEnvironmentVariable("XDG_CONFIG_HOME") + "/autostart";
        QVERIFY(QDir(folder).removeRecursively());
        QVERIFY(QFile(folder).open(QIODevice::WriteOnly));  // a file where the folder would go
        launch->click();
        QVERIFY(!launch->isChecked());
        QVERIFY(!BackgroundMode::isLaunchAtLoginEnabled());
        QVERIFY(QFile::remove(folder));
    }

    void historyShowsFiftyBatchesAtATime() {
        std::vector<HistoryBatch> history;
        for (int i = 0; i < 120; ++i) {
            HistoryBatch batch;
            batch.id = Uuid::random();
            batch.date = Date::fromUnix(1700000000.0 - i * 60);
            batch.moved = i;
            batch.canUndo = i % 2 == 0;
            batch.indices = {0, 1, 2};
            batch.names = {"f" + std::to_string(i) + ".png"};
            history.push_back(batch);
        }
        Snapshot snapshot;
        snapshot.state = std::make_shared<AppState>();
        snapshot.history = std::make_shared<const HistoryList>(HistoryList::newestFirst(history));

        AppModel model;
        HistoryPage page(model);
        page.render(&snapshot, true);
        auto* table = page.findChild<QTableWidget*>("historyTable");
        auto* more = page.findChild<QPushButton*>("moreHistory");
        QCOMPARE(table->rowCount(), 50);
        QCOMPARE(more->text(), QString("Thêm 50 lượt (70)"));
        QVERIFY(!more->isHidden());
        QCOMPARE(table->item(0, 1)->text(), QString("f0.png và 2 tệp khác"));
        QCOMPARE(table->item(0, 2)->text(), QString("0"));  // newest first, as the engine ordered them
        QCOMPARE(table->item(49, 2)->text(), QString("49"));
        for (int row = 0; row < 4; ++row) QCOMPARE(table->cellWidget(row, 7) != nullptr, row % 2 == 0);

        more->click();
        QCOMPARE(table->rowCount(), 100);
        QCOMPARE(more->text(), QString("Thêm 50 lượt (20)"));
        more->click();
        QCOMPARE(table->rowCount(), 120);
        QVERIFY(more->isHidden());
        QCOMPARE(table->item(119, 2)->text(), QString("119"));
    }

    // The preset chosen on the first run is kept, and the dialog is not offered again
    // once it was finished. Then the Settings form: refused thresholds are shown word
    // for word and stay for the user to correct; a valid change clears the refusal.
    void firstRunKeepsThePresetAndRefusedSettingsAreShownVerbatim() {
        SampleWindow w;
        w.start();
        QVERIFY(OnboardingDialog::needed(*w.model.snapshot()));
        OnboardingDialog dialog(w.model);
        QVERIFY(dialog.findChild<QRadioButton*>("preset_design")->isChecked());  // the default
        dialog.findChild<QRadioButton*>("preset_study")->setChecked(true);
        w.press(dialog.findChild<QPushButton*>("startButton"));
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!OnboardingDialog::needed(*w.model.snapshot()));
        QCOMPARE(w.model.snapshot()->state->settings.usagePreset, std::optional(UsagePreset::study));

        auto* ready = w.find<QSpinBox>(kSettings, "readyThreshold");
        ready->setValue(70);
        w.find<QSpinBox>(kSettings, "probablyThreshold")->setValue(70);
        w.press(kSettings, "saveSettings");
        auto* bar = w.window.findChild<QLabel*>("messageBar");
        QCOMPARE(bar->text(), QString::fromUtf8(kInvalidThresholdsMessage));
        QVERIFY(!bar->isHidden());
        QCOMPARE(ready->value(), 70);

        ready->setValue(85);
        w.find<QCheckBox>(kSettings, "dryRun")->setChecked(false);
        w.find<QLineEdit>(kSettings, "displayName")->setText("  Lan   Anh ");
        w.find<QLineEdit>(kSettings, "namingDetail")->setText("  Ban in ");
        auto* preset = w.find<QComboBox>(kSettings, "usagePreset");
        preset->setCurrentIndex(preset->findData(static_cast<int>(UsagePreset::personal)));
        w.press(kSettings, "saveSettings");
        const Settings& saved = w.model.snapshot()->state->settings;
        QCOMPARE(saved.thresholds, (Thresholds{85, 70}));
        QVERIFY(!saved.dryRun);
        QCOMPARE(saved.displayName, std::optional<std::string>("Lan Anh"));
        QCOMPARE(saved.namingDetail, std::optional<std::string>("Ban in"));
        QCOMPARE(saved.usagePreset, std::optional(UsagePreset::personal));
        QVERIFY(w.model.refusal().isEmpty());
        QVERIFY(bar->isHidden());
    }

    void failedStartupShowsTheReasonAndDisablesActions() {
        SampleWindow w;
        writeFile(w.root / "data/state.json", "{ not json");
        w.model.start(w.root / "data");
        w.model.updateSettings(Settings{});  // sent while the engine is still starting
        QVERIFY(settle(w.model));

        QVERIFY(!w.model.canOperate());
        QVERIFY(w.model.startupFailure().startsWith(QString::fromUtf8(kStartupFailurePrefix)));
        QVERIFY(w.model.startupFailure().size() > static_cast<qsizetype>(kStartupFailurePrefix.size()));
        auto* banner = w.window.findChild<QLabel*>("startupBanner");
        QVERIFY(!banner->isHidden());
        QCOMPARE(banner->text(), w.model.startupFailure());
        QCOMPARE(w.model.refusal(), w.model.startupFailure());
        QVERIFY(w.model.snapshot() == nullptr);
        for (QPushButton* button : w.window.findChildren<QPushButton*>())
            if (button->objectName() != "moreHistory") QVERIFY2(!button->isEnabled(), qPrintable(button->text()));

        // A command sent anyway is refused with the same reason, not queued.
        w.model.scan();
        QVERIFY(!w.model.busy());
        QCOMPARE(w.model.refusal(), w.model.startupFailure());
    }

    void secondLaunchRaisesTheFirstWindow() {
        SampleWindow w;
        QVERIFY(!w.window.isVisible());
        const QString name = SingleInstance::serverNameFor(w.root / "data");
        QVERIFY(!SingleInstance::askRunningToShow(name, 200));  // nobody listens yet

        SingleInstance running(name, [&w] { w.window.showAndRaise(); });
        QVERIFY(running.listening());
        // The second launch blocks on its socket, so it runs on its own thread.
        auto second = std::async(std::launch::async, [name] { return SingleInstance::askRunningToShow(name); });
        QVERIFY(QTest::qWaitFor([&] { return second.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
                                10000));
        QVERIFY(second.get());
        QVERIFY(w.window.isVisible());
        QVERIFY(!w.window.isMinimized());
    }

    void liveInboxOffersADroppedFileWithoutARescan() {
        SampleWindow box;
        box.open();
        LiveInbox live(box.model, kFast);
        QCOMPARE(live.watchedFolders(), QStringList{QString::fromStdString(box.inbox.string())});
        for (int i = 0; i < 5; ++i) writeFile(box.inbox / ("brief " + std::to_string(i) + ".pdf"), "pdf");
        QTRY_VERIFY_WITH_TIMEOUT(offered(box, "brief 4.pdf"), 5000);
        QCOMPARE(live.scansRequested(), 1);
    }

    void liveInboxWaitsForAGrowingFileOrAPartialDownload() {
        for (const char* name : {"a.crdownload", "b.PART", "c.download", "d.partial"})
            QVERIFY2(LiveInbox::isPartialDownload(name), name);
        for (const char* name : {"party.pdf", "download.zip", "a.psd"})
            QVERIFY2(!LiveInbox::isPartialDownload(name), name);

        SampleWindow box;
        box.open();
        LiveInbox live(box.model, kFast);
        const fs::path partial = box.inbox / "poster.psd.crdownload";
        writeFile(partial, "part");
        // The download keeps growing for a while: no scan until it stops.
        QFile growing(QString::fromStdString((box.inbox / "export.mov").string()));
        QVERIFY(growing.open(QIODevice::WriteOnly));
        QTimer writer;
        int chunks = 0;
        connect(&writer, &QTimer::timeout, [&] {
            growing.write(QByteArray(1024, 'm'));
            growing.flush();
            if (++chunks == 12) writer.stop();
        });
        writer.start(40);
        // Several looks while it grows, none of them scanning.
        QTRY_VERIFY_WITH_TIMEOUT(live.looksHeldBack() >= 3, 5000);
        QCOMPARE(live.scansRequested(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!writer.isActive(), 5000);
        // Looks after the last write see it settled, but the partial download is still there.
        const int held = live.looksHeldBack();
        QTRY_VERIFY_WITH_TIMEOUT(live.looksHeldBack() >= held + 3, 5000);
        QCOMPARE(live.scansRequested(), 0);
        fs::rename(partial, box.inbox / "poster.psd");  // the browser finishes it
        QTRY_VERIFY_WITH_TIMEOUT(offered(box, "poster.psd"), 5000);
        QVERIFY(offered(box, "export.mov"));
        QCOMPARE(live.scansRequested(), 1);
    }

    void thumbnailsDecodeOffTheMainThreadThenComeFromMemoryUntilTheFileChangesAndFailuresAreRemembered() {
        const FileRecord wide = picture(dir / "wide.png", 400, 100, 1);
        const FileRecord tall = picture(dir / "tall.png", 100, 400, 2);
        ThumbnailCache cache(kEdge);
        QSignalSpy spy(&cache, &ThumbnailCache::ready);

        // Nothing decoded while we wait for the answer, and one job per file however
        // often it is asked for: both pictures arrive once each, at the right size.
        for (int i = 0; i < 5; ++i) QVERIFY(cache.request(wide).isNull());
        QVERIFY(cache.request(tall).isNull());
        QCOMPARE(cache.inFlight(), 2);
        QTRY_COMPARE(cache.cached(), 2);
        QCOMPARE(spy.count(), 2);
        std::map<QString, QSize> sizes;
        while (!spy.isEmpty()) {
            const auto [key, image] = nextReady(spy);
            sizes[key] = image.size();
        }
        QCOMPARE(sizes[QString::fromStdString(wide.fingerprint())], QSize(kEdge, kEdge / 4));
        QCOMPARE(sizes[QString::fromStdString(tall.fingerprint())], QSize(kEdge / 4, kEdge));

        const QImage again = cache.request(wide);
        QCOMPARE(again.size(), QSize(kEdge, kEdge / 4));
        QCOMPARE(again.pixelColor(5, 5), QColor(Qt::darkCyan));
        QCOMPARE(cache.inFlight(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(spy.count(), 0);  // a hit starts nothing and says nothing
        QVERIFY(cache.isConsistent());

        const FileRecord changed = picture(dir / "wide.png", 50, 200, 3);  // now tall
        QVERIFY(cache.request(changed).isNull());
        QCOMPARE(nextReady(spy).second.size(), QSize(kEdge / 4, kEdge));
        QCOMPARE(cache.request(changed).size(), QSize(kEdge / 4, kEdge));

        // A file that cannot be decoded is remembered; one that is no picture is not tried.
        writeFile(dir / "broken.png", "not a picture");
        writeFile(dir / "notes.txt", "words");
        FileRecord broken{dir / "broken.png", dir.path(), {1, 4, 13, {}}, {}, {}};
        FileRecord notes{dir / "notes.txt", dir.path(), {1, 5, 5, {}}, {}, {}};
        QVERIFY(!ThumbnailCache::wants(notes));
        QVERIFY(cache.request(notes).isNull());
        QCOMPARE(cache.inFlight(), 0);

        cache.request(broken);
        const auto [key, image] = nextReady(spy);
        QCOMPARE(key, QString::fromStdString(broken.fingerprint()));
        QVERIFY(image.isNull());
        QVERIFY(cache.request(broken).isNull());
        QCOMPARE(cache.inFlight(), 0);  // not tried again
    }

    void thumbnailsKeepOnlyTheMostRecentlyUsed() {
        const FileRecord a = picture(dir / "a.png", 60, 60, 1);
        const FileRecord b = picture(dir / "b.png", 60, 60, 2);
        const FileRecord c = picture(dir / "c.png", 60, 60, 3);
        ThumbnailCache cache(kEdge, 2);
        QSignalSpy spy(&cache, &ThumbnailCache::ready);
        for (const FileRecord* f : {&a, &b}) {
            cache.request(*f);
            QVERIFY(!nextReady(spy).second.isNull());
        }
        QVERIFY(!cache.request(a).isNull());  // a is now more recent than b
        cache.request(c);
        QVERIFY(!nextReady(spy).second.isNull());
        QCOMPARE(cache.cached(), 2);
        QVERIFY(cache.isConsistent());
        QVERIFY(!cache.request(a).isNull());
        QVERIFY(!cache.request(c).isNull());
        QVERIFY(cache.request(b).isNull());  // evicted, so decoded again
        QCOMPARE(cache.inFlight(), 1);
    }

    void readingTheTextFillsTheNameOrSaysThereIsNone() {
        {
            RenameDialog dialog("Untitled-1.png", {"", "", "Final"});
            read(dialog, paint(dir / "poster.png", {"HYDRO CAFE", "POST 15"}));
            QCOMPARE(dialog.readingOutcome(), QString("✨ local OCR phát hiện 'POST 15'."));
            QCOMPARE(dialog.findChild<QLineEdit*>("renameJob")->text(), QString("Hydro Cafe"));
            QCOMPARE(dialog.preview(), QString("Tên mới: Hydro Cafe-POST 15-Final.png"));
        }
        {
            RenameDialog dialog("blank.png", {"Hydro", "Logo", "Final"});
            read(dialog, paint(dir / "blank.png", {}));
            QCOMPARE(dialog.readingOutcome(), QString("Không thấy chữ nào trong ảnh."));
            QCOMPARE(dialog.findChild<QLineEdit*>("renameJob")->text(), QString("Hydro"));
        }
    }
};

KELO_ISOLATED_TEST_MAIN(GuiTest)

#include "gui_test.moc"
