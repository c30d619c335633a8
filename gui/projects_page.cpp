#include "gui/projects_page.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QTableWidget>
#include <QVBoxLayout>

#include "gui/duplicates_dialog.h"
#include "gui/handoff_dialog.h"
#include "gui/artwork_texts.h"
#include "gui/presentation.h"
#include "gui/project_icons.h"
#include "gui/questions.h"
#include "gui/sticker_studio_dialog.h"

namespace kelo::gui {

namespace {

enum Column { kName, kStatus, kFolder, kAliases, kColumnCount };
constexpr int kIdRole = Qt::UserRole;
constexpr int kStatusRole = Qt::UserRole + 1;
constexpr int kAliasesRole = Qt::UserRole + 2;
constexpr int kTokenRole = Qt::UserRole;

QTableWidgetItem* cell(const QString& value) {
    auto* item = new QTableWidgetItem(value);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

QPushButton* button(const char* label, const char* name, QWidget* parent) {
    auto* made = new QPushButton(label, parent);
    made->setObjectName(QString::fromLatin1(name));
    return made;
}

QString statusText(ProjectStatus status) {
    switch (status) {
    case ProjectStatus::active: return QString::fromUtf8(text::kProjectActive);
    case ProjectStatus::dormant: return QString::fromUtf8(text::kProjectDormant);
    case ProjectStatus::archived: return QString::fromUtf8(text::kProjectArchived);
    }
    return {};
}

}  // namespace

ProjectsPage::ProjectsPage(AppModel& model, QWidget* parent) : Page(model, parent) {
    auto* layout = new QVBoxLayout(this);
    table_ = new QTableWidget(0, kColumnCount, this);
    table_->setObjectName(QStringLiteral("projectsTable"));
    table_->setHorizontalHeaderLabels(
        {text::kColumnName, text::kColumnStatus, text::kColumnFolder, text::kColumnAliases});
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->verticalHeader()->setVisible(false);
    table_->setIconSize(QSize(24, 24));  // room for the project's folder icon
    // Column widths from the first rows, not all of them: measuring 500 projects'
    // cells took longer than the rest of the page together.
    table_->horizontalHeader()->setResizeContentsPrecision(64);
    connect(table_, &QTableWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    layout->addWidget(table_, 1);
    empty_ = new QLabel(text::kNoProjects, this);
    layout->addWidget(empty_);

    auto* actions = new QHBoxLayout;
    archive_ = button(text::kArchive, "archiveProject", this);
    reopen_ = button(text::kReopen, "reopenProject", this);
    addAlias_ = button(text::kAddAlias, "addAlias", this);
    removeAlias_ = button(text::kRemoveAlias, "removeAlias", this);
    trashProject_ = button(text::kTrashProject, "trashProject", this);
    newProject_ = button(text::kNewProject, "newProject", this);
    findDuplicates_ = button(text::kFindDuplicates, "findDuplicates", this);
    handoff_ = button(text::kHandoff, "handoff", this);
    // Two rows, so the page fits a laptop screen: the project itself, then its tools.
    for (QPushButton* action : {archive_, reopen_, trashProject_}) actions->addWidget(action);
    auto* tools = new QHBoxLayout;
    for (QPushButton* action : {addAlias_, removeAlias_, findDuplicates_, handoff_}) tools->addWidget(action);
    auto* stickerStudio = button(text::kStickerStudio, "stickerStudio", this);
    stickerStudio->setEnabled(false);
    tools->addWidget(stickerStudio);
    tools->addStretch();
    connect(stickerStudio, &QPushButton::clicked, this, [this] { openStickerStudio(model_, selectedId(), this); });
    connect(table_, &QTableWidget::itemSelectionChanged, stickerStudio,
            [this, stickerStudio] { stickerStudio->setEnabled(canOperate_ && !selectedId().isEmpty()); });
    actions->addStretch();
    actions->addWidget(newProject_);
    layout->addLayout(actions);
    layout->addLayout(tools);

    auto* suggestionBox = new QGroupBox(text::kNameSuggestionsTitle, this);
    auto* suggestionLayout = new QHBoxLayout(suggestionBox);
    suggestions_ = new QListWidget(suggestionBox);
    suggestions_->setObjectName(QStringLiteral("nameSuggestions"));
    suggestions_->setMaximumHeight(80);
    accept_ = button(text::kAcceptSuggestion, "acceptSuggestion", suggestionBox);
    defer_ = button(text::kDeferSuggestion, "deferSuggestion", suggestionBox);
    auto* suggestionButtons = new QVBoxLayout;
    suggestionButtons->addWidget(accept_);
    suggestionButtons->addWidget(defer_);
    suggestionButtons->addStretch();
    suggestionLayout->addWidget(suggestions_, 1);
    suggestionLayout->addLayout(suggestionButtons);
    layout->addWidget(suggestionBox);

    connect(archive_, &QPushButton::clicked, this, [this] {
        model_.submit(text::kCommandProject, EngineActions::archiveProject(selectedId().toStdString()));
    });
    connect(reopen_, &QPushButton::clicked, this,
            [this] { model_.submit(text::kCommandProject, EngineActions::reopenProject(selectedId().toStdString())); });
    connect(addAlias_, &QPushButton::clicked, this, [this] {
        if (const auto alias = Questions::askText(this, text::kAddAlias, text::kAliasPrompt)) addAlias(*alias);
    });
    connect(removeAlias_, &QPushButton::clicked, this, [this] {
        if (const auto alias =
                Questions::askItem(this, text::kRemoveAlias, text::kRemoveAliasPrompt, selectedAliases()))
            removeAlias(*alias);
    });
    connect(newProject_, &QPushButton::clicked, this, [this] {
        if (const auto name = Questions::askText(this, text::kNewProject, text::kProjectNamePrompt)) newProject(*name);
    });
    connect(trashProject_, &QPushButton::clicked, this, [this] { askTrash(); });
    connect(findDuplicates_, &QPushButton::clicked, this, [this] { openDuplicates(); });
    connect(handoff_, &QPushButton::clicked, this, [this] { openHandoff(); });

    connect(suggestions_, &QListWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    auto suggested = [this] {
        const QListWidgetItem* item = suggestions_->currentItem();
        return item && item->isSelected() ? item->data(kTokenRole).toString().toStdString() : std::string();
    };
    connect(accept_, &QPushButton::clicked, this, [this, suggested] {
        if (const std::string token = suggested(); !token.empty())
            model_.submit(text::kCommandProject, EngineActions::acceptNameSuggestion(token));
    });
    connect(defer_, &QPushButton::clicked, this, [this, suggested] {
        if (const std::string token = suggested(); !token.empty())
            model_.submit(text::kCommandProject, EngineActions::deferNameSuggestion(token));
    });
    updateButtons();
}

void ProjectsPage::render(const Snapshot* snapshot, bool canOperate) {
    canOperate_ = canOperate;
    const QString selected = selectedId();
    table_->clearContents();
    const int count = snapshot ? static_cast<int>(snapshot->state->projects.size()) : 0;
    table_->setRowCount(count);
    for (int row = 0; row < count; ++row) {
        const Project& project = snapshot->state->projects[static_cast<std::size_t>(row)];
        QStringList aliases;
        for (const auto& alias : project.aliases) aliases << qs(alias);
        auto* name = cell(qs(project.name));
        name->setData(kIdRole, qs(project.id.text()));
        name->setData(kStatusRole, static_cast<int>(project.status));
        name->setData(kAliasesRole, aliases);
        name->setIcon(projectIcon(project));
        table_->setItem(row, kName, name);
        table_->setItem(row, kStatus, cell(statusText(project.status)));
        table_->setItem(row, kFolder, cell(QString::fromStdString(project.destinationFolder.string())));
        table_->setItem(row, kAliases, cell(aliases.join(QStringLiteral(", "))));
        if (name->data(kIdRole).toString() == selected) table_->selectRow(row);
    }
    table_->resizeColumnsToContents();
    table_->horizontalHeader()->setStretchLastSection(true);
    empty_->setVisible(count == 0);

    suggestions_->clear();
    if (snapshot && snapshot->nameSuggestions) {
        for (const auto& suggestion : *snapshot->nameSuggestions) {
            auto* item = new QListWidgetItem(
                QString(text::kSuggestionLine).arg(qs(suggestion.name)).arg(suggestion.fileCount), suggestions_);
            item->setData(kTokenRole, qs(suggestion.token));
        }
    }
    if (suggestions_->count() == 0)
        (new QListWidgetItem(text::kNoNameSuggestions, suggestions_))->setFlags(Qt::NoItemFlags);
    updateButtons();
}

QString ProjectsPage::selectedId() const {
    const auto rows = table_->selectionModel()->selectedRows(kName);
    if (rows.isEmpty()) return {};
    const QTableWidgetItem* item = table_->item(rows.front().row(), kName);
    return item ? item->data(kIdRole).toString() : QString();
}

QStringList ProjectsPage::selectedAliases() const {
    const auto rows = table_->selectionModel()->selectedRows(kName);
    if (rows.isEmpty()) return {};
    const QTableWidgetItem* item = table_->item(rows.front().row(), kName);
    return item ? item->data(kAliasesRole).toStringList() : QStringList();
}

void ProjectsPage::updateButtons() {
    const bool one = !selectedId().isEmpty();
    bool archived = false;
    if (const auto rows = table_->selectionModel()->selectedRows(kName); !rows.isEmpty())
        archived = table_->item(rows.front().row(), kName)->data(kStatusRole).toInt() ==
                   static_cast<int>(ProjectStatus::archived);
    enable(archive_, canOperate_, one && !archived);
    enable(reopen_, canOperate_, one && archived);
    enable(addAlias_, canOperate_, one);
    enable(removeAlias_, canOperate_, one && !selectedAliases().isEmpty());
    enable(trashProject_, canOperate_, one);
    enable(findDuplicates_, canOperate_, one);
    enable(handoff_, canOperate_, one);
    enable(newProject_, canOperate_);
    const QListWidgetItem* suggestion = suggestions_->currentItem();
    const bool chosen = suggestion && suggestion->isSelected() && suggestion->flags() != Qt::NoItemFlags;
    enable(accept_, canOperate_, chosen);
    enable(defer_, canOperate_, chosen);
}

void ProjectsPage::addAlias(const QString& alias) {
    if (!selectedId().isEmpty())
        model_.submit(text::kCommandProject, EngineActions::addAlias(selectedId().toStdString(), alias.toStdString()));
}

void ProjectsPage::removeAlias(const QString& alias) {
    if (!selectedId().isEmpty())
        model_.submit(text::kCommandProject,
                      EngineActions::removeAlias(selectedId().toStdString(), alias.toStdString()));
}

void ProjectsPage::askTrash() {
    const auto rows = table_->selectionModel()->selectedRows(kName);
    if (rows.isEmpty()) return;
    const QString name = table_->item(rows.front().row(), kName)->text();
    if (Questions::confirm(this, text::kTrashProject, QString(text::kTrashProjectConfirm).arg(name))) trashSelected();
}

QString ProjectsPage::selectedName() const {
    const auto rows = table_->selectionModel()->selectedRows(kName);
    return rows.isEmpty() ? QString() : table_->item(rows.front().row(), kName)->text();
}

DuplicatesDialog* ProjectsPage::openDuplicates() {
    if (selectedId().isEmpty()) return nullptr;
    auto* dialog = new DuplicatesDialog(model_, selectedId(), selectedName(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
    return dialog;
}

HandoffDialog* ProjectsPage::openHandoff() {
    if (selectedId().isEmpty()) return nullptr;
    auto* dialog = new HandoffDialog(model_, selectedId(), selectedName(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
    return dialog;
}

void ProjectsPage::trashSelected() {
    if (!selectedId().isEmpty())
        model_.submit(text::kCommandProject, EngineActions::trashProject(selectedId().toStdString()));
}

void ProjectsPage::newProject(const QString& name) {
    model_.submit(text::kCommandProject, EngineActions::newProject(name.toStdString()));
}

}  // namespace kelo::gui
