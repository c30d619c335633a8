// Settings: the approved folders (add with a folder chooser, remove), the
// thresholds, dry run, display name, usage preset and naming detail, the window's
// behaviour when closed, and forgetting what Kelo learned. The engine validates the settings; its refusals reach the
// user verbatim through the main window's message bar.
#pragma once

#include <optional>

#include "gui/page.h"
#include "model/settings.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;
class QTableWidget;

namespace kelo::gui {
class ZipCleanupBox;
class AISettingsBox;
}

namespace kelo::gui {

class SettingsPage : public Page {
public:
    explicit SettingsPage(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

    // The settings as the form now stands, starting from the snapshot's.
    Settings formSettings() const;
    // Forgets every learned association and decision (after the user confirmed).
    void resetLearning();

private:
    void chooseFolder(FolderGrant::Role role);
    void showSettings(const Settings& settings);

    QTableWidget* grants_;
    QPushButton* addWatch_;
    QPushButton* addHome_;
    QPushButton* remove_;
    QPushButton* reconnect_;
    QSpinBox* ready_;
    QSpinBox* probably_;
    QCheckBox* dryRun_;
    QLineEdit* displayName_;
    QComboBox* preset_;
    QLineEdit* namingDetail_;
    QPushButton* resetLearning_;
    QPushButton* save_;
    QCheckBox* hideWhenClosed_;
    QCheckBox* launchAtLogin_;
    ZipCleanupBox* zipCleanup_;
    AISettingsBox* aiSettings_;
    std::optional<Settings> shown_;  // the engine's settings the form was last filled from
};

}  // namespace kelo::gui
