// The Match page's thumbnail cache: a request never decodes on the main thread,
// the picture arrives by signal at the right size, a second request is served
// from memory, and a changed or evicted file is decoded again.
#include "gui/thumbnail_cache.h"

#include <QSignalSpy>
#include <QtTest>
#include <map>

#include "support/temp_dir.h"

using kelo::testing::TempDir;
using namespace kelo;
using namespace kelo::gui;

namespace {

constexpr int kEdge = 48;

// Writes a `width` by `height` PNG and describes it the way a scan would.
FileRecord picture(const std::filesystem::path& path, int width, int height, std::uint64_t inode = 1) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    if (!image.save(QString::fromStdString(path.string()), "PNG")) throw std::runtime_error("cannot write PNG");
    FileRecord file;
    file.url = path;
    file.sourceFolder = path.parent_path();
    file.identity = {1, inode, std::filesystem::file_size(path), {}};
    return file;
}

// Waits for the next ready() and returns its arguments.
std::pair<QString, QImage> nextReady(QSignalSpy& spy) {
    if (spy.isEmpty() && !spy.wait(10000)) return {};
    const QList<QVariant> args = spy.takeFirst();
    return {args.at(0).toString(), args.at(1).value<QImage>()};
}

}  // namespace

class ThumbnailCacheTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesOffTheMainThreadThenServesFromMemoryUntilTheFileChanges();
    void undecodableFilesAreRememberedAndOthersAreNotTried();
    void keepsOnlyTheMostRecentlyUsed();
};

void ThumbnailCacheTest::decodesOffTheMainThreadThenServesFromMemoryUntilTheFileChanges() {
    TempDir dir;
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

void ThumbnailCacheTest::undecodableFilesAreRememberedAndOthersAreNotTried() {
    TempDir dir;
    kelo::testing::writeFile(dir / "broken.png", "not a picture");
    kelo::testing::writeFile(dir / "notes.txt", "words");
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

void ThumbnailCacheTest::keepsOnlyTheMostRecentlyUsed() {
    TempDir dir;
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

QTEST_MAIN(ThumbnailCacheTest)
#include "thumbnail_cache_test.moc"
