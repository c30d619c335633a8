#include "gui/match_page.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QTableWidget>
#include <QVBoxLayout>

#include "gui/presentation.h"
#include "gui/thumbnail_cache.h"

namespace kelo::gui {

namespace {

enum Column { kFile, kState, kProject, kCategory, kScore, kSignals, kColumnCount };
constexpr int kPathRole = Qt::UserRole;
constexpr int kProjectRole = Qt::UserRole + 1;

// Thumbnails sit in the File column at this size; they are decoded at twice it so
// they stay sharp on a high-density screen.
constexpr int kThumbnailRole = Qt::UserRole + 8;  // the fingerprint the row's thumbnail belongs to
constexpr int kIconEdge = 40;

QIcon placeholderIcon(const QPalette& palette) {
    QPixmap tile(2 * kIconEdge, 2 * kIconEdge);
    tile.fill(Qt::transparent);
    QPainter painter(&tile);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette.color(QPalette::Mid), 2));
    painter.setBrush(palette.color(QPalette::AlternateBase));
    painter.drawRoundedRect(QRectF(4, 4, 2 * kIconEdge - 8, 2 * kIconEdge - 8), 8, 8);
    return QIcon(tile);
}

QTableWidgetItem* cell(const QString& value) {
    auto* item = new QTableWidgetItem(value);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

}  // namespace

MatchPage::MatchPage(AppModel& model, QWidget* parent) : Page(model, parent) {
    auto* layout = new QVBoxLayout(this);
    table_ = new QTableWidget(0, kColumnCount, this);
    table_->setObjectName(QStringLiteral("matchTable"));
    table_->setHorizontalHeaderLabels({text::kColumnFile, text::kColumnState, text::kColumnProject,
                                       text::kColumnCategory, text::kColumnScore, text::kColumnSignals});
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->verticalHeader()->setVisible(false);
    table_->horizontalHeader()->setSectionResizeMode(kSignals, QHeaderView::Stretch);
    table_->setWordWrap(false);
    connect(table_, &QTableWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    layout->addWidget(table_, 1);

    thumbnails_ = new ThumbnailCache(2 * kIconEdge, 600, this);
    placeholder_ = placeholderIcon(palette());
    table_->setIconSize(QSize(kIconEdge, kIconEdge));
    table_->verticalHeader()->setDefaultSectionSize(kIconEdge + 6);
    connect(thumbnails_, &ThumbnailCache::ready, this, &MatchPage::showThumbnail);

    suggestions_ = new QLabel(this);
    suggestions_->setObjectName(QStringLiteral("nameSuggestions"));
    suggestions_->setWordWrap(true);
    layout->addWidget(suggestions_);

    auto* sortRow = new QHBoxLayout;
    projects_ = new QComboBox(this);
    projects_->setObjectName(QStringLiteral("projectChoice"));
    projects_->setMinimumContentsLength(18);
    sort_ = new QPushButton(text::kSortInto, this);
    sort_->setObjectName(QStringLiteral("sortButton"));
    sortRow->addWidget(sort_);
    sortRow->addWidget(projects_);
    sortRow->addStretch();
    layout->addLayout(sortRow);

    auto* actions = new QHBoxLayout;
    confirm_ = new QPushButton(text::kConfirm, this);
    reject_ = new QPushButton(text::kReject, this);
    leaveAlone_ = new QPushButton(text::kLeaveAlone, this);
    rename_ = new QPushButton(text::kRename, this);
    group_ = new QPushButton(text::kGroup, this);
    trash_ = new QPushButton(text::kTrash, this);
    keepBoth_ = new QPushButton(text::kKeepBoth, this);
    for (QPushButton* button : {confirm_, reject_, leaveAlone_, rename_, group_, trash_, keepBoth_})
        actions->addWidget(button);
    actions->addStretch();
    layout->addLayout(actions);

    connect(sort_, &QPushButton::clicked, this, [this] {
        const std::string project = projects_->currentData().toString().toStdString();
        onSelection([project](const Selected& s) { return EngineActions::sortFile(s.file, project); });
    });
    connect(keepBoth_, &QPushButton::clicked, this, [this] {
        const std::string project = projects_->currentData().toString().toStdString();
        onSelection([project](const Selected& s) { return EngineActions::keepBoth(s.file, project); });
    });
    connect(confirm_, &QPushButton::clicked, this, [this] {
        onSelection([](const Selected& s) { return EngineActions::confirm(s.file, s.projectId.toStdString()); });
    });
    connect(reject_, &QPushButton::clicked, this, [this] {
        onSelection([](const Selected& s) { return EngineActions::reject(s.file, s.projectId.toStdString()); });
    });
    connect(leaveAlone_, &QPushButton::clicked, this,
            [this] { onSelection([](const Selected& s) { return EngineActions::leaveAlone(s.file); }); });
    connect(trash_, &QPushButton::clicked, this,
            [this] { onSelection([](const Selected& s) { return EngineActions::trash(s.file); }); });
    connect(rename_, &QPushButton::clicked, this, [this] { renameSelected(); });
    connect(group_, &QPushButton::clicked, this, [this] { groupSelected(); });
    updateButtons();
}

void MatchPage::render(const Snapshot* snapshot, bool canOperate) {
    canOperate_ = canOperate;
    table_->clearContents();
    const auto* classifications = snapshot && snapshot->classifications ? snapshot->classifications.get() : nullptr;
    table_->setRowCount(classifications ? static_cast<int>(classifications->size()) : 0);
    if (classifications) {
        int row = 0;
        for (const auto& c : *classifications) {
            const auto top = topCandidate(c);
            auto* file = cell(qs(c.file.filename()));
            file->setData(kPathRole, QString::fromStdString(c.file.url.string()));
            file->setData(kProjectRole, top ? qs(top->projectID.text()) : QString());
            file->setToolTip(QString::fromStdString(c.file.url.string()));
            setThumbnail(file, c.file);
            table_->setItem(row, kFile, file);
            table_->setItem(row, kState, cell(qs(rawValue(c.state))));
            table_->setItem(row, kProject, cell(top ? projectName(*snapshot, top->projectID) : QStringLiteral("-")));
            table_->setItem(row, kCategory, cell(top ? qs(rawValue(c.category)) : QStringLiteral("-")));
            table_->setItem(row, kScore, cell(QString::number(top ? top->score : 0)));
            auto* reasons = cell(top ? signalsText(*top) : QString());
            reasons->setToolTip(reasons->text());
            table_->setItem(row, kSignals, reasons);
            ++row;
        }
    }
    table_->resizeColumnsToContents();
    table_->horizontalHeader()->setSectionResizeMode(kSignals, QHeaderView::Stretch);

    const QString chosen = projects_->currentData().toString();
    projects_->clear();
    if (snapshot) {
        for (const auto& project : snapshot->state->projects)
            projects_->addItem(qs(project.name), qs(project.id.text()));
        projects_->setCurrentIndex(std::max(0, projects_->findData(chosen)));
    }

    QStringList names;
    if (snapshot && snapshot->nameSuggestions)
        for (const auto& s : *snapshot->nameSuggestions) names << qs(s.name);
    suggestions_->setText(
        classifications && classifications->empty()
            ? QString(text::kNoFiles)
            : (names.isEmpty() ? QString() : text::kNameSuggestions + names.join(QStringLiteral(", "))));
    updateButtons();
}

// Image and design files show their thumbnail, or a neutral tile while it is
// decoded (and for good when it cannot be); other files show the style's file icon.
void MatchPage::setThumbnail(QTableWidgetItem* item, const FileRecord& file) {
    item->setData(kThumbnailRole, qs(file.fingerprint()));
    if (!ThumbnailCache::wants(file)) {
        item->setIcon(style()->standardIcon(QStyle::SP_FileIcon));
        return;
    }
    const QImage image = thumbnails_->request(file);
    item->setIcon(image.isNull() ? placeholder_ : QIcon(QPixmap::fromImage(image)));
}

void MatchPage::showThumbnail(const QString& fingerprint, const QImage& image) {
    if (image.isNull()) return;
    const QIcon icon(QPixmap::fromImage(image));
    for (int row = 0; row < table_->rowCount(); ++row) {
        QTableWidgetItem* item = table_->item(row, kFile);
        if (item && item->data(kThumbnailRole).toString() == fingerprint) item->setIcon(icon);
    }
}

std::vector<MatchPage::Selected> MatchPage::selection() const {
    std::vector<Selected> selected;
    for (const QModelIndex& index : table_->selectionModel()->selectedRows(kFile)) {
        const QTableWidgetItem* item = table_->item(index.row(), kFile);
        if (!item) continue;
        selected.push_back({item->data(kPathRole).toString().toStdString(), item->data(kProjectRole).toString()});
    }
    return selected;
}

void MatchPage::updateButtons() {
    const auto selected = selection();
    const bool one = selected.size() == 1;
    const bool any = !selected.empty();
    const bool project = projects_->count() > 0;
    const bool suggested =
        any && std::all_of(selected.begin(), selected.end(), [](const Selected& s) { return !s.projectId.isEmpty(); });
    enableAction(sort_, EngineAction::sortFile, canOperate_, any && project);
    enableAction(keepBoth_, EngineAction::keepBoth, canOperate_, one && project);
    enableAction(confirm_, EngineAction::confirm, canOperate_, suggested);
    enableAction(reject_, EngineAction::reject, canOperate_, suggested);
    enableAction(leaveAlone_, EngineAction::leaveAlone, canOperate_, any);
    enableAction(rename_, EngineAction::rename, canOperate_, one);
    enableAction(group_, EngineAction::group, canOperate_, selected.size() >= 2);
    enableAction(trash_, EngineAction::trash, canOperate_, any);
}

// One command per selected file; the engine runs them in order.
void MatchPage::onSelection(const std::function<EngineCommand(const Selected&)>& build) {
    for (const Selected& s : selection()) model_.submit(text::kCommandFile, build(s));
}

void MatchPage::renameSelected() {
    const auto selected = selection();
    if (selected.size() != 1) return;
    bool ok = false;
    const QString name = QInputDialog::getText(this, text::kRename, text::kRenamePrompt, QLineEdit::Normal,
                                               QString::fromStdString(selected.front().file.filename().string()), &ok);
    if (ok && !name.trimmed().isEmpty())
        model_.submit(text::kCommandFile, EngineActions::rename(selected.front().file, name.trimmed().toStdString()));
}

void MatchPage::groupSelected() {
    const auto selected = selection();
    bool ok = false;
    const QString name =
        QInputDialog::getText(this, text::kGroup, text::kGroupPrompt, QLineEdit::Normal, QString(), &ok);
    if (!ok || name.trimmed().isEmpty()) return;
    std::vector<std::filesystem::path> files;
    for (const Selected& s : selected) files.push_back(s.file);
    model_.submit(text::kCommandFile, EngineActions::group(std::move(files), name.trimmed().toStdString()));
}

}  // namespace kelo::gui
