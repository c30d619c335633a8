#include "gui/match_model.h"

#include <unordered_map>

#include <QDateTime>
#include <QLocale>

#include "engine/learning_commands.h"
#include "gui/presentation.h"
#include "gui/project_icons.h"
#include "gui/texts.h"
#include "gui/thumbnail_cache.h"
#include "model/json_codec.h"

namespace kelo::gui {

namespace {

// Thumbnails kept as ready-made icons; the cache's own images stay the bound.
constexpr int kIconsKept = 400;

// Sizes as a Vietnamese reader writes them: "8,5 MB", "512 B".
QString sizeText(std::uint64_t bytes) {
    static const QLocale vietnamese(QLocale::Vietnamese, QLocale::Vietnam);
    if (bytes < 1024) return QStringLiteral("%1 B").arg(bytes);
    const char* units[] = {"KB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes) / 1024.0;
    int unit = 0;
    for (; value >= 1024.0 && unit < 3; ++unit) value /= 1024.0;
    return vietnamese.toString(value, 'f', value < 10 ? 1 : 0) + QLatin1Char(' ') + QLatin1String(units[unit]);
}

QString shortDate(Date date) {
    const auto ms = static_cast<qint64>(date.sinceUnixEpoch() * 1000.0);
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("dd/MM/yy"));
}

}  // namespace

MatchModel::MatchModel(ThumbnailCache& thumbnails, QIcon fileIcon, QIcon placeholder, QObject* parent)
    : QAbstractTableModel(parent),
      thumbnails_(thumbnails),
      fileIcon_(std::move(fileIcon)),
      placeholder_(std::move(placeholder)),
      icons_(kIconsKept) {}

void MatchModel::show(const SnapshotPtr& snapshot) {
    const auto* shown = snapshot_ ? snapshot_->classifications.get() : nullptr;
    if (snapshot && snapshot_ && snapshot->classifications.get() == shown && snapshot->state == snapshot_->state) {
        snapshot_ = snapshot;
        return;
    }
    beginResetModel();
    snapshot_ = snapshot && snapshot->classifications ? snapshot : nullptr;
    rows_.clear();
    folded_.clear();
    rowOfFingerprint_.clear();
    icons_.clear();
    if (snapshot_) {
        // Project names and ids by id once, not a search of every project and a
        // conversion of its id per file; the same for the few state texts.
        struct Named {
            const Project* project;
            QString id, name;
        };
        std::unordered_map<Uuid, Named> projects;
        for (const auto& project : snapshot_->state->projects)
            projects.emplace(project.id, Named{&project, qs(project.id.text()), qs(project.name)});
        std::unordered_map<int, QString> stateTexts;
        const auto& classifications = *snapshot_->classifications;
        rows_.reserve(classifications.size());
        const auto& ignored = snapshot_->state->ignored;
        for (const Classification& c : classifications) {
            Row row;
            row.name = qs(c.file.filename());
            auto text = stateTexts.find(static_cast<int>(c.state));
            if (text == stateTexts.end()) text = stateTexts.emplace(static_cast<int>(c.state), qs(rawValue(c.state))).first;
            row.state = text->second;
            if (!ignored.empty() && isIgnored(*snapshot_->state, c.file)) row.state += text::kIgnoredMark;
            if (const auto top = topCandidate(c)) {
                row.hasTop = true;
                if (const auto it = projects.find(top->projectID); it != projects.end()) {
                    row.projectId = it->second.id;
                    row.projectRef = it->second.project;
                    row.project = it->second.name;
                } else {
                    row.projectId = qs(top->projectID.text());
                    row.project = QStringLiteral("-");
                }
                row.score = top->score;
            }
            rows_.push_back(std::move(row));
        }
        folded_.resize(rows_.size());
    }
    endResetModel();
}

const Classification* MatchModel::file(int row) const {
    if (!snapshot_ || row < 0 || row >= static_cast<int>(rows_.size())) return nullptr;
    return &(*snapshot_->classifications)[static_cast<std::size_t>(row)];
}

void MatchModel::watchThumbnail(int row) {
    if (const Classification* c = file(row)) rowOfFingerprint_.insert(qs(c->file.fingerprint()), row);
}

void MatchModel::thumbnailReady(const QString& fingerprint) {
    const int row = rowOfFingerprint_.value(fingerprint, -1);
    if (row < 0) return;
    icons_.remove(fingerprint);
    const QModelIndex at = index(row, kFile);
    Q_EMIT dataChanged(at, at, {Qt::DecorationRole});
}

QString MatchModel::fold(const QString& text) {
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    QString folded;
    folded.reserve(decomposed.size());
    for (const QChar ch : decomposed) {
        if (ch.category() == QChar::Mark_NonSpacing) continue;
        if (ch == QChar(0x0110) || ch == QChar(0x0111)) folded += QLatin1Char('d');  // Đ, đ have no decomposition
        else folded += ch.toCaseFolded();
    }
    return folded;
}

bool MatchModel::matches(int row, const QString& folded, const QString& state) const {
    const auto at = static_cast<std::size_t>(row);
    if (!state.isEmpty() && !rows_[at].state.startsWith(state)) return false;
    if (folded.isEmpty()) return true;
    if (!folded_[at]) folded_[at] = fold(rows_[at].name);
    return folded_[at]->contains(folded);
}

int MatchModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int MatchModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

QIcon MatchModel::thumbnail(const FileRecord& file) const {
    if (!ThumbnailCache::wants(file)) return fileIcon_;
    const QString fingerprint = qs(file.fingerprint());
    if (const QIcon* icon = icons_.object(fingerprint)) return *icon;
    // Only looked up here: the page asks for the decodes of the rows on screen.
    const QImage image = thumbnails_.lookup(file);
    if (image.isNull()) return placeholder_;
    auto* icon = new QIcon(QPixmap::fromImage(image));
    icons_.insert(fingerprint, icon);
    return *icon;
}

QVariant MatchModel::data(const QModelIndex& index, int role) const {
    ++dataCalls_;
    const Classification* c = file(index.row());
    if (!c) return {};
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case kFile: return row.name;
        case kState: return row.state;
        case kProject: return row.hasTop ? row.project : QStringLiteral("-");
        case kCategory: return row.hasTop ? qs(rawValue(c->category)) : QStringLiteral("-");
        case kScore: return row.score;
        case kSize: return sizeText(c->file.identity.size);
        case kModified: return shortDate(c->file.identity.modified);
        case kSignals:
            if (c->unsortable) return qs(*c->unsortable);
            if (const auto top = row.hasTop ? topCandidate(*c) : std::nullopt) return signalsText(*top);
            return QString();
        }
        return {};
    case kSortRole:
        switch (column) {
        case kScore: return row.score;
        case kSize: return static_cast<qulonglong>(c->file.identity.size);
        case kModified: return c->file.identity.modified.sinceReference;
        case kSignals: return data(index, Qt::DisplayRole);
        case kFile: return row.name;
        case kState: return row.state;
        case kProject: return row.project;
        case kCategory: return data(index, Qt::DisplayRole);
        }
        return {};
    case Qt::DecorationRole:
        if (column == kFile) return thumbnail(c->file);
        if (column == kProject && row.projectRef) return projectIcon(*row.projectRef);
        return {};
    case Qt::ToolTipRole:
        if (column == kFile) return QString::fromStdString(c->file.url.string());
        if (column == kSignals) return data(index, Qt::DisplayRole);
        if (column == kModified) return formatDate(c->file.identity.modified);
        return {};
    case Qt::TextAlignmentRole:
        if (column == kScore || column == kSize) return QVariant(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    case kPathRole: return QString::fromStdString(c->file.url.string());
    case kProjectRole: return row.projectId;
    }
    return {};
}

QVariant MatchModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
    case kFile: return QString(text::kColumnFile);
    case kState: return QString(text::kColumnState);
    case kProject: return QString(text::kColumnProject);
    case kCategory: return QString(text::kColumnCategory);
    case kScore: return QString(text::kColumnScore);
    case kSize: return QString(text::kColumnSize);
    case kModified: return QString(text::kColumnModified);
    case kSignals: return QString(text::kColumnSignals);
    }
    return {};
}

Qt::ItemFlags MatchModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
}

MatchFilter::MatchFilter(MatchModel& model, QObject* parent) : QSortFilterProxyModel(parent), model_(model) {
    setSourceModel(&model);
    setSortRole(MatchModel::kSortRole);
    setSortLocaleAware(true);
    setSortCaseSensitivity(Qt::CaseInsensitive);
}

void MatchFilter::setNameFilter(const QString& text) {
    const QString folded = MatchModel::fold(text.trimmed());
    if (folded == name_) return;
    name_ = folded;
    invalidateRowsFilter();
}

void MatchFilter::setStateFilter(const QString& state) {
    if (state == state_) return;
    state_ = state;
    invalidateRowsFilter();
}

bool MatchFilter::filterAcceptsRow(int sourceRow, const QModelIndex&) const {
    return model_.matches(sourceRow, name_, state_);
}

}  // namespace kelo::gui
