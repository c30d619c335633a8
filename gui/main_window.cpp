#include "gui/main_window.h"

#include <QApplication>
#include <QShortcut>
#include <QMimeData>
#include <QFileInfo>
#include <QDropEvent>
#include <QDragEnterEvent>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QSystemTrayIcon>
#include <QVBoxLayout>

#include "gui/background_mode.h"
#include "gui/companion/companion.h"
#include "gui/companion/companion_page.h"
#include "gui/companion/companion_texts.h"
#include "gui/history_page.h"
#include "gui/match_page.h"
#include "gui/page_icons.h"
#include "gui/overview_page.h"
#include "gui/presentation.h"
#include "gui/projects_page.h"
#include "gui/progress_strip.h"
#include "gui/settings_page.h"
#include "gui/status_log.h"
#include "gui/studio_page.h"
#include "gui/studio_texts.h"
#include <QToolButton>
#include "gui/texts.h"

namespace kelo::gui {

namespace {

// A page inside a frameless scroll area that keeps the window's own background.
QWidget* scrollable(QWidget* page, QWidget* parent) {
    auto* area = new QScrollArea(parent);
    area->setObjectName(QStringLiteral("pageScroll"));
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setStyleSheet(QStringLiteral("QScrollArea#pageScroll { border: none; background: transparent; }"));
    area->viewport()->setAutoFillBackground(false);
    area->setWidget(page);
    page->setAutoFillBackground(false);
    return area;
}

}  // namespace

MainWindow::MainWindow(AppModel& model, QWidget* parent) : QMainWindow(parent), model_(model) {
    setWindowTitle(text::kAppTitle);
    setWindowIcon(style()->standardIcon(QStyle::SP_DirHomeIcon));
    resize(1100, 720);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);

    startupBanner_ = new QLabel(central);
    startupBanner_->setObjectName(QStringLiteral("startupBanner"));
    startupBanner_->setWordWrap(true);
    startupBanner_->setStyleSheet(QStringLiteral("QLabel { background: #fbe3e1; color: #8a1c12; padding: 8px; }"));
    startupBanner_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    startupBanner_->hide();
    layout->addWidget(startupBanner_);

    statusLog_ = new StatusLog(central);
    layout->addWidget(statusLog_);

    auto* body = new QHBoxLayout;
    sidebar_ = new QListWidget(central);
    sidebar_->setObjectName(QStringLiteral("sidebar"));
    sidebar_->setFixedWidth(170);
    stack_ = new QStackedWidget(central);
    pages_ = {new OverviewPage(model_, stack_), new MatchPage(model_, stack_), new ProjectsPage(model_, stack_),
              new HistoryPage(model_, stack_), new SettingsPage(model_, stack_)};
    const char* titles[] = {text::kOverviewPage, text::kMatchPage, text::kProjectsPage, text::kHistoryPage,
                            text::kSettingsPage};
    for (std::size_t i = 0; i < pages_.size(); ++i) {
        sidebar_->addItem(QString(titles[i]));
        // Settings is taller than a laptop screen: it scrolls rather than growing the window.
        stack_->addWidget(i == pages_.size() - 1 ? scrollable(pages_[i], stack_) : pages_[i]);
    }
    companion_ = new Companion(model_, *this);
    pages_.push_back(new CompanionPage(model_, *companion_, stack_));
    sidebar_->addItem(QString::fromUtf8(text::kCompanionPage));
    stack_->addWidget(pages_.back());
    // The Studio sits between Projects and History.
    pages_.insert(pages_.begin() + 3, new StudioPage(model_, stack_));
    sidebar_->insertItem(3, QString::fromUtf8(text::kStudioPage));
    stack_->insertWidget(3, pages_[3]);
    const PageIcon icons[] = {PageIcon::overview, PageIcon::match,    PageIcon::projects, PageIcon::studio,
                              PageIcon::history,  PageIcon::settings, PageIcon::companion};
    for (int i = 0; i < sidebar_->count() && i < static_cast<int>(std::size(icons)); ++i)
        sidebar_->item(i)->setIcon(pageIcon(icons[i], palette()));
    sidebar_->setIconSize(QSize(20, 20));
    connect(sidebar_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);
    sidebar_->setCurrentRow(0);
    body->addWidget(sidebar_);
    body->addWidget(stack_, 1);
    layout->addLayout(body, 1);
    setCentralWidget(central);

    progress_ = new ProgressStrip(this);
    rescan_ = new QPushButton(text::kRescan, this);
    connect(rescan_, &QPushButton::clicked, &model_, &AppModel::scan);
    statusBar()->addWidget(progress_);
    statusBar()->addPermanentWidget(statusLog_->historyButton());
    statusBar()->addPermanentWidget(rescan_);
    showBusy(model_.busy());

    setAcceptDrops(true);
    auto* undo = new QShortcut(QKeySequence::Undo, this);
    connect(undo, &QShortcut::activated, this, [this] { undoLatest(); });

    connect(&model_, &AppModel::snapshotChanged, this, [this] { render(); });
    connect(&model_, &AppModel::refused, this, [this](const QString& message) { showRefusal(message); });
    connect(&model_, &AppModel::busyChanged, this, [this](bool busy) { showBusy(busy); });
    render();
}

void MainWindow::render() {
    const Snapshot* snapshot = model_.snapshot().get();
    const bool canOperate = model_.canOperate();
    startupBanner_->setText(model_.startupFailure());
    startupBanner_->setVisible(!model_.startupFailure().isEmpty());
    rescan_->setEnabled(canOperate);

    QStringList messages;
    if (snapshot)
        for (const auto& message : snapshot->messages) messages << qs(message);
    statusLog_->showMessages(messages);

    for (Page* page : pages_) page->render(snapshot, canOperate);
    showBusy(model_.busy());  // the next queued command may have started
}

void MainWindow::showRefusal(const QString& message) {
    statusLog_->showRefusal(message);
}

// Engine commands cannot be stopped halfway (a plan runs whole or is reconciled),
// so their strip has no stop button.
void MainWindow::showBusy(bool busy) {
    const QString label = text::kWorking + model_.busyLabel();
    if (!busy) progress_->end();
    else if (progress_->active()) progress_->relabel(label);
    else progress_->begin(label);
}

void MainWindow::showPage(int index) {
    sidebar_->setCurrentRow(index);
}

void MainWindow::showAndRaise() {
    show();
    setWindowState((windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    raise();
    activateWindow();
}

void MainWindow::installTrayIcon() {
    if (tray_ || !QSystemTrayIcon::isSystemTrayAvailable()) return;
    tray_ = new QSystemTrayIcon(windowIcon(), this);
    auto* menu = new QMenu(this);
    menu->addAction(text::kTrayOpen, this, [this] { showAndRaise(); });
    companion_->attachTray(tray_, menu);
    menu->addAction(text::kTrayQuit, qApp, &QCoreApplication::quit);
    tray_->setContextMenu(menu);
    tray_->setToolTip(text::kAppTitle);
    connect(tray_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) showAndRaise();
    });
    tray_->show();
}

// Closing never quits. Hidden, the window leaves the task bar; otherwise it is
// minimised and stays there.
void MainWindow::closeEvent(QCloseEvent* event) {
    if (BackgroundMode::hideWhenClosed()) {
        event->accept();
        return;
    }
    event->ignore();
    showMinimized();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) paths << url.toLocalFile();
    event->acceptProposedAction();
    openFiles(paths);
}

void MainWindow::openFiles(const QStringList& paths) {
    auto* match = static_cast<MatchPage*>(pages_.at(1));
    QStringList outside;
    for (const QString& path : paths)
        if (match->selectFiles({path}) == 0) outside << QFileInfo(path).fileName();
    if (paths.size() > outside.size()) {
        match->selectFiles(paths);
        showPage(1);
    }
    if (!outside.isEmpty()) showRefusal(QString(text::kDroppedOutsideInbox).arg(outside.join(QStringLiteral(", "))));
}

void MainWindow::undoLatest() {
    const SnapshotPtr& snapshot = model_.snapshot();
    if (!snapshot || !snapshot->history) return;
    for (const auto& batch : *snapshot->history)
        if (batch.canUndo) return model_.submit(text::kCommandUndo, EngineActions::undoBatch(batch.id.text()));
}

}  // namespace kelo::gui
