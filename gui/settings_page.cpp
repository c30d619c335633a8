#include "gui/settings_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTableWidget>
#include <QVBoxLayout>

#include "gui/background_mode.h"
#include "gui/companion/companion_page.h"
#include "gui/presentation.h"
#include "gui/questions.h"
#include "gui/zip_cleanup_box.h"
#include "gui/ai_settings_box.h"

namespace kelo::gui {

namespace {

constexpr int kIdRole = Qt::UserRole;
constexpr int kRoleRole = Qt::UserRole + 1;  // the grant's FolderGrant::Role

// A folder chooser that says what Kelo does with the folder. Qt's own dialog, since
// a desktop's native one has no room for the explanation.
QString askForFolder(QWidget* parent, const QString& title) {
    QFileDialog dialog(parent, title);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    if (auto* grid = qobject_cast<QGridLayout*>(dialog.layout())) {
        auto* note = new QLabel(text::kChooserExplanation, &dialog);
        note->setObjectName(QStringLiteral("chooserExplanation"));
        note->setWordWrap(true);
        grid->addWidget(note, grid->rowCount(), 0, 1, grid->columnCount());
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().front();
}

QTableWidgetItem* cell(const QString& value) {
    auto* item = new QTableWidgetItem(value);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

// Wide enough to let the user type a value the engine will refuse: the engine owns
// the rule, the form does not second-guess it.
QSpinBox* thresholdBox(QWidget* parent, const char* name) {
    auto* box = new QSpinBox(parent);
    box->setObjectName(QString::fromLatin1(name));
    box->setRange(-1000, 1000);
    return box;
}

}  // namespace

SettingsPage::SettingsPage(AppModel& model, QWidget* parent) : Page(model, parent) {
    auto* layout = new QVBoxLayout(this);

    auto* folders = new QGroupBox(text::kFolders, this);
    auto* foldersLayout = new QVBoxLayout(folders);
    grants_ = new QTableWidget(0, 2, folders);
    grants_->setObjectName(QStringLiteral("grantsTable"));
    grants_->setHorizontalHeaderLabels({text::kColumnRole, text::kColumnFolder});
    grants_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grants_->setSelectionMode(QAbstractItemView::SingleSelection);
    grants_->verticalHeader()->setVisible(false);
    grants_->horizontalHeader()->setStretchLastSection(true);
    foldersLayout->addWidget(grants_);
    auto* folderButtons = new QHBoxLayout;
    addWatch_ = new QPushButton(text::kAddWatch, folders);
    addHome_ = new QPushButton(text::kAddHome, folders);
    remove_ = new QPushButton(text::kRemoveFolder, folders);
    remove_->setObjectName(QStringLiteral("removeGrant"));
    reconnect_ = new QPushButton(text::kReconnectFolder, folders);
    reconnect_->setObjectName(QStringLiteral("reconnectGrant"));
    folderButtons->addWidget(addWatch_);
    folderButtons->addWidget(addHome_);
    folderButtons->addStretch();
    folderButtons->addWidget(reconnect_);
    folderButtons->addWidget(remove_);
    foldersLayout->addLayout(folderButtons);
    layout->addWidget(folders, 1);

    connect(addWatch_, &QPushButton::clicked, this, [this] { chooseFolder(FolderGrant::Role::watch); });
    connect(addHome_, &QPushButton::clicked, this, [this] { chooseFolder(FolderGrant::Role::projectHome); });
    connect(remove_, &QPushButton::clicked, this, [this] {
        const auto rows = grants_->selectionModel()->selectedRows(0);
        if (rows.isEmpty()) return;
        model_.removeGrant(grants_->item(rows.front().row(), 0)->data(kIdRole).toString().toStdString());
    });
    connect(reconnect_, &QPushButton::clicked, this, [this] {
        const auto rows = grants_->selectionModel()->selectedRows(0);
        if (rows.isEmpty()) return;
        const QTableWidgetItem* role = grants_->item(rows.front().row(), 0);
        const QString folder = askForFolder(
            this, role->data(kRoleRole).toInt() == static_cast<int>(FolderGrant::Role::watch) ? text::kWatchDialogTitle
                                                                                              : text::kHomeDialogTitle);
        if (!folder.isEmpty())
            model_.reconnectGrant(role->data(kIdRole).toString().toStdString(), folder.toStdString());
    });
    connect(grants_, &QTableWidget::itemSelectionChanged, this, [this] {
        const bool chosen = grants_->selectionModel()->hasSelection();
        enable(remove_, model_.canOperate(), chosen);
        enable(reconnect_, model_.canOperate(), chosen);
    });

    auto* preferences = new QGroupBox(text::kPreferences, this);
    auto* form = new QFormLayout(preferences);
    ready_ = thresholdBox(preferences, "readyThreshold");
    probably_ = thresholdBox(preferences, "probablyThreshold");
    auto* thresholds = new QHBoxLayout;
    thresholds->addWidget(new QLabel(text::kReadyAt, preferences));
    thresholds->addWidget(ready_);
    thresholds->addSpacing(16);
    thresholds->addWidget(new QLabel(text::kProbablyAt, preferences));
    thresholds->addWidget(probably_);
    thresholds->addStretch();
    form->addRow(text::kThresholds, thresholds);
    dryRun_ = new QCheckBox(text::kDryRun, preferences);
    dryRun_->setObjectName(QStringLiteral("dryRun"));
    form->addRow(QString(), dryRun_);
    displayName_ = new QLineEdit(preferences);
    displayName_->setObjectName(QStringLiteral("displayName"));
    form->addRow(text::kDisplayName, displayName_);
    preset_ = new QComboBox(preferences);
    preset_->setObjectName(QStringLiteral("usagePreset"));
    preset_->addItem(text::kNoPreset, -1);
    for (const auto& [preset, raw] : rawValues(UsagePreset{}))
        preset_->addItem(presetTitle(preset), static_cast<int>(preset));
    form->addRow(text::kPreset, preset_);
    namingDetail_ = new QLineEdit(preferences);
    namingDetail_->setObjectName(QStringLiteral("namingDetail"));
    form->addRow(text::kNamingDetail, namingDetail_);
    save_ = new QPushButton(text::kSave, preferences);
    save_->setObjectName(QStringLiteral("saveSettings"));
    auto* saveRow = new QHBoxLayout;
    saveRow->addWidget(save_);
    saveRow->addStretch();
    form->addRow(QString(), saveRow);
    connect(save_, &QPushButton::clicked, this, [this] { model_.updateSettings(formSettings()); });
    layout->addWidget(preferences);

    auto* app = new QGroupBox(text::kApp, this);
    auto* appRow = new QHBoxLayout;
    appRow->addWidget(app, 1);
    hideWhenClosed_ = new QCheckBox(text::kHideWhenClosed, app);
    hideWhenClosed_->setObjectName(QStringLiteral("hideWhenClosed"));
    hideWhenClosed_->setChecked(BackgroundMode::hideWhenClosed());
    connect(hideWhenClosed_, &QCheckBox::toggled, this, [](bool on) { BackgroundMode::setHideWhenClosed(on); });
    launchAtLogin_ = new QCheckBox(text::kLaunchAtLogin, app);
    launchAtLogin_->setObjectName(QStringLiteral("launchAtLogin"));
    launchAtLogin_->setChecked(BackgroundMode::isLaunchAtLoginEnabled());
    // The box always shows what is on disk, even when the change failed.
    connect(launchAtLogin_, &QCheckBox::clicked, this, [this](bool on) {
        BackgroundMode::setLaunchAtLogin(on);
        launchAtLogin_->setChecked(BackgroundMode::isLaunchAtLoginEnabled());
    });
    auto* appLayout = new QVBoxLayout(app);
    appLayout->addWidget(hideWhenClosed_);
    appLayout->addWidget(launchAtLogin_);
    appLayout->addWidget(makeReadyNotificationSwitch(app));

    auto* learning = new QGroupBox(text::kLearning, this);
    resetLearning_ = new QPushButton(text::kResetLearning, learning);
    resetLearning_->setObjectName(QStringLiteral("resetLearning"));
    connect(resetLearning_, &QPushButton::clicked, this, [this] {
        if (Questions::confirm(this, text::kLearning, text::kResetConfirm)) resetLearning();
    });
    auto* learningLayout = new QVBoxLayout(learning);
    learningLayout->addWidget(resetLearning_);
    learningLayout->addStretch();
    appRow->addWidget(learning);
    layout->addLayout(appRow);
    zipCleanup_ = new ZipCleanupBox(model_, this);
    layout->addWidget(zipCleanup_);
    aiSettings_ = new AISettingsBox(model_, this);
    layout->addWidget(aiSettings_);
}

void SettingsPage::render(const Snapshot* snapshot, bool canOperate) {
    grants_->clearContents();
    const int count = snapshot ? static_cast<int>(snapshot->state->grants.size()) : 0;
    grants_->setRowCount(count);
    for (int row = 0; row < count; ++row) {
        const FolderGrant& grant = snapshot->state->grants[static_cast<std::size_t>(row)];
        auto* role = cell(grant.role == FolderGrant::Role::watch ? text::kRoleWatch : text::kRoleHome);
        role->setData(kIdRole, qs(grant.id.text()));
        role->setData(kRoleRole, static_cast<int>(grant.role));
        grants_->setItem(row, 0, role);
        grants_->setItem(row, 1, cell(qs(grant.displayPath)));
    }
    grants_->resizeColumnToContents(0);

    // Refill the form only when the engine's settings changed, so a refused value
    // stays in the form for the user to correct.
    if (snapshot && shown_ != snapshot->state->settings) showSettings(snapshot->state->settings);

    enable(addWatch_, canOperate);
    enable(addHome_, canOperate);
    enable(remove_, canOperate, grants_->selectionModel()->hasSelection());
    enable(reconnect_, canOperate, grants_->selectionModel()->hasSelection());
    enable(save_, canOperate && snapshot);
    enable(resetLearning_, canOperate && snapshot);
    zipCleanup_->render(snapshot, canOperate);
    aiSettings_->render(snapshot, canOperate);
}

void SettingsPage::showSettings(const Settings& settings) {
    shown_ = settings;
    ready_->setValue(settings.thresholds.ready);
    probably_->setValue(settings.thresholds.probably);
    dryRun_->setChecked(settings.dryRun);
    displayName_->setText(settings.displayName ? qs(*settings.displayName) : QString());
    preset_->setCurrentIndex(preset_->findData(settings.usagePreset ? static_cast<int>(*settings.usagePreset) : -1));
    namingDetail_->setText(settings.namingDetail ? qs(*settings.namingDetail) : QString());
    namingDetail_->setPlaceholderText(qs(settings.suggestedNamingDetail()));
}

Settings SettingsPage::formSettings() const {
    Settings settings = shown_.value_or(Settings{});
    settings.thresholds.ready = ready_->value();
    settings.thresholds.probably = probably_->value();
    settings.dryRun = dryRun_->isChecked();
    settings.displayName = Settings::normalizeName(displayName_->text().toStdString());
    const int preset = preset_->currentData().toInt();
    settings.usagePreset = preset < 0 ? std::nullopt : std::optional(static_cast<UsagePreset>(preset));
    const QString detail = namingDetail_->text().trimmed();
    settings.namingDetail = detail.isEmpty() ? std::nullopt : std::optional(detail.toStdString());
    return settings;
}

void SettingsPage::resetLearning() {
    model_.submit(text::kCommandLearning, EngineActions::resetLearning());
}

void SettingsPage::chooseFolder(FolderGrant::Role role) {
    const QString title = role == FolderGrant::Role::watch ? text::kWatchDialogTitle : text::kHomeDialogTitle;
    const QString folder = askForFolder(this, title);
    if (!folder.isEmpty()) model_.addGrant(folder.toStdString(), role);
}

}  // namespace kelo::gui
