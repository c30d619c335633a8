// MainWindow: the sidebar of pages, the start-up failure banner, the status log
// of what the commands said (a refusal verbatim), and the progress strip while
// the engine works. Closing it never quits (see BackgroundMode).
// Main thread only; `model` must outlive the window.
#pragma once

#include <QMainWindow>
#include <vector>

#include "gui/app_model.h"

class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QSystemTrayIcon;

namespace kelo::gui {

class Page;
class Companion;
class ProgressStrip;
class StatusLog;

class MainWindow : public QMainWindow {
public:
    explicit MainWindow(AppModel& model, QWidget* parent = nullptr);

    // Shows, un-minimises and raises the window: the answer to "keloOpenMainWindow".
    void showAndRaise();
    // Adds the tray icon with "open" and "quit" when the desktop has a tray.
    void installTrayIcon();

    // Renders the model's snapshot into every page.
    void render();
    void showPage(int index);
    Page* page(int index) const { return pages_.at(static_cast<std::size_t>(index)); }
    // The desktop companion: its panel, mood and notifications.
    Companion* companion() const { return companion_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    // Files dragged from the file manager: those in an approved inbox are selected on
    // Match; for any other, one sentence says it was left alone.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

public:
    // What a drop of these local files does (for tests and dropEvent).
    void openFiles(const QStringList& paths);
    // Ctrl+Z: undoes the newest batch that can be undone.
    void undoLatest();

private:
    void showRefusal(const QString& message);
    void showBusy(bool busy);

    AppModel& model_;
    QLabel* startupBanner_;
    StatusLog* statusLog_;
    QListWidget* sidebar_;
    QStackedWidget* stack_;
    std::vector<Page*> pages_;
    ProgressStrip* progress_;
    QPushButton* rescan_;
    QSystemTrayIcon* tray_ = nullptr;
    Companion* companion_ = nullptr;
};

}  // namespace kelo::gui
