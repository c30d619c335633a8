#include "gui/projects_page.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

#include "gui/presentation.h"

namespace kelo::gui {

namespace {

enum Column { kName, kStatus, kFolder, kAliases, kColumnCount };
constexpr int kIdRole = Qt::UserRole;

QTableWidgetItem* cell(const QString& value) {
    auto* item = new QTableWidgetItem(value);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
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
    connect(table_, &QTableWidget::itemSelectionChanged, this, [this] { updateButtons(); });
    layout->addWidget(table_, 1);
    empty_ = new QLabel(text::kNoProjects, this);
    layout->addWidget(empty_);

    auto* actions = new QHBoxLayout;
    status_ = new QComboBox(this);
    for (const auto& [status, raw] : rawValues(ProjectStatus{})) status_->addItem(qs(raw), static_cast<int>(status));
    setStatus_ = new QPushButton(text::kSetStatus, this);
    addAlias_ = new QPushButton(text::kAddAlias, this);
    newProject_ = new QPushButton(text::kNewProject, this);
    trashProject_ = new QPushButton(text::kTrashProject, this);
    actions->addWidget(status_);
    actions->addWidget(setStatus_);
    actions->addWidget(addAlias_);
    actions->addWidget(trashProject_);
    actions->addStretch();
    actions->addWidget(newProject_);
    layout->addLayout(actions);

    connect(setStatus_, &QPushButton::clicked, this, [this] {
        const auto status = static_cast<ProjectStatus>(status_->currentData().toInt());
        model_.submit(text::kCommandProject, EngineActions::setProjectStatus(selectedId().toStdString(), status));
    });
    connect(addAlias_, &QPushButton::clicked, this, [this] {
        bool ok = false;
        const QString alias =
            QInputDialog::getText(this, text::kAddAlias, text::kAliasPrompt, QLineEdit::Normal, {}, &ok);
        if (ok && !alias.trimmed().isEmpty())
            model_.submit(text::kCommandProject,
                          EngineActions::addAlias(selectedId().toStdString(), alias.trimmed().toStdString()));
    });
    connect(newProject_, &QPushButton::clicked, this, [this] {
        bool ok = false;
        const QString name =
            QInputDialog::getText(this, text::kNewProject, text::kProjectNamePrompt, QLineEdit::Normal, {}, &ok);
        if (ok && !name.trimmed().isEmpty())
            model_.submit(text::kCommandProject, EngineActions::newProject(name.trimmed().toStdString()));
    });
    connect(trashProject_, &QPushButton::clicked, this,
            [this] { model_.submit(text::kCommandProject, EngineActions::trashProject(selectedId().toStdString())); });
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
        table_->setItem(row, kName, name);
        table_->setItem(row, kStatus, cell(qs(rawValue(project.status))));
        table_->setItem(row, kFolder, cell(QString::fromStdString(project.destinationFolder.string())));
        table_->setItem(row, kAliases, cell(aliases.join(QStringLiteral(", "))));
        if (name->data(kIdRole).toString() == selected) table_->selectRow(row);
    }
    table_->resizeColumnsToContents();
    table_->horizontalHeader()->setStretchLastSection(true);
    empty_->setVisible(count == 0);
    updateButtons();
}

QString ProjectsPage::selectedId() const {
    const auto rows = table_->selectionModel()->selectedRows(kName);
    if (rows.isEmpty()) return {};
    const QTableWidgetItem* item = table_->item(rows.front().row(), kName);
    return item ? item->data(kIdRole).toString() : QString();
}

void ProjectsPage::updateButtons() {
    const bool one = !selectedId().isEmpty();
    enableAction(setStatus_, EngineAction::setProjectStatus, canOperate_, one);
    enableAction(addAlias_, EngineAction::addAlias, canOperate_, one);
    enableAction(trashProject_, EngineAction::trashProject, canOperate_, one);
    enableAction(newProject_, EngineAction::newProject, canOperate_);
    status_->setEnabled(setStatus_->isEnabled());
}

}  // namespace kelo::gui
