// ThumbnailCache: small pictures of image and design files for the desktop app.
// It decodes on a thread pool of its own, never on the main thread, runs at most
// one job per file state at a time, and keeps the most recently used thumbnails up
// to a fixed count. Entries are keyed by the file's fingerprint, so a file that is
// renamed, rewritten or touched is decoded again.
//
// Main thread only. The workers call nothing but the core thumbnailer and hand
// their result back through a queued call; the cache waits for them when it goes.
#pragma once

#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QString>
#include <QThreadPool>
#include <list>

#include "model/file_record.h"

namespace kelo::gui {

class ThumbnailCache : public QObject {
    Q_OBJECT

public:
    // Thumbnails fit in `maxEdge` by `maxEdge` pixels; at most `capacity` are kept.
    explicit ThumbnailCache(int maxEdge, int capacity = 600, QObject* parent = nullptr);
    ~ThumbnailCache() override;

    // Whether `file` is a kind we make thumbnails of, judged from its name.
    static bool wants(const FileRecord& file);

    // The thumbnail of `file` as it is now, when one is cached. Otherwise a null
    // image, and a decode starts unless one is already running or the file is not a
    // kind we make thumbnails of; ready() follows.
    QImage request(const FileRecord& file);
    // The cached thumbnail of `file`, or a null image; never starts a decode.
    QImage lookup(const FileRecord& file) const;

    int cached() const { return static_cast<int>(entries_.size()); }
    int inFlight() const { return static_cast<int>(running_.size()); }
    // The recency list and the entries name the same fingerprints, within capacity.
    bool isConsistent() const;

Q_SIGNALS:
    // A decode finished; `image` is null when the file could not be decoded (it is
    // remembered as such, and not tried again while it stays the same).
    void ready(const QString& fingerprint, const QImage& image);

private:
    struct Entry {
        QImage image;
        std::list<QString>::iterator age;
    };
    void finished(const QString& fingerprint, const QImage& image);

    const int maxEdge_;
    const int capacity_;
    QHash<QString, Entry> entries_;
    std::list<QString> ages_;  // most recently used first
    QSet<QString> running_;
    QThreadPool pool_;
};

}  // namespace kelo::gui
