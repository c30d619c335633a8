// CompanionPage: the main window's page for the companion: show it now or at start,
// reduce motion, the mascot's name, and a still preview of each mood. The choices
// are the user's QSettings (CompanionChoices). Main thread only; `companion` must
// outlive the page.
#pragma once

#include "gui/page.h"

class QCheckBox;
class QLineEdit;

namespace kelo::gui {

class Companion;
class MascotWidget;

class CompanionPage : public Page {
public:
    CompanionPage(AppModel& model, Companion& companion, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

protected:
    // The panel may have been hidden from the tray or its own button meanwhile.
    void showEvent(QShowEvent* event) override;

private:
    void showToggle();

    Companion& companion_;
    QPushButton* toggle_;
    QCheckBox* showAtStart_;
    QCheckBox* reduceMotion_;
    QLineEdit* name_;
    std::vector<MascotWidget*> previews_;
};

// The Settings switch for "new files are Ready" notifications.
QCheckBox* makeReadyNotificationSwitch(QWidget* parent);

}  // namespace kelo::gui
