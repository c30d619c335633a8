#include "gui/live_inbox.h"

#include <QDir>
#include <QFileInfo>

#include "gui/presentation.h"

namespace kelo::gui {

LiveInbox::LiveInbox(AppModel& model, Timing timing, QObject* parent)
    : QObject(parent), model_(model), timing_(timing) {
    quiet_.setSingleShot(true);
    connect(&quiet_, &QTimer::timeout, this, [this] { look(); });
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, [this] { changed(); });
    connect(&model_, &AppModel::snapshotChanged, this, [this] { follow(); });
    follow();
}

bool LiveInbox::isPartialDownload(const QString& name) {
    for (const char* suffix : {".crdownload", ".part", ".partial", ".download", ".opdownload", ".tmp"})
        if (name.endsWith(QLatin1String(suffix), Qt::CaseInsensitive)) return true;
    return false;
}

void LiveInbox::follow() {
    QStringList folders;
    if (const SnapshotPtr& snapshot = model_.snapshot())
        for (const auto& grant : snapshot->state->grants)
            if (grant.role == FolderGrant::Role::watch) folders << qs(grant.displayPath);
    const QStringList watched = watcher_.directories();
    for (const QString& folder : watched)
        if (!folders.contains(folder)) watcher_.removePath(folder);
    for (const QString& folder : folders)
        if (!watched.contains(folder) && QFileInfo(folder).isDir()) watcher_.addPath(folder);
}

void LiveInbox::changed() {
    looks_ = 0;
    last_.clear();
    quiet_.start(timing_.quiet);
}

QHash<QString, LiveInbox::Seen> LiveInbox::listing() const {
    QHash<QString, Seen> seen;
    for (const QString& folder : watcher_.directories()) {
        const QFileInfoList entries = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
        for (const QFileInfo& entry : entries)
            seen.insert(entry.absoluteFilePath(), {entry.size(), entry.lastModified().toMSecsSinceEpoch()});
    }
    return seen;
}

void LiveInbox::look() {
    const QHash<QString, Seen> now = listing();
    bool writing = false;
    for (auto it = now.cbegin(); it != now.cend() && !writing; ++it) {
        if (isPartialDownload(QFileInfo(it.key()).fileName())) writing = true;
        const auto before = last_.constFind(it.key());
        if (looks_ > 0 && (before == last_.cend() || before->size != it->size || before->modified != it->modified))
            writing = true;
    }
    // The first look only records; a second, a settle period later, must see the same.
    if ((looks_ == 0 || writing) && ++looks_ < timing_.maximumLooks) {
        last_ = now;
        ++heldBack_;
        quiet_.start(timing_.settle);
        return;
    }
    looks_ = 0;
    last_.clear();
    if (!model_.canOperate()) return;
    ++scans_;
    model_.scan();
}

}  // namespace kelo::gui
