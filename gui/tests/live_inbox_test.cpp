// The live inbox against a real engine and real folders, with short timings: a file
// dropped into an inbox reaches the snapshot with no rescan asked for, a burst of
// files costs one scan, and a file still growing or still named as a partial
// download holds the scan back until it settles.
#include "gui/live_inbox.h"

#include <QFile>
#include <QTimer>
#include <QtTest>

#include "gui/tests/sample_window.h"
#include "support/temp_dir.h"

using kelo::testing::writeFile;
using namespace kelo;
using namespace kelo::gui;
namespace fs = std::filesystem;

namespace {

constexpr LiveInbox::Timing kFast{std::chrono::milliseconds(60), std::chrono::milliseconds(80), 1000};

bool offered(const SampleWindow& w, const std::string& name) {
    for (const auto& file : *w.model.snapshot()->files)
        if (file.filename() == name) return true;
    return false;
}

}  // namespace

class LiveInboxTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aDroppedFileAppearsWithoutARescan() {
        SampleWindow box;
        box.open();
        LiveInbox live(box.model, kFast);
        QCOMPARE(live.watchedFolders(), QStringList{QString::fromStdString(box.inbox.string())});
        for (int i = 0; i < 5; ++i) writeFile(box.inbox / ("brief " + std::to_string(i) + ".pdf"), "pdf");
        QTRY_VERIFY_WITH_TIMEOUT(offered(box, "brief 4.pdf"), 5000);
        QCOMPARE(live.scansRequested(), 1);
    }

    void aGrowingFileOrAPartialDownloadWaits() {
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

    void partialDownloadNames() {
        for (const char* name : {"a.crdownload", "b.PART", "c.download", "d.partial"})
            QVERIFY2(LiveInbox::isPartialDownload(name), name);
        for (const char* name : {"party.pdf", "download.zip", "a.psd"}) QVERIFY2(!LiveInbox::isPartialDownload(name), name);
    }
};

KELO_ISOLATED_TEST_MAIN(LiveInboxTest)

#include "live_inbox_test.moc"
