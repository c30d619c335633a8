#include "gui/zip_cleanup_box.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "engine/zip_cleanup_commands.h"
#include "gui/presentation.h"
#include "gui/texts.h"

namespace kelo::gui {

ZipCleanupBox::ZipCleanupBox(AppModel& model, QWidget* parent)
    : QGroupBox(text::kZipCleanupTitle, parent), model_(model) {
    setObjectName(QStringLiteral("zipCleanup"));
    auto* layout = new QVBoxLayout(this);
    auto* description = new QLabel(qs(std::string(kZipCleanupDescription)), this);
    description->setWordWrap(true);
    layout->addWidget(description);
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(text::kZipCleanupFolder, this));
    folder_ = new QComboBox(this);
    folder_->setObjectName(QStringLiteral("zipCleanupFolder"));
    row->addWidget(folder_, 1);
    enabled_ = new QCheckBox(text::kZipCleanupEnable, this);
    enabled_->setObjectName(QStringLiteral("zipCleanupEnabled"));
    row->addWidget(enabled_);
    layout->addLayout(row);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("zipCleanupStatus"));
    status_->setWordWrap(true);
    layout->addWidget(status_);
    events_ = new QListWidget(this);
    events_->setMaximumHeight(72);
    layout->addWidget(events_);
    // The box shows the engine's state; a click asks for a change and the next
    // snapshot shows whether it took.
    connect(enabled_, &QCheckBox::clicked, this, [this](bool on) {
        enabled_->setChecked(!on);
        on ? switchOn() : switchOff();
    });
}

void ZipCleanupBox::render(const Snapshot* snapshot, bool canOperate) {
    const QSignalBlocker blocker(folder_);
    const QString chosen = folder_->currentData().toString();
    folder_->clear();
    std::optional<ZipCleanupRule> rule;
    if (snapshot) {
        rule = snapshot->state->settings.zipCleanupRule;
        for (const auto& grant : snapshot->state->grants)
            if (grant.role == FolderGrant::Role::watch) folder_->addItem(qs(grant.displayPath), qs(grant.id.text()));
    }
    const QString selected = rule ? qs(rule->folderGrantID.text()) : chosen;
    if (const int index = folder_->findData(selected); index >= 0) folder_->setCurrentIndex(index);
    enabled_->setChecked(rule.has_value());
    folder_->setEnabled(canOperate && !rule);
    enabled_->setEnabled(canOperate && (rule || folder_->count() > 0));

    QString status = snapshot ? qs(snapshot->zipCleanupStatus) : QString();
    if (folder_->count() == 0) status = text::kZipCleanupNoWatched;
    status_->setText(status);
    status_->setVisible(!status.isEmpty());
    events_->clear();
    if (snapshot && !snapshot->zipCleanupEvents.empty()) {
        events_->addItem(text::kZipCleanupLatest);
        const auto& events = snapshot->zipCleanupEvents;
        for (auto it = events.rbegin(); it != events.rend() && events_->count() < 6; ++it)
            events_->addItem(qs(localTimestamp(it->date).substr(0, 16)) + QStringLiteral("  ") + qs(it->filename));
    }
    events_->setVisible(events_->count() > 0);
}

void ZipCleanupBox::switchOn() {
    const QString grant = folder_->currentData().toString();
    if (grant.isEmpty()) return;
    model_.submit(text::kCommandZipCleanup, [grant = grant.toStdString()](Engine& engine) {
        Settings next = engine.state().settings;
        next.zipCleanupRule = ZipCleanupRule{Uuid::random(), *Uuid::parse(grant), engine.now()};
        return engine.updateSettings(next);
    });
}

void ZipCleanupBox::switchOff() {
    model_.submit(text::kCommandZipCleanup, [](Engine& engine) { return ZipCleanupCommands::switchOff(engine); });
}

}  // namespace kelo::gui
