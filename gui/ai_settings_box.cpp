#include "gui/ai_settings_box.h"

#include <QCheckBox>
#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "access/path_safety.h"
#include "ai/ai_eligibility.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "gui/ai_texts.h"
#include "gui/presentation.h"

namespace kelo::gui {

namespace {

QCheckBox* checkBox(const char* label, const char* name, QWidget* parent, QVBoxLayout* layout) {
    auto* box = new QCheckBox(QString::fromUtf8(label), parent);
    box->setObjectName(QString::fromUtf8(name));
    layout->addWidget(box);
    return box;
}

QPushButton* button(const char* label, const char* name, QWidget* parent, QHBoxLayout* row) {
    auto* b = new QPushButton(QString::fromUtf8(label), parent);
    b->setObjectName(QString::fromUtf8(name));
    row->addWidget(b);
    return b;
}

}  // namespace

AISettingsBox::AISettingsBox(AppModel& model, QWidget* parent)
    : QGroupBox(QString::fromUtf8(text::kAITitle), parent), model_(model) {
    setObjectName(QStringLiteral("aiSettings"));
    auto* layout = new QVBoxLayout(this);
    auto* intro = new QLabel(QString::fromUtf8(text::kAIIntro), this);
    intro->setWordWrap(true);
    layout->addWidget(intro);
    enabled_ = checkBox(text::kAIEnabled, "aiEnabled", this, layout);
    freeTier_ = checkBox(text::kAIFreeTier, "aiFreeTier", this, layout);
    dataUse_ = checkBox(text::kAIDataUse, "aiDataUse", this, layout);
    automatic_ = checkBox(text::kAIAutomatic, "aiAutomatic", this, layout);

    auto* capRow = new QHBoxLayout;
    capRow->addWidget(new QLabel(QString::fromUtf8(text::kAIDailyCap), this));
    cap_ = new QSpinBox(this);
    cap_->setObjectName(QStringLiteral("aiDailyCap"));
    cap_->setRange(1, 50);
    cap_->setSuffix(QString::fromUtf8(text::kAIRequestsSuffix));
    capRow->addWidget(cap_);
    usage_ = new QLabel(this);
    usage_->setObjectName(QStringLiteral("aiUsage"));
    capRow->addWidget(usage_, 1);
    layout->addLayout(capRow);

    layout->addWidget(new QLabel(QString::fromUtf8(text::kAIFolders), this));
    folders_ = new QListWidget(this);
    folders_->setObjectName(QStringLiteral("aiFolders"));
    folders_->setMaximumHeight(72);
    layout->addWidget(folders_);
    auto* support = new QLabel(qs(AIEligibility::kPreviewSupportText), this);
    support->setWordWrap(true);
    layout->addWidget(support);
    auto* saveRow = new QHBoxLayout;
    saveRow->addStretch();
    save_ = button(text::kAISave, "aiSave", this, saveRow);
    layout->addLayout(saveRow);

    auto* keyRow = new QHBoxLayout;
    keyRow->addWidget(new QLabel(QString::fromUtf8(text::kAIKeyLabel), this));
    key_ = new QLineEdit(this);
    key_->setObjectName(QStringLiteral("aiKey"));
    key_->setEchoMode(QLineEdit::Password);
    key_->setPlaceholderText(QString::fromUtf8(text::kAIKeyPlaceholder));
    keyRow->addWidget(key_, 1);
    saveKey_ = button(text::kAIKeySave, "aiKeySave", this, keyRow);
    sessionKey_ = button(text::kAIKeySession, "aiKeySession", this, keyRow);
    forgetKey_ = button(text::kAIKeyForget, "aiKeyForget", this, keyRow);
    layout->addLayout(keyRow);
    keyStatus_ = new QLabel(this);
    keyStatus_->setObjectName(QStringLiteral("aiKeyStatus"));
    layout->addWidget(keyStatus_);
    issue_ = new QLabel(this);
    issue_->setObjectName(QStringLiteral("aiIssue"));
    issue_->setWordWrap(true);
    layout->addWidget(issue_);

    connect(save_, &QPushButton::clicked, this, [this] { saveSettings(); });
    connect(saveKey_, &QPushButton::clicked, this, [this] { saveKey(); });
    connect(sessionKey_, &QPushButton::clicked, this, [this] { useSessionKey(); });
    connect(forgetKey_, &QPushButton::clicked, this, [this] { forgetKey(); });
}

void AISettingsBox::render(const Snapshot* snapshot, bool canOperate) {
    const AIState* ai = snapshot ? snapshot->ai.get() : nullptr;
    std::vector<std::string> approved;
    if (snapshot)
        for (const auto& grant : snapshot->state->grants) approved.push_back(PathSafety::key(grant.displayPath));
    // Refill the form only when the engine's settings or the approved folders
    // changed, so unsaved ticks stay.
    if (ai && (shown_ != ai->configuration || shownFolders_ != approved)) {
        shownFolders_ = approved;
        const AIConfiguration& c = ai->configuration;
        shown_ = c;
        enabled_->setChecked(c.enabled);
        freeTier_->setChecked(c.freeTierConfirmed);
        dataUse_->setChecked(c.dataUseAcknowledged);
        automatic_->setChecked(c.automatic);
        cap_->setValue(static_cast<int>(c.dailyLimit));
        folders_->clear();
        for (const auto& grant : snapshot->state->grants) {
            const QString path = qs(grant.displayPath);
            auto* item = new QListWidgetItem(path, folders_);
            const std::string key = PathSafety::key(grant.displayPath);
            item->setData(Qt::UserRole, qs(key));
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
            const bool allowed =
                std::find(c.allowedFolders.begin(), c.allowedFolders.end(), key) != c.allowedFolders.end();
            item->setCheckState(allowed ? Qt::Checked : Qt::Unchecked);
        }
    }
    if (ai) {
        const Date now = model_.now();
        QString usage = QString::fromUtf8(text::kAIUsedToday)
                            .arg(ai->used(now, DayCalendar()))
                            .arg(ai->configuration.dailyLimit);
        if (ai->pausedUntil && *ai->pausedUntil > now)
            usage += QStringLiteral(" ") +
                     QString::fromUtf8(text::kAIPausedUntil).arg(qs(localTimestamp(*ai->pausedUntil).substr(0, 16)));
        usage_->setText(usage);
    }
    const bool hasKey = snapshot && snapshot->aiHasKey, session = snapshot && snapshot->aiSessionKey;
    keyStatus_->setText(QString::fromUtf8(session ? text::kAIKeySessionOnly : hasKey ? text::kAIKeySaved
                                                                                     : text::kAIKeyNone));
    const QString issue = snapshot && snapshot->aiStorageIssue ? qs(*snapshot->aiStorageIssue) : QString();
    issue_->setText(issue);
    issue_->setVisible(!issue.isEmpty());
    const bool usable = canOperate && ai && !snapshot->aiStorageIssue;
    for (QWidget* w : {static_cast<QWidget*>(enabled_), static_cast<QWidget*>(freeTier_),
                       static_cast<QWidget*>(dataUse_), static_cast<QWidget*>(automatic_),
                       static_cast<QWidget*>(cap_), static_cast<QWidget*>(folders_), static_cast<QWidget*>(save_)})
        w->setEnabled(usable);
    for (QWidget* w : {static_cast<QWidget*>(key_), static_cast<QWidget*>(saveKey_),
                       static_cast<QWidget*>(sessionKey_), static_cast<QWidget*>(forgetKey_)})
        w->setEnabled(canOperate);
}

void AISettingsBox::saveSettings() {
    if (!shown_) return;
    AIConfiguration next = *shown_;
    next.enabled = enabled_->isChecked();
    next.freeTierConfirmed = freeTier_->isChecked();
    next.dataUseAcknowledged = dataUse_->isChecked();
    next.automatic = automatic_->isChecked();
    next.dailyLimit = cap_->value();
    next.allowedFolders.clear();
    for (int row = 0; row < folders_->count(); ++row)
        if (folders_->item(row)->checkState() == Qt::Checked)
            next.allowedFolders.push_back(folders_->item(row)->data(Qt::UserRole).toString().toStdString());
    model_.submit(QString::fromUtf8(text::kCommandAISettings),
                  [next](Engine& engine) { return AICommands::configureAI(engine, next); });
}

void AISettingsBox::saveKey() {
    const std::string key = key_->text().toStdString();
    key_->clear();
    model_.submit(QString::fromUtf8(text::kCommandAIKey),
                  [key](Engine& engine) { return AICommands::saveAIKey(engine, key); });
}

void AISettingsBox::useSessionKey() {
    const std::string key = key_->text().toStdString();
    key_->clear();
    model_.submit(QString::fromUtf8(text::kCommandAIKey),
                  [key](Engine& engine) { return AICommands::useSessionAIKey(engine, key); });
}

void AISettingsBox::forgetKey() {
    model_.submit(QString::fromUtf8(text::kCommandAIKey), [](Engine& engine) { return AICommands::forgetAIKey(engine); });
}

void AISettingsBox::showEvent(QShowEvent* event) {
    QGroupBox::showEvent(event);
    if (keyChecked_ || !model_.canOperate()) return;
    keyChecked_ = true;
    model_.submit(QString::fromUtf8(text::kCommandAIKey), [](Engine& engine) { return AICommands::refreshAIKey(engine); });
}

}  // namespace kelo::gui
