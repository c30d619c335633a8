// AISettingsBox: the Settings section for online AI: what is sent and the two
// consents, the switch, the daily cap with today's use and any pause, the approved
// folders whose files may be sent, and the key (typed masked; saved in the keyring,
// kept for this session only, or forgotten). Every change goes to the engine; the
// next snapshot shows whether it took. The typed key is cleared from the field as
// soon as it is handed over. Main thread only.
#pragma once

#include <QGroupBox>

#include "engine/snapshot.h"
#include "gui/app_model.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace kelo::gui {

class AISettingsBox : public QGroupBox {
public:
    AISettingsBox(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate);

    // For tests and the buttons.
    void saveSettings();
    void saveKey();
    void useSessionKey();
    void forgetKey();

protected:
    // The keyring is asked whether a key is saved the first time the box is seen,
    // not at start-up.
    void showEvent(QShowEvent* event) override;

private:
    AppModel& model_;
    QCheckBox* enabled_;
    QCheckBox* freeTier_;
    QCheckBox* dataUse_;
    QCheckBox* automatic_;
    QSpinBox* cap_;
    QLabel* usage_;
    QListWidget* folders_;
    QPushButton* save_;
    QLineEdit* key_;
    QPushButton* saveKey_;
    QPushButton* sessionKey_;
    QPushButton* forgetKey_;
    QLabel* keyStatus_;
    QLabel* issue_;
    std::optional<AIConfiguration> shown_;  // the engine's settings the form was last filled from
    std::vector<std::string> shownFolders_;  // the approved folders the list was last filled from
    bool keyChecked_ = false;
};

}  // namespace kelo::gui
