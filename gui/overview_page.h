// Overview: inbox counts by confidence state, standing issues, what the last command
// said, and a one-click clean of every "Ready" file with its preview.
#pragma once

#include "gui/page.h"

class QLabel;
class QListWidget;

namespace kelo::gui {

class OverviewPage : public Page {
public:
    explicit OverviewPage(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

private:
    void confirmClean();

    QLabel* readyCount_;
    QLabel* probablyCount_;
    QLabel* noIdeaCount_;
    QListWidget* issues_;
    QListWidget* messages_;
    QListWidget* cleanPreview_;
    QLabel* dryRunNote_;
    QPushButton* clean_;
};

}  // namespace kelo::gui
