#include "gui/onboarding_dialog.h"

#include <QButtonGroup>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "gui/presentation.h"
#include "gui/texts.h"

namespace kelo::gui {

namespace {

QLabel* paragraph(const QString& value, QWidget* parent) {
    auto* label = new QLabel(value, parent);
    label->setWordWrap(true);
    return label;
}

}  // namespace

OnboardingDialog::OnboardingDialog(AppModel& model, QWidget* parent, std::filesystem::path sampleParent)
    : QDialog(parent), model_(model), sampleParent_(std::move(sampleParent)) {
    setObjectName(QStringLiteral("onboarding"));
    setWindowTitle(text::kWelcomeTitle);
    setMinimumWidth(560);
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel(text::kWelcomeTitle, this);
    QFont font = title->font();
    font.setPointSize(font.pointSize() + 6);
    font.setBold(true);
    title->setFont(font);
    layout->addWidget(title);
    layout->addWidget(paragraph(text::kWelcomeText, this));
    layout->addWidget(paragraph(QStringLiteral("• ") + text::kWatchRoleText, this));
    layout->addWidget(paragraph(QStringLiteral("• ") + text::kHomeRoleText, this));
    layout->addWidget(paragraph(text::kSafetyText, this));

    auto* folders = new QHBoxLayout;
    auto* watch = new QPushButton(text::kAddWatch, this);
    auto* home = new QPushButton(text::kAddHome, this);
    auto* samples = new QPushButton(text::kTrySamples, this);
    samples->setObjectName(QStringLiteral("trySamples"));
    folders->addWidget(watch);
    folders->addWidget(home);
    layout->addLayout(folders);
    auto* samplesMade = new QLabel(text::kSamplesMade, this);
    samplesMade->setObjectName(QStringLiteral("samplesMade"));
    samplesMade->setWordWrap(true);
    samplesMade->hide();
    layout->addWidget(samples);
    layout->addWidget(samplesMade);
    const bool canOperate = model_.canOperate();
    watch->setEnabled(canOperate);
    home->setEnabled(canOperate);
    samples->setEnabled(canOperate);
    connect(watch, &QPushButton::clicked, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(this, text::kWatchDialogTitle);
        if (!folder.isEmpty()) model_.addGrant(folder.toStdString(), FolderGrant::Role::watch);
    });
    connect(home, &QPushButton::clicked, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(this, text::kHomeDialogTitle);
        if (!folder.isEmpty()) model_.addGrant(folder.toStdString(), FolderGrant::Role::projectHome);
    });
    // One set of sample folders is enough; the note says where to look once the
    // engine has made them.
    connect(samples, &QPushButton::clicked, this, [this, samples, samplesMade] {
        samples->setEnabled(false);
        model_.submit(text::kCommandSample, EngineActions::sampleFolders(sampleParent_));
        connect(
            &model_, &AppModel::snapshotChanged, samplesMade,
            [this, samplesMade] {
                samplesMade_ = true;
                samplesMade->show();
            },
            Qt::SingleShotConnection);
        connect(
            &model_, &AppModel::refused, samples, [samples] { samples->setEnabled(true); }, Qt::SingleShotConnection);
    });

    auto* presetBox = new QGroupBox(text::kChoosePreset, this);
    auto* presetLayout = new QVBoxLayout(presetBox);
    presets_ = new QButtonGroup(this);
    for (const auto& [preset, raw] : rawValues(UsagePreset{})) {
        const UsagePresetValues& values = presetValues(preset);
        auto* choice = new QRadioButton(
            qs(values.title) + QStringLiteral("  —  ") + text::kExample + qs(values.example), presetBox);
        choice->setObjectName(QStringLiteral("preset_") + qs(raw));
        presets_->addButton(choice, static_cast<int>(preset));
        presetLayout->addWidget(choice);
    }
    presets_->button(static_cast<int>(UsagePreset::design))->setChecked(true);
    layout->addWidget(presetBox);

    auto* start = new QPushButton(text::kStart, this);
    start->setObjectName(QStringLiteral("startButton"));
    start->setDefault(true);
    start->setEnabled(canOperate);
    connect(start, &QPushButton::clicked, this, [this] { finish(); });
    layout->addWidget(start, 0, Qt::AlignRight);
}

bool OnboardingDialog::needed(const Snapshot& snapshot) {
    return snapshot.state->settings.onboardingCompleted != true;
}

void OnboardingDialog::finish() {
    if (const SnapshotPtr& snapshot = model_.snapshot()) {
        Settings settings = snapshot->state->settings;
        settings.usagePreset = static_cast<UsagePreset>(presets_->checkedId());
        settings.onboardingCompleted = true;
        model_.updateSettings(std::move(settings));
    }
    accept();
}

}  // namespace kelo::gui
