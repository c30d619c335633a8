// CompanionPanel: the small frameless window that stays on top at the edge of the
// screen: the mascot, the Ready / Probably / No Idea counts, the next suggested sort
// ("file → project", sort or skip), undo of the last batch, and a drop target for a
// file from the file manager. It can be dragged anywhere and remembers where. Every
// file change is an engine command sent through the AppModel; the panel only shows
// snapshots. Main thread only; `model` must outlive the panel.
#pragma once

#include <QPoint>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>

#include "gui/app_model.h"
#include "gui/companion/companion_suggestion.h"
#include "gui/companion/mascot_widget.h"

class QLabel;
class QPushButton;

namespace kelo::gui {

class CompanionPanel : public QWidget {
public:
    explicit CompanionPanel(AppModel& model, QWidget* parent = nullptr);

    void render(const Snapshot* snapshot, bool canOperate);
    void setMascotName(const QString& name);
    MascotWidget* mascot() const { return mascot_; }
    // What "Mở Kelo" does; the companion sets it to raise the main window.
    void setOpenMainWindow(std::function<void()> open) { openMain_ = std::move(open); }

    // Takes a file as if dropped on the panel: offers it for sorting when it lies in
    // an approved inbox, otherwise says in one sentence that it was left alone.
    void dropFile(const std::filesystem::path& file);
    // The sentence shown under the suggestion (a refusal or a hint).
    QString note() const;
    // The suggestion on show, if any.
    const std::optional<Suggestion>& shown() const { return shown_; }
    void skip();
    void sortShown();
    void undoLast();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void refuse(const char* sentence);
    void showSuggestion();

    AppModel& model_;
    MascotWidget* mascot_;
    QLabel* name_;
    QLabel* ready_;
    QLabel* probably_;
    QLabel* noIdea_;
    QLabel* suggestion_;
    QLabel* note_;
    QPushButton* sort_;
    QPushButton* skip_;
    QPushButton* undo_;
    std::function<void()> openMain_;
    std::optional<QPoint> dragFrom_;  // the press point, relative to the panel
    bool canOperate_ = false;
    std::set<std::string> skipped_;
    std::optional<Suggestion> dropped_;                  // a dropped file offered in place of the top suggestion
    std::optional<std::filesystem::path> awaitingScan_;  // a dropped file the next scan should list
    std::optional<Suggestion> shown_;
};

}  // namespace kelo::gui
