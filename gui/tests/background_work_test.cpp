// What the window leaves to other threads, against real files: the live inbox with a
// real engine and short timings, the Match page's thumbnail cache (never decoding on
// the main thread), and the rename dialog's text reading with the real Tesseract on
// pictures the test paints.
#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTimer>
#include <map>

#include "gui/live_inbox.h"
#include "gui/rename_dialog.h"
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
    for (const auto& file : *w.model.snapshot()->files)
        if (file.filename() == name) return true;
    return false;
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

class BackgroundWorkTest : public QObject {
    Q_OBJECT

    testing::TempDir dir;

private Q_SLOTS:
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

    void liveInboxKnowsPartialDownloadNames() {
        for (const char* name : {"a.crdownload", "b.PART", "c.download", "d.partial"})
            QVERIFY2(LiveInbox::isPartialDownload(name), name);
        for (const char* name : {"party.pdf", "download.zip", "a.psd"})
            QVERIFY2(!LiveInbox::isPartialDownload(name), name);
    }

    void thumbnailsDecodeOffTheMainThreadThenComeFromMemoryUntilTheFileChanges() {
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
    }

    void thumbnailsOfUndecodableFilesAreRememberedAndOthersAreNotTried() {
        writeFile(dir / "broken.png", "not a picture");
        writeFile(dir / "notes.txt", "words");
        FileRecord broken{dir / "broken.png", dir.path(), {1, 1, 13, {}}, {}, {}};
        FileRecord notes{dir / "notes.txt", dir.path(), {1, 2, 5, {}}, {}, {}};
        ThumbnailCache cache(kEdge);
        QSignalSpy spy(&cache, &ThumbnailCache::ready);

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

KELO_ISOLATED_TEST_MAIN(BackgroundWorkTest)

#include "background_work_test.moc"
