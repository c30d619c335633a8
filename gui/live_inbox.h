// LiveInbox: keeps the Match page current without a rescan button. It watches the
// approved inboxes; after a change it waits for a short quiet period, then for the
// folder to settle (no browser partial download such as ".crdownload", ".part" or
// ".download" left, and no file whose size or time still changes between two
// looks), and only then asks the engine for a scan. A download is offered once it
// is finished, and a burst of changes costs one scan. Main thread only; `model`
// must outlive it.
#pragma once

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QTimer>
#include <chrono>

#include "gui/app_model.h"

namespace kelo::gui {

class LiveInbox : public QObject {
public:
    struct Timing {
        std::chrono::milliseconds quiet{600};   // after the last change, before looking
        std::chrono::milliseconds settle{700};  // between two looks while something is written
        int maximumLooks = 90;                  // then scan anyway (about a minute)
    };

    explicit LiveInbox(AppModel& model, QObject* parent = nullptr) : LiveInbox(model, Timing{}, parent) {}
    LiveInbox(AppModel& model, Timing timing, QObject* parent = nullptr);

    // Scans asked for so far, for tests.
    int scansRequested() const { return scans_; }
    // Looks that held the scan back (the first of a round, or one that saw a
    // download still going), for tests.
    int looksHeldBack() const { return heldBack_; }
    QStringList watchedFolders() const { return watcher_.directories(); }

    // True for names browsers give a download in progress.
    static bool isPartialDownload(const QString& name);

private:
    struct Seen {
        qint64 size;
        qint64 modified;
    };
    void follow();          // the approved inboxes of the latest snapshot
    void changed();         // a watched folder changed: wait for quiet
    void look();            // settled yet? then scan
    QHash<QString, Seen> listing() const;

    AppModel& model_;
    Timing timing_;
    QFileSystemWatcher watcher_;
    QTimer quiet_;
    QHash<QString, Seen> last_;  // what the previous look saw
    int looks_ = 0;
    int scans_ = 0;
    int heldBack_ = 0;
};

}  // namespace kelo::gui
