// MatchModel: the Match table's rows, one per inbox file of the current snapshot,
// with what each column shows computed when the view asks for it; MatchFilter sits
// between it and the view so every column sorts by value and the user can narrow
// the rows by name and by state.
//
// The model holds the snapshot it shows (snapshots are immutable, so the rows stay
// valid until the next one) and a small summary per row made once per snapshot, so
// that sorting 20,000 rows never rebuilds texts. Thumbnails come from a
// ThumbnailCache the page owns; the model only looks them up.
//
// Main thread only: MatchPage owns both and feeds them snapshots.
#pragma once

#include <QAbstractTableModel>
#include <QCache>
#include <QHash>
#include <QIcon>
#include <QSortFilterProxyModel>
#include <optional>
#include <vector>

#include "engine/snapshot.h"

namespace kelo::gui {

class ThumbnailCache;

class MatchModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { kFile, kState, kProject, kCategory, kScore, kSize, kModified, kSignals, kColumnCount };
    enum Role {
        kPathRole = Qt::UserRole,  // the file's full path, for commands
        kProjectRole,              // the leading project's id; empty when none scored
        kSortRole,                 // what the column sorts by: numbers for numbers
    };

    MatchModel(ThumbnailCache& thumbnails, QIcon fileIcon, QIcon placeholder, QObject* parent = nullptr);

    // Shows `snapshot`'s files; a snapshot whose files and state are the ones shown
    // already changes nothing.
    void show(const SnapshotPtr& snapshot);
    // The file on `row`, or null.
    const Classification* file(int row) const;
    // The page asked for `row`'s thumbnail: when it arrives, thumbnailReady repaints
    // the row. Only rows that asked are remembered, so a new snapshot of 20,000
    // files computes no fingerprints.
    void watchThumbnail(int row);
    void thumbnailReady(const QString& fingerprint);

    // Whether the row's name contains `folded` (see fold) and its state is `state`
    // (any state when empty).
    bool matches(int row, const QString& folded, const QString& state) const;
    // Lower case without accents, so "tra xanh" finds "Trà Xanh".
    static QString fold(const QString& text);

    // How many times data() was asked, for the scrolling benchmark.
    quint64 dataCalls() const { return dataCalls_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    // What sorting and the short columns need, made once per snapshot.
    struct Row {
        QString name;
        QString state;  // with the ignored mark
        QString project;
        QString projectId;
        const Project* projectRef = nullptr;  // in the snapshot's state
        int score = 0;
        bool hasTop = false;
    };
    QIcon thumbnail(const FileRecord& file) const;

    ThumbnailCache& thumbnails_;
    const QIcon fileIcon_;
    const QIcon placeholder_;
    SnapshotPtr snapshot_;
    std::vector<Row> rows_;
    mutable std::vector<std::optional<QString>> folded_;  // folded names, made when first filtered
    QHash<QString, int> rowOfFingerprint_;  // rows that asked for their thumbnail
    mutable QCache<QString, QIcon> icons_;  // decoded thumbnails as icons, by fingerprint
    mutable quint64 dataCalls_ = 0;
};

// The rows the user asked for, in the order they asked for.
class MatchFilter : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit MatchFilter(MatchModel& model, QObject* parent = nullptr);
    void setNameFilter(const QString& text);
    void setStateFilter(const QString& state);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    MatchModel& model_;
    QString name_;  // folded
    QString state_;
};

}  // namespace kelo::gui
