#include "gui/studio_page.h"

#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QShowEvent>
#include <QVBoxLayout>

#include "gui/file_manager.h"
#include "gui/presentation.h"
#include "gui/questions.h"
#include "gui/size_chart.h"
#include "gui/studio_actions.h"
#include "gui/studio_texts.h"
#include "gui/style.h"
#include "gui/thumbnail_cache.h"
#include "housekeeping/private_storage.h"
#include "studio/studio_board.h"
#include "studio/studio_insights.h"
#include "studio/studio_workspace.h"

namespace kelo::gui {

namespace {

constexpr int kPathRole = Qt::UserRole;
constexpr int kThumbnailEdge = 96;
constexpr int kDayChoices[] = {1, 7, 30, 90};
const char* const kFolders[] = {"Working", "Export", "Assets", "Reference"};

QPushButton* button(const char* label, const char* name, QWidget* parent) {
    auto* made = new QPushButton(QString::fromUtf8(label), parent);
    made->setObjectName(QString::fromLatin1(name));
    return made;
}

QString kindLabel(FileKind kind) {
    switch (kind) {
        case FileKind::designSource: return text::kStudioKindDesign;
        case FileKind::image: return text::kStudioKindImage;
        case FileKind::document: return text::kStudioKindDocument;
        case FileKind::archive: return text::kStudioKindArchive;
        case FileKind::other: break;
    }
    return text::kStudioKindOther;
}

FileRecord recordOf(const StudioProjectView& view, const StudioFile& file) {
    FileRecord record;
    record.url = view.folder / file.relativePath;
    record.sourceFolder = view.folder;
    record.identity = file.identity;
    return record;
}

QString names(const StudioProjectView& view, const std::vector<std::size_t>& indices, std::size_t most) {
    QStringList out;
    for (std::size_t i = 0; i < indices.size() && i < most; ++i) out << qs(view.files[indices[i]].filename());
    return out.join(QStringLiteral(", "));
}

}  // namespace

StudioPage::StudioPage(AppModel& model, QWidget* parent)
    : Page(model, parent), thumbnails_(new ThumbnailCache(2 * kThumbnailEdge, 600, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(Style::kGrid);

    auto* top = new QHBoxLayout;
    top->addWidget(new QLabel(text::kStudioProject, this));
    project_ = new QComboBox(this);
    project_->setObjectName(QStringLiteral("studioProject"));
    project_->setMinimumWidth(28 * Style::kGrid);
    top->addWidget(project_);
    reload_ = button(text::kStudioReload, "studioReload", this);
    top->addWidget(reload_);
    top->addStretch();
    layout->addLayout(top);

    empty_ = new QLabel(text::kStudioNoProject, this);
    empty_->setWordWrap(true);
    layout->addWidget(empty_);

    // The dashboard: totals and highlights beside the chart of sizes by folder.
    auto* dashboard = new QGroupBox(this);
    dashboard->setObjectName(QStringLiteral("studioDashboard"));
    auto* dashboardLayout = new QHBoxLayout(dashboard);
    auto* figures = new QVBoxLayout;
    totals_ = new QLabel(dashboard);
    totals_->setObjectName(QStringLiteral("studioTotals"));
    QFont big = totals_->font();
    big.setPointSizeF(big.pointSizeF() * 1.25);
    big.setBold(true);
    totals_->setFont(big);
    highlights_ = new QLabel(dashboard);
    highlights_->setObjectName(QStringLiteral("studioHighlights"));
    highlights_->setWordWrap(true);
    highlights_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    figures->addWidget(totals_);
    figures->addWidget(highlights_, 1);
    dashboardLayout->addLayout(figures, 3);
    auto* chartBox = new QVBoxLayout;
    chartBox->addWidget(new QLabel(text::kStudioChartTitle, dashboard));
    chart_ = new SizeChart(dashboard);
    chartBox->addWidget(chart_, 1);
    dashboardLayout->addLayout(chartBox, 2);
    layout->addWidget(dashboard);

    buildFilterRow();

    auto* body = new QHBoxLayout;
    auto* gridColumn = new QVBoxLayout;
    grid_ = new QListWidget(this);
    grid_->setObjectName(QStringLiteral("studioFiles"));
    grid_->setViewMode(QListView::IconMode);
    grid_->setResizeMode(QListView::Adjust);
    grid_->setMovement(QListView::Static);
    grid_->setIconSize(QSize(kThumbnailEdge, kThumbnailEdge));
    grid_->setGridSize(QSize(kThumbnailEdge + 5 * Style::kGrid, kThumbnailEdge + 6 * Style::kGrid));
    grid_->setWordWrap(true);
    grid_->setUniformItemSizes(true);
    gridColumn->addWidget(grid_, 1);
    shown_ = new QLabel(this);
    shown_->setObjectName(QStringLiteral("studioShown"));
    gridColumn->addWidget(shown_);
    auto* fileActions = new QHBoxLayout;
    open_ = button(text::kStudioOpenFile, "studioOpenFile", this);
    showInFolder_ = button(text::kStudioShowInFolder, "studioShowInFolder", this);
    rename_ = button(text::kStudioRename, "studioRename", this);
    sort_ = button(text::kStudioSortInto, "studioSort", this);
    pin_ = button(text::kStudioPin, "studioPin", this);
    for (QPushButton* action : {open_, showInFolder_, rename_, sort_, pin_}) fileActions->addWidget(action);
    fileActions->addStretch();
    gridColumn->addLayout(fileActions);
    body->addLayout(gridColumn, 3);

    auto* board = new QGroupBox(text::kStudioReferences, this);
    auto* boardLayout = new QVBoxLayout(board);
    references_ = new QListWidget(board);
    references_->setObjectName(QStringLiteral("studioReferences"));
    boardLayout->addWidget(references_, 1);
    unpin_ = button(text::kStudioUnpin, "studioUnpin", board);
    boardLayout->addWidget(unpin_);
    board->setMaximumWidth(34 * Style::kGrid);
    body->addWidget(board, 1);
    layout->addLayout(body, 1);

    connect(thumbnails_, &ThumbnailCache::ready, this, &StudioPage::showThumbnail);
    connect(project_, &QComboBox::activated, this,
            [this](int index) { openProject(project_->itemData(index).toString()); });
    connect(reload_, &QPushButton::clicked, this, [this] { openProject(project_->currentData().toString()); });
    connect(grid_, &QListWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    connect(references_, &QListWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    connect(grid_, &QListWidget::itemActivated, this, [](QListWidgetItem* item) {
        FileManager::openWithDefaultApp(item->data(kPathRole).toString().toStdString());
    });
    connect(references_, &QListWidget::itemActivated, this, [](QListWidgetItem* item) {
        FileManager::openWithDefaultApp(item->data(kPathRole).toString().toStdString());
    });
    connect(open_, &QPushButton::clicked, this,
            [this] { FileManager::openWithDefaultApp(selectedFile().toStdString()); });
    connect(showInFolder_, &QPushButton::clicked, this, [this] {
        const QString file = selectedFile().isEmpty() ? selectedReference() : selectedFile();
        if (!file.isEmpty()) FileManager::showInFolder(file.toStdString());
    });
    connect(rename_, &QPushButton::clicked, this, [this] {
        if (const auto name = Questions::askText(this, text::kStudioRename, text::kStudioRenamePrompt))
            renameSelected(*name);
    });
    connect(sort_, &QPushButton::clicked, this, [this] {
        QStringList folders;
        for (const char* folder : kFolders) folders << QString::fromLatin1(folder);
        const auto chosen = Questions::askItem(this, text::kStudioSortInto, text::kStudioSortPrompt, folders);
        if (!chosen) return;
        for (const auto& [category, name] : rawValues(Category{}))
            if (qs(name) == *chosen)
                model_.submit(text::kCommandStudio, StudioActions::sort(selectedFile().toStdString(), category));
    });
    connect(pin_, &QPushButton::clicked, this, [this] {
        model_.submit(text::kCommandStudio,
                      StudioActions::pin(selectedFile().toStdString(), openProjectId().toStdString()));
    });
    connect(unpin_, &QPushButton::clicked, this,
            [this] { model_.submit(text::kCommandStudio, StudioActions::unpin(selectedReference().toStdString())); });
    render(nullptr, false);
}

StudioPage::~StudioPage() = default;

void StudioPage::buildFilterRow() {
    auto* row = new QHBoxLayout;
    kind_ = new QComboBox(this);
    kind_->setObjectName(QStringLiteral("studioKind"));
    kind_->addItem(text::kStudioAllKinds, QString());
    for (const FileKind kind : kFileKinds) kind_->addItem(kindLabel(kind), qs(fileKindName(kind)));
    folder_ = new QComboBox(this);
    folder_->setObjectName(QStringLiteral("studioFolder"));
    folder_->addItem(text::kStudioAllFolders);
    for (const char* folder : kFolders) folder_->addItem(QString::fromLatin1(folder), QString::fromLatin1(folder));
    folder_->addItem(text::kStudioOtherFolder, QStringLiteral(""));
    days_ = new QComboBox(this);
    days_->setObjectName(QStringLiteral("studioDays"));
    days_->addItem(text::kStudioAnyTime, 0);
    for (const int days : kDayChoices) days_->addItem(QString::fromUtf8(text::kStudioWithinDays).arg(days), days);
    text_ = new QLineEdit(this);
    text_->setObjectName(QStringLiteral("studioText"));
    text_->setPlaceholderText(text::kStudioSearch);
    text_->setClearButtonEnabled(true);
    saved_ = new QComboBox(this);
    saved_->setObjectName(QStringLiteral("studioSavedFilters"));
    saveFilter_ = button(text::kStudioSaveFilter, "studioSaveFilter", this);
    deleteFilter_ = button(text::kStudioDeleteFilter, "studioDeleteFilter", this);
    row->addWidget(kind_);
    row->addWidget(folder_);
    row->addWidget(days_);
    row->addWidget(text_, 1);
    row->addWidget(saved_);
    row->addWidget(saveFilter_);
    row->addWidget(deleteFilter_);
    static_cast<QVBoxLayout*>(layout())->addLayout(row);

    for (QComboBox* box : {kind_, folder_, days_})
        connect(box, &QComboBox::currentIndexChanged, this, [this] { fillGrid(); });
    connect(text_, &QLineEdit::textChanged, this, [this] { fillGrid(); });
    connect(saved_, &QComboBox::activated, this, [this](int index) { applySavedFilter(index); });
    connect(saveFilter_, &QPushButton::clicked, this, [this] {
        if (const auto name = Questions::askText(this, text::kStudioSaveFilter, text::kStudioSaveFilterPrompt))
            saveCurrentFilter(*name);
    });
    connect(deleteFilter_, &QPushButton::clicked, this, [this] {
        const int index = saved_->currentIndex() - 1;
        if (index < 0 || index >= static_cast<int>(savedFilters_.size())) return;
        model_.submit(text::kCommandStudio,
                      StudioActions::deleteFilter(openProjectId().toStdString(),
                                                  savedFilters_[static_cast<std::size_t>(index)].name));
    });
}

StudioFilter StudioPage::currentFilter() const {
    StudioFilter filter;
    if (const QString kind = kind_->currentData().toString(); !kind.isEmpty())
        filter.kind = fileKindNamed(kind.toStdString());
    if (const QVariant folder = folder_->currentData(); folder.isValid())
        filter.folder = folder.toString().toStdString();
    if (const int days = days_->currentData().toInt(); days > 0) filter.days = days;
    filter.text = text_->text().trimmed().toStdString();
    return filter;
}

void StudioPage::renameSelected(const QString& newName) {
    const QString file = selectedFile();
    if (file.isEmpty() || newName.trimmed().isEmpty()) return;
    model_.submit(text::kCommandStudio, StudioActions::rename(file.toStdString(), newName.trimmed().toStdString()));
}

void StudioPage::saveCurrentFilter(const QString& name) {
    StudioFilter filter = currentFilter();
    filter.name = name.trimmed().toStdString();
    model_.submit(text::kCommandStudio, StudioActions::saveFilter(openProjectId().toStdString(), filter));
}

void StudioPage::showEvent(QShowEvent* event) {
    Page::showEvent(event);
    // The Studio reads a project only when it is looked at: the last one opened, or
    // the first project.
    if (askedToOpen_ || view_ || !canOperate_ || !snapshot_ || snapshot_->state->projects.empty()) return;
    askedToOpen_ = true;
    std::string id = snapshot_->state->projects.front().id.text();
    try {
        if (const auto last = StudioWorkspace::from(*snapshot_->studio).lastOpenedProject)
            for (const auto& project : snapshot_->state->projects)
                if (project.id.text() == *last) id = *last;
    } catch (const std::exception&) {
        // The document was checked at start-up; a project of its own is enough here.
    }
    openProject(qs(id));
}

void StudioPage::openProject(const QString& id) {
    if (id.isEmpty() || !canOperate_) return;
    askedToOpen_ = true;
    model_.submit(text::kCommandStudio, StudioActions::open(id.toStdString()));
}

void StudioPage::render(const Snapshot* snapshot, bool canOperate) {
    canOperate_ = canOperate;
    snapshot_ = snapshot && model_.snapshot().get() == snapshot ? model_.snapshot() : nullptr;
    if (snapshot) fillProjects(*snapshot);
    const auto view = snapshot ? snapshot->inventory : nullptr;
    if (view != view_) {
        view_ = view;
        fillDashboard();
        fillGrid();
    }
    if (snapshot) fillBoard(*snapshot);
    empty_->setVisible(!view_);
    updateButtons();
}

void StudioPage::fillProjects(const Snapshot& snapshot) {
    const QSignalBlocker blocker(project_);
    const QString wanted =
        snapshot.inventoryProject ? qs(snapshot.inventoryProject->text()) : project_->currentData().toString();
    project_->clear();
    for (const auto& project : snapshot.state->projects)
        if (project.status != ProjectStatus::archived) project_->addItem(qs(project.name), qs(project.id.text()));
    if (const int at = project_->findData(wanted); at >= 0) project_->setCurrentIndex(at);
}

void StudioPage::fillDashboard() {
    if (!view_) {
        totals_->clear();
        highlights_->clear();
        chart_->setBars({});
        return;
    }
    const StudioInsights& in = view_->insights;
    totals_->setText(QString::fromUtf8(text::kStudioTotals)
                         .arg(in.fileCount)
                         .arg(in.folderCount)
                         .arg(qs(formatBytes(in.totalBytes))));
    QStringList lines;
    if (!in.newest.empty()) lines << QString::fromUtf8(text::kStudioNewest).arg(names(*view_, in.newest, 3));
    if (!in.largest.empty()) lines << QString::fromUtf8(text::kStudioLargest).arg(names(*view_, in.largest, 3));
    lines << QString::fromUtf8(text::kStudioOffNaming).arg(in.offNaming.size());
    lines << QString::fromUtf8(text::kStudioStale).arg(in.stale.size());
    highlights_->setText(lines.join(QLatin1Char('\n')));
    SizeChart::Bars bars;
    for (const char* folder : kFolders)
        if (const auto at = in.byFolder.find(folder); at != in.byFolder.end())
            bars.emplace_back(QString::fromLatin1(folder), at->second.bytes);
    if (const auto rest = in.byFolder.find(""); rest != in.byFolder.end())
        bars.emplace_back(text::kStudioOtherFolder, rest->second.bytes);
    chart_->setBars(std::move(bars));
}

void StudioPage::fillGrid() {
    const QString selected = selectedFile();
    grid_->clear();
    itemsByFingerprint_.clear();
    if (!view_) {
        shown_->clear();
        return;
    }
    const auto matched = view_->filtered(currentFilter());
    const QIcon placeholder = style()->standardIcon(QStyle::SP_FileIcon);
    for (std::size_t n = 0; n < matched.size() && n < static_cast<std::size_t>(kGridLimit); ++n) {
        const StudioFile& file = view_->files[matched[n]];
        const FileRecord record = recordOf(*view_, file);
        auto* item = new QListWidgetItem(qs(file.filename()), grid_);
        const QString path = qs(record.url.string());
        item->setData(kPathRole, path);
        item->setToolTip(qs(file.relativePath.string()) + QStringLiteral("\n") + kindLabel(file.kind) +
                         QStringLiteral(" · ") + qs(formatBytes(file.identity.size)));
        const QImage image = ThumbnailCache::wants(record) ? thumbnails_->request(record) : QImage();
        item->setIcon(image.isNull() ? placeholder : QIcon(QPixmap::fromImage(image)));
        itemsByFingerprint_.insert(qs(record.fingerprint()), item);
        if (path == selected) item->setSelected(true);
    }
    shown_->setText(QString::fromUtf8(text::kStudioShown)
                        .arg(std::min<std::size_t>(matched.size(), kGridLimit))
                        .arg(matched.size()));
}

void StudioPage::showThumbnail(const QString& fingerprint, const QImage& image) {
    if (QListWidgetItem* item = itemsByFingerprint_.value(fingerprint); item && !image.isNull())
        item->setIcon(QIcon(QPixmap::fromImage(image)));
}

void StudioPage::fillBoard(const Snapshot& snapshot) {
    const QString selected = selectedReference();
    references_->clear();
    savedFilters_.clear();
    if (snapshot.studioBoard) {
        for (const auto& reference : snapshot.studioBoard->references) {
            QString label = qs(reference.reference.path.filename().string());
            if (reference.missing) label += QString::fromUtf8(text::kStudioMissing);
            auto* item = new QListWidgetItem(label, references_);
            item->setData(kPathRole, qs(reference.reference.path.string()));
            item->setToolTip(qs(reference.reference.path.string()));
            if (reference.missing) item->setForeground(palette().color(QPalette::PlaceholderText));
            if (item->data(kPathRole).toString() == selected) item->setSelected(true);
        }
        savedFilters_ = snapshot.studioBoard->filters;
    }
    const QSignalBlocker blocker(saved_);
    saved_->clear();
    saved_->addItem(text::kStudioSavedFilters);
    for (const auto& filter : savedFilters_) saved_->addItem(qs(filter.name));
}

void StudioPage::applySavedFilter(int index) {
    if (index <= 0 || index > static_cast<int>(savedFilters_.size())) return;
    const StudioFilter& filter = savedFilters_[static_cast<std::size_t>(index - 1)];
    const QSignalBlocker kindBlock(kind_), folderBlock(folder_), daysBlock(days_), textBlock(text_);
    kind_->setCurrentIndex(filter.kind ? std::max(0, kind_->findData(qs(fileKindName(*filter.kind)))) : 0);
    folder_->setCurrentIndex(filter.folder ? std::max(0, folder_->findData(qs(*filter.folder))) : 0);
    days_->setCurrentIndex(filter.days ? std::max(0, days_->findData(*filter.days)) : 0);
    text_->setText(qs(filter.text));
    fillGrid();
}

QString StudioPage::selectedFile() const {
    const auto items = grid_->selectedItems();
    return items.isEmpty() ? QString() : items.front()->data(kPathRole).toString();
}

QString StudioPage::selectedReference() const {
    const auto items = references_->selectedItems();
    return items.isEmpty() ? QString() : items.front()->data(kPathRole).toString();
}

QString StudioPage::openProjectId() const {
    return snapshot_ && snapshot_->inventoryProject ? qs(snapshot_->inventoryProject->text()) : QString();
}

void StudioPage::updateButtons() {
    const bool file = !selectedFile().isEmpty();
    const bool open = view_ != nullptr;
    project_->setEnabled(canOperate_);
    enable(reload_, canOperate_, project_->count() > 0);
    for (QPushButton* action : {rename_, sort_, pin_}) enable(action, canOperate_, open && file);
    open_->setEnabled(file);
    showInFolder_->setEnabled(file || !selectedReference().isEmpty());
    enable(unpin_, canOperate_, !selectedReference().isEmpty());
    enable(saveFilter_, canOperate_, open);
    enable(deleteFilter_, canOperate_, open && !savedFilters_.empty());
}

}  // namespace kelo::gui
