#include "gui/match_page.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QLineEdit>
#include <QMenu>
#include <QListWidget>
#include <QTableView>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>
#include <algorithm>
#include <set>

#include "classify/classification_engine.h"
#include "engine/learning_commands.h"
#include "access/path_safety.h"
#include "gui/ai_ask_dialog.h"
#include "gui/ai_ask_texts.h"
#include "gui/ai_automatic_strip.h"
#include "gui/match_model.h"
#include "gui/presentation.h"
#include "gui/project_drop_list.h"
#include "gui/state_chip_delegate.h"
#include "gui/project_icons.h"
#include "gui/thumbnail_cache.h"
#include "gui/questions.h"
#include "gui/rename_dialog.h"
#include "ai/local_vision_ocr.h"
#include "model/kelo_error.h"

namespace kelo::gui {

namespace {

using Column = MatchModel::Column;
constexpr int kTokenRole = Qt::UserRole;
constexpr int kClusterFilesShown = 4;

// Thumbnails sit in the File column at this size; they are decoded at twice it so
// they stay sharp on a high-density screen.
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

// The message the engine gives when a sort found the destination name taken.
bool reportsConflict(const Snapshot& snapshot, const std::filesystem::path& file) {
    const std::string prefix = "Skipped " + file.filename().string() + ": Name conflict: ";
    return std::any_of(snapshot.messages.begin(), snapshot.messages.end(),
                       [&](const std::string& message) { return message.starts_with(prefix); });
}

}  // namespace

MatchPage::MatchPage(AppModel& model, QWidget* parent) : Page(model, parent) {
    auto* layout = new QVBoxLayout(this);
    thumbnails_ = new ThumbnailCache(2 * kIconEdge, 600, this);
    model_files_ = new MatchModel(*thumbnails_, style()->standardIcon(QStyle::SP_FileIcon), placeholderIcon(palette()), this);
    filter_ = new MatchFilter(*model_files_, this);
    connect(thumbnails_, &ThumbnailCache::ready, model_files_,
            [this](const QString& fingerprint, const QImage&) { model_files_->thumbnailReady(fingerprint); });

    // Narrowing the rows: by name (accents and case aside) and by state.
    auto* filterRow = new QHBoxLayout;
    nameFilter_ = new QLineEdit(this);
    nameFilter_->setObjectName(QStringLiteral("matchFilter"));
    nameFilter_->setPlaceholderText(text::kFilterFiles);
    nameFilter_->setClearButtonEnabled(true);
    stateFilter_ = new QComboBox(this);
    stateFilter_->setObjectName(QStringLiteral("stateFilter"));
    stateFilter_->addItem(text::kAllStates, QString());
    for (const auto& [state, raw] : rawValues(ConfidenceState{})) stateFilter_->addItem(qs(raw), qs(raw));
    shownCount_ = new QLabel(this);
    shownCount_->setObjectName(QStringLiteral("matchShown"));
    filterRow->addWidget(nameFilter_, 1);
    filterRow->addWidget(stateFilter_);
    filterRow->addWidget(shownCount_);
    layout->addLayout(filterRow);
    connect(nameFilter_, &QLineEdit::textChanged, this, [this](const QString& text) {
        filter_->setNameFilter(text);
        showCount();
        updateButtons();
        requestVisibleThumbnails();
    });
    connect(stateFilter_, &QComboBox::currentIndexChanged, this, [this] {
        filter_->setStateFilter(stateFilter_->currentData().toString());
        showCount();
        updateButtons();
        requestVisibleThumbnails();
    });

    table_ = new QTableView(this);
    table_->setObjectName(QStringLiteral("matchTable"));
    table_->setModel(filter_);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->verticalHeader()->setVisible(false);
    table_->setItemDelegateForColumn(Column::kState, new StateChipDelegate(table_));
    table_->setWordWrap(false);
    table_->setIconSize(QSize(kIconEdge, kIconEdge));
    // Every row has the same height, so the view never measures rows it does not show.
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->verticalHeader()->setDefaultSectionSize(kIconEdge + 6);
    QHeaderView* header = table_->horizontalHeader();
    header->setSectionResizeMode(Column::kSignals, QHeaderView::Stretch);
    const std::pair<Column, int> widths[] = {{Column::kFile, 250},    {Column::kState, 104}, {Column::kProject, 150},
                                             {Column::kCategory, 96}, {Column::kScore, 56}, {Column::kSize, 96},
                                             {Column::kModified, 80}};
    for (const auto& [column, width] : widths) header->resizeSection(column, width);
    // Unsorted until the user clicks a header: the engine's order first.
    header->setSortIndicator(-1, Qt::AscendingOrder);
    table_->setSortingEnabled(true);
    header->setSectionsClickable(true);
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        followSuggestion();
        updateButtons();
    });
    connect(filter_, &QAbstractItemModel::layoutChanged, this, [this] { requestVisibleThumbnails(); });
    // Rows dragged from the table onto a project beside it are sorted into it.
    table_->setDragEnabled(true);
    table_->setDragDropMode(QAbstractItemView::DragOnly);
    table_->setDefaultDropAction(Qt::CopyAction);
    dropList_ = new ProjectDropList([this](const QString& projectId) { sortInto(projectId); }, this);
    dropList_->setFixedWidth(200);
    auto* dropColumn = new QVBoxLayout;
    dropColumn->addWidget(new QLabel(text::kDropOnProject, this));
    dropColumn->addWidget(dropList_, 1);
    auto* tableRow = new QHBoxLayout;
    tableRow->addWidget(table_, 1);
    tableRow->addLayout(dropColumn);
    layout->addLayout(tableRow, 1);
    connect(table_->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { requestVisibleThumbnails(); });

    noFiles_ = new QLabel(text::kNoFiles, this);
    noFiles_->setObjectName(QStringLiteral("noFiles"));
    layout->addWidget(noFiles_);
    dryRunNote_ = new QLabel(text::kDryRunOn, this);
    dryRunNote_->setObjectName(QStringLiteral("matchDryRun"));
    dryRunNote_->setWordWrap(true);
    layout->addWidget(dryRunNote_);
    layout->addWidget(new AIAutomaticStrip(model_, this));  // automatic online AI's last outcome

    auto* sortRow = new QHBoxLayout;
    sort_ = new QPushButton(text::kSortInto, this);
    sort_->setObjectName(QStringLiteral("sortButton"));
    projects_ = new QComboBox(this);
    projects_->setObjectName(QStringLiteral("projectChoice"));
    projects_->setMinimumContentsLength(16);
    category_ = new QComboBox(this);
    category_->setObjectName(QStringLiteral("categoryChoice"));
    category_->addItem(text::kCategoryAuto, -1);
    for (const auto& [category, raw] : rawValues(Category{}))
        category_->addItem(qs(raw), static_cast<int>(Category::Value(category)));
    subfolder_ = new QLineEdit(this);
    subfolder_->setObjectName(QStringLiteral("subfolder"));
    subfolder_->setPlaceholderText(text::kSubfolderHint);
    subfolder_->setMinimumWidth(200);
    keepBoth_ = new QPushButton(text::kKeepBoth, this);
    keepBoth_->setObjectName(QStringLiteral("keepBoth"));
    sortRow->addWidget(sort_);
    sortRow->addWidget(projects_);
    sortRow->addWidget(category_);
    sortRow->addWidget(subfolder_);
    sortRow->addWidget(keepBoth_);
    sortRow->addStretch();
    layout->addLayout(sortRow);

    auto* actions = new QHBoxLayout;
    confirm_ = new QPushButton(text::kConfirm, this);
    reject_ = new QPushButton(text::kReject, this);
    leaveAlone_ = new QPushButton(text::kLeaveAlone, this);
    rename_ = new QPushButton(text::kRename, this);
    group_ = new QPushButton(text::kGroup, this);
    trash_ = new QPushButton(text::kTrash, this);
    confirm_->setObjectName(QStringLiteral("confirmButton"));
    reject_->setObjectName(QStringLiteral("rejectButton"));
    leaveAlone_->setObjectName(QStringLiteral("leaveAloneButton"));
    rename_->setObjectName(QStringLiteral("renameButton"));
    group_->setObjectName(QStringLiteral("groupButton"));
    trash_->setObjectName(QStringLiteral("trashButton"));
    for (QPushButton* button : {confirm_, reject_, leaveAlone_, rename_, group_, trash_}) actions->addWidget(button);
    askAI_ = new QPushButton(QString::fromUtf8(text::kAskAI), this);
    askAI_->setObjectName(QStringLiteral("askAIButton"));
    actions->addWidget(askAI_);
    actions->addStretch();
    layout->addLayout(actions);

    auto* clusterBox = new QGroupBox(text::kClusters, this);
    auto* clusterLayout = new QHBoxLayout(clusterBox);  // buttons beside the list leave the files more room
    clusters_ = new QListWidget(clusterBox);
    clusters_->setObjectName(QStringLiteral("clusterList"));
    clusters_->setMaximumHeight(72);
    connect(&clusterSearch_, &QFutureWatcher<std::vector<Cluster>>::finished, this, [this] {
        if (!clusterSearch_.isCanceled()) showClusters(clusterSearch_.result());
    });
    ignoreCluster_ = new QPushButton(text::kIgnoreCluster, clusterBox);
    ignoreCluster_->setObjectName(QStringLiteral("ignoreCluster"));
    restoreIgnored_ = new QPushButton(text::kRestoreIgnored, clusterBox);
    restoreIgnored_->setObjectName(QStringLiteral("restoreIgnored"));
    auto* clusterButtons = new QVBoxLayout;
    clusterButtons->addWidget(ignoreCluster_);
    clusterButtons->addWidget(restoreIgnored_);
    clusterButtons->addStretch();
    clusterLayout->addWidget(clusters_, 1);
    clusterLayout->addLayout(clusterButtons);
    layout->addWidget(clusterBox);

    // Keyboard: the table's actions without the mouse (shown in the buttons' tips).
    const std::pair<QPushButton*, QKeySequence> keys[] = {
        {sort_, QKeySequence(Qt::CTRL | Qt::Key_Return)}, {confirm_, QKeySequence(Qt::CTRL | Qt::Key_Y)},
        {reject_, QKeySequence(Qt::CTRL | Qt::Key_N)},    {rename_, QKeySequence(Qt::Key_F2)},
        {trash_, QKeySequence(Qt::Key_Delete)},
        {askAI_, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_A)}};
    for (const auto& [button, key] : keys) {
        auto* shortcut = new QShortcut(key, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, button, [button] {
            if (button->isEnabled()) button->click();
        });
        button->setToolTip(key.toString(QKeySequence::NativeText));
    }
    connect(sort_, &QPushButton::clicked, this, [this] { sortSelected(); });
    connect(keepBoth_, &QPushButton::clicked, this, [this] { keepBoth(); });
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
    connect(rename_, &QPushButton::clicked, this, [this] { askRename(); });
    connect(group_, &QPushButton::clicked, this, [this] { askGroup(); });
    connect(askAI_, &QPushButton::clicked, this, [this] { askAI(); });
    // The row's menu offers the actions that act on one file.
    table_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(table_, &QTableView::customContextMenuRequested, this, [this](const QPoint& at) {
        QMenu menu(this);
        for (QPushButton* button : {askAI_, rename_, trash_})
            menu.addAction(button->text(), button, &QPushButton::click)->setEnabled(button->isEnabled());
        menu.exec(table_->viewport()->mapToGlobal(at));
    });
    connect(clusters_, &QListWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    connect(ignoreCluster_, &QPushButton::clicked, this, [this] {
        if (const QListWidgetItem* item = clusters_->currentItem(); item && item->isSelected())
            model_.submit(text::kCommandLearning,
                          EngineActions::ignoreCluster(item->data(kTokenRole).toString().toStdString()));
    });
    connect(restoreIgnored_, &QPushButton::clicked, this,
            [this] { model_.submit(text::kCommandLearning, EngineActions::restoreIgnored()); });
    updateButtons();
}

void MatchPage::render(const Snapshot* snapshot, bool canOperate) {
    canOperate_ = canOperate;
    std::set<std::string> selected;
    for (const Selected& s : selection()) selected.insert(PathSafety::key(s.file));

    // The page is handed the snapshot the model holds; the rows keep it alive.
    const SnapshotPtr& current = model_.snapshot();
    model_files_->show(current.get() == snapshot ? current : nullptr);
    // The selection follows the files that are still there.
    if (!selected.empty()) selectKeys(selected, false);
    showCount();

    dropList_->render(snapshot);
    const QString chosen = projects_->currentData().toString();
    projects_->clear();
    projectNames_.clear();
    if (snapshot) {
        for (const auto& project : snapshot->state->projects) {
            projects_->addItem(qs(project.name), qs(project.id.text()));
            projects_->setItemIcon(projects_->count() - 1, projectIcon(project));
            projectNames_.emplace_back(qs(project.id.text()), qs(project.name));
        }
        projects_->setCurrentIndex(std::max(0, projects_->findData(chosen)));
        namingDetail_ = qs(snapshot->state->settings.suggestedNamingDetail());
        hasIgnored_ = !snapshot->state->ignored.empty() || !snapshot->state->ignoredClusters.empty();
        noteConflicts(*snapshot);
    }
    noFiles_->setVisible(model_files_->rowCount() == 0);
    dryRunNote_->setVisible(snapshot && snapshot->state->settings.dryRun);
    renderClusters(current.get() == snapshot ? current : nullptr);
    updateButtons();
    // Once the table is laid out, the rows on screen ask for their pictures.
    QTimer::singleShot(0, this, [this] { requestVisibleThumbnails(); });
}

void MatchPage::showCount() {
    const int all = model_files_->rowCount();
    const int shown = filter_->rowCount();
    shownCount_->setText(shown == all ? QString() : QString(text::kFilesShown).arg(shown).arg(all));
}

// Only the rows on screen ask for a decode: an inbox of thousands of pictures must
// not queue thousands of decodes.
void MatchPage::requestVisibleThumbnails() {
    const int rows = filter_->rowCount();
    if (rows == 0) return;
    const int first = std::max(0, table_->rowAt(0));
    int last = table_->rowAt(table_->viewport()->height() - 1);
    if (last < 0) last = first + 40;  // not laid out yet: a screenful
    last = std::min(last + 4, rows - 1);
    for (int row = first; row <= last; ++row) {
        const QModelIndex source = filter_->mapToSource(filter_->index(row, Column::kFile));
        const Classification* c = model_files_->file(source.row());
        if (!c || !ThumbnailCache::wants(c->file)) continue;
        // A cached picture is shown when the row paints; a decode repaints it later.
        model_files_->watchThumbnail(source.row());
        thumbnails_->request(c->file);
    }
}

// Clusters come from every inbox name, a tenth of a second for 20,000 files, so
// they are found off the main thread and only when the files or the ignored
// clusters changed; the list fills in when they are ready.
void MatchPage::renderClusters(const SnapshotPtr& snapshot) {
    const bool any = snapshot && snapshot->files;
    if (any && snapshot->files == clusterFiles_ && snapshot->state->ignoredClusters == clusterIgnored_) return;
    clusterFiles_ = any ? snapshot->files : nullptr;
    clusterIgnored_ = any ? snapshot->state->ignoredClusters : std::set<std::string>{};
    if (!any) {
        clusterSearch_.cancel();
        showClusters({});
        return;
    }
    clusterSearch_.setFuture(QtConcurrent::run([snapshot] {
        return clusters(*snapshot->files, snapshot->state->ignoredClusters);
    }));
}

void MatchPage::showClusters(const std::vector<Cluster>& found) {
    clusters_->clear();
    for (const Cluster& cluster : found) {
        QStringList names;
        for (const auto& file : cluster.files) {
            if (names.size() == kClusterFilesShown) {
                names << QStringLiteral("…");
                break;
            }
            names << qs(file.filename());
        }
        auto* item = new QListWidgetItem(QString(text::kClusterLine)
                                             .arg(qs(cluster.token))
                                             .arg(cluster.files.size())
                                             .arg(names.join(QStringLiteral(", "))),
                                         clusters_);
        item->setData(kTokenRole, qs(cluster.token));
    }
    if (clusters_->count() == 0) {
        auto* none = new QListWidgetItem(text::kNoClusters, clusters_);
        none->setFlags(Qt::NoItemFlags);
    }
    updateButtons();
}

// A conflict is remembered until the next sort, so "keep both" stays offered while
// later commands come and go.
void MatchPage::noteConflicts(const Snapshot& snapshot) {
    for (SentSort& sent : sentSorts_)
        if (reportsConflict(snapshot, sent.file)) sent.conflicted = true;
}

// "Sort into" starts at the project Kelo suggests for the chosen files, when they
// share one.
void MatchPage::followSuggestion() {
    const auto selected = selection();
    if (selected.empty() || selected.front().projectId.isEmpty()) return;
    for (const Selected& s : selected)
        if (s.projectId != selected.front().projectId) return;
    if (const int index = projects_->findData(selected.front().projectId); index >= 0)
        projects_->setCurrentIndex(index);
}

std::vector<MatchPage::Selected> MatchPage::selection() const {
    std::vector<Selected> selected;
    for (const QModelIndex& index : table_->selectionModel()->selectedRows(Column::kFile))
        selected.push_back({index.data(MatchModel::kPathRole).toString().toStdString(),
                            index.data(MatchModel::kProjectRole).toString()});
    return selected;
}

void MatchPage::updateButtons() {
    const auto selected = selection();
    const bool one = selected.size() == 1;
    const bool any = !selected.empty();
    const bool project = projects_->count() > 0;
    const bool suggested =
        any && std::all_of(selected.begin(), selected.end(), [](const Selected& s) { return !s.projectId.isEmpty(); });
    const bool conflicted =
        std::any_of(sentSorts_.begin(), sentSorts_.end(), [](const SentSort& s) { return s.conflicted; });
    enable(sort_, canOperate_, any && project);
    enable(keepBoth_, canOperate_, conflicted);
    enable(confirm_, canOperate_, suggested);
    enable(reject_, canOperate_, suggested);
    enable(leaveAlone_, canOperate_, any);
    enable(rename_, canOperate_, one);
    enable(askAI_, canOperate_, one);
    enable(group_, canOperate_, any);
    enable(trash_, canOperate_, any);
    const QListWidgetItem* cluster = clusters_->currentItem();
    enable(ignoreCluster_, canOperate_, cluster && cluster->isSelected() && cluster->flags() != Qt::NoItemFlags);
    enable(restoreIgnored_, canOperate_, hasIgnored_);
}

// One command per selected file; the engine runs them in order.
void MatchPage::onSelection(const std::function<EngineCommand(const Selected&)>& build) {
    for (const Selected& s : selection()) model_.submit(text::kCommandFile, build(s));
}

Placement MatchPage::chosenPlacement() const {
    Placement placement{projects_->currentData().toString().toStdString(), std::nullopt, std::nullopt};
    if (const int category = category_->currentData().toInt(); category >= 0)
        placement.category = Category(static_cast<Category::Value>(category));
    if (const QString subfolder = subfolder_->text().trimmed(); !subfolder.isEmpty())
        placement.subfolder = subfolder.toStdString();
    return placement;
}

void MatchPage::sortSelected() {
    const Placement placement = chosenPlacement();
    sentSorts_.clear();
    for (const Selected& s : selection()) {
        sentSorts_.push_back({s.file, placement});
        model_.submit(text::kCommandFile, EngineActions::sortFile(s.file, placement));
    }
    updateButtons();
}

void MatchPage::sortInto(const QString& projectId) {
    const int index = projects_->findData(projectId);
    if (index < 0 || selection().empty() || !canOperate_) return;
    projects_->setCurrentIndex(index);
    sortSelected();
}

int MatchPage::selectFiles(const QStringList& paths) {
    std::set<std::string> wanted;
    for (const QString& path : paths) wanted.insert(PathSafety::key(std::filesystem::absolute(path.toStdString())));
    table_->clearSelection();
    return selectKeys(wanted, true);
}

int MatchPage::selectKeys(const std::set<std::string>& keys, bool scroll) {
    QItemSelection rows;
    QModelIndex firstFound;
    int found = 0;
    for (int row = 0; row < model_files_->rowCount(); ++row) {
        if (!keys.contains(PathSafety::key(model_files_->file(row)->file.url))) continue;
        const QModelIndex index = filter_->mapFromSource(model_files_->index(row, Column::kFile));
        if (!index.isValid()) continue;  // filtered out of view
        rows.select(index, index.siblingAtColumn(Column::kColumnCount - 1));
        if (found++ == 0 || index.row() < firstFound.row()) firstFound = index;
    }
    table_->selectionModel()->select(rows, QItemSelectionModel::Select);
    if (scroll && firstFound.isValid()) table_->scrollTo(firstFound);
    return found;
}

void MatchPage::keepBoth() {
    auto sent = std::move(sentSorts_);
    sentSorts_.clear();
    for (const SentSort& s : sent)
        if (s.conflicted) model_.submit(text::kCommandFile, EngineActions::keepBoth(s.file, s.placement));
    updateButtons();
}

void MatchPage::askRename() {
    const auto selected = selection();
    if (selected.size() != 1) return;
    QString job;
    for (const auto& [id, name] : projectNames_)
        if (id == selected.front().projectId) job = name;
    RenameDialog dialog(QString::fromStdString(selected.front().file.filename().string()),
                        {job.toStdString(), std::string(), namingDetail_.toStdString()}, this);
    offerTextReading(dialog, selected.front().file);
    if (dialog.exec() == QDialog::Accepted) renameSelected(dialog.parts());
}

// Images get the button that reads their text. The request is a copy of the file
// and the projects as the last snapshot had them, so reading touches no engine state.
void MatchPage::offerTextReading(RenameDialog& dialog, const std::filesystem::path& file) const {
    const SnapshotPtr& snapshot = model_.snapshot();
    if (!snapshot) return;
    try {
        OcrCommands::OcrRequest request = OcrCommands::request(*snapshot, file);
        if (!LocalVisionOCR::isSupported(request.file)) return;
        dialog.offerTextReading([request = std::move(request)](const std::atomic<bool>& cancel) {
            return OcrCommands::readHints(request, &cancel);
        });
    } catch (const KeloError&) {
        // No longer an inbox file: the rename itself will say so.
    }
}

void MatchPage::renameSelected(const NameParts& parts) {
    const auto selected = selection();
    if (selected.size() == 1) model_.submit(text::kCommandFile, EngineActions::rename(selected.front().file, parts));
}

AIAskDialog* MatchPage::askAI() {
    const auto selected = selection();
    if (selected.size() != 1 || !canOperate_) return nullptr;
    auto* dialog = new AIAskDialog(model_, selected.front().file, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
    return dialog;
}

void MatchPage::askGroup() {
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("groupDialog"));
    dialog.setWindowTitle(text::kGroup);
    auto* form = new QFormLayout(&dialog);
    auto* name = new QLineEdit(&dialog);
    name->setObjectName(QStringLiteral("groupName"));
    auto* project = new QComboBox(&dialog);
    project->setObjectName(QStringLiteral("groupProject"));
    project->addItem(text::kGroupBeside, QString());
    for (const auto& [id, title] : projectNames_) project->addItem(title, id);
    form->addRow(text::kGroupName, name);
    form->addRow(text::kGroupProject, project);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    Questions::nameButtons(buttons);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    form->addRow(buttons);
    if (dialog.exec() == QDialog::Accepted && !name->text().trimmed().isEmpty())
        groupSelected(name->text().trimmed(), project->currentData().toString());
}

void MatchPage::groupSelected(const QString& folderName, const QString& projectId) {
    std::vector<std::filesystem::path> files;
    for (const Selected& s : selection()) files.push_back(s.file);
    if (files.empty()) return;
    std::optional<std::string> project;
    if (!projectId.isEmpty()) project = projectId.toStdString();
    model_.submit(text::kCommandFile, EngineActions::group(std::move(files), folderName.toStdString(), project));
}

}  // namespace kelo::gui
