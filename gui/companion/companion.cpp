#include "gui/companion/companion.h"

#include <QMenu>
#include <QSystemTrayIcon>

#include "gui/companion/companion_choices.h"
#include "gui/companion/companion_texts.h"

namespace kelo::gui {

Companion::Companion(AppModel& model, QWidget& window)
    : QObject(&window), model_(model), window_(window), panel_(std::make_unique<CompanionPanel>(model)) {
    clock_.start();
    panel_->setOpenMainWindow([this] {
        window_.show();
        window_.setWindowState((window_.windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
        window_.raise();
        window_.activateWindow();
    });
    moodTimer_.setInterval(1000);
    connect(&moodTimer_, &QTimer::timeout, this, [this] {
        if (!panel_->isVisible()) return moodTimer_.stop();  // closed with its own button
        refresh();
    });
    readyLater_.setSingleShot(true);
    connect(&readyLater_, &QTimer::timeout, this, [this] { checkReady(); });
    connect(&model_, &AppModel::snapshotChanged, this, [this] {
        panel_->render(model_.snapshot().get(), model_.canOperate());
        refresh();
        checkReady();
    });
    connect(&model_, &AppModel::busyChanged, this, [this] { refresh(); });
    refresh();
}

Companion::~Companion() = default;

void Companion::setShown(bool shown) {
    panel_->setVisible(shown);
    if (shown) {
        panel_->render(model_.snapshot().get(), model_.canOperate());
        refresh();
        moodTimer_.start();
    } else {
        moodTimer_.stop();
    }
}

void Companion::showAtStartIfChosen() {
    if (CompanionChoices::showAtStart()) setShown(true);
}

void Companion::setReduceMotion(bool reduce) {
    panel_->mascot()->setReduceMotion(reduce);
}

void Companion::setMascotName(const QString& name) {
    panel_->setMascotName(name);
}

void Companion::attachTray(QSystemTrayIcon* tray, QMenu* menu) {
    notifier_.setTray(tray);
    if (menu) menu->addAction(QString::fromUtf8(text::kCompanionTrayToggle), this, [this] { setShown(!isShown()); });
}

void Companion::refresh() {
    panel_->mascot()->setMood(mood_.update(model_.snapshot(), model_.busy() || model_.backgroundBusy(), now()));
}

void Companion::checkReady() {
    const SnapshotPtr& snapshot = model_.snapshot();
    if (!snapshot) return;
    const bool hidden = window_.isHidden() || window_.isMinimized();
    const auto count =
        readyNotice_.observe(ReadyNotice::readyFiles(*snapshot), hidden, CompanionChoices::notifyReady(), now());
    if (count) notifier_.notify(QString::number(*count) + QString::fromUtf8(text::kNotifyReadySuffix));
    if (auto due = readyNotice_.dueAt(); due && !readyLater_.isActive())
        readyLater_.start(static_cast<int>(std::max(0.0, *due - now()) * 1000) + 50);
}

}  // namespace kelo::gui
