// ZipCleanupBox: the Settings section for the automatic ZIP cleanup: what it does,
// which approved inbox it watches, a switch, the last pass's status and the latest
// ZIPs it sent to the Trash. Switching goes through the engine's settings update,
// which baselines the folder (and may refuse). Main thread only.
#pragma once

#include <QGroupBox>

#include "engine/snapshot.h"
#include "gui/app_model.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;

namespace kelo::gui {

class ZipCleanupBox : public QGroupBox {
public:
    ZipCleanupBox(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate);

    // For tests and the switch: on for the inbox chosen in the list, or off.
    void switchOn();
    void switchOff();

private:
    AppModel& model_;
    QComboBox* folder_;
    QCheckBox* enabled_;
    QLabel* status_;
    QListWidget* events_;
};

}  // namespace kelo::gui
