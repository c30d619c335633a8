// The first-run dialog: explains the two folder roles, lets the user approve an
// inbox and a project home or try the sample folders first (made by the engine in a
// new folder of their own and approved), picks a usage preset, and on "Bắt đầu"
// stores the preset with onboardingCompleted through the engine. Main thread only;
// `model` must outlive the dialog.
#pragma once

#include <QDialog>
#include <filesystem>

#include "gui/app_model.h"

class QButtonGroup;
class QPushButton;

namespace kelo::gui {

class OnboardingDialog : public QDialog {
public:
    // The sample folders go into a new folder inside `sampleParent` (Kelo's data
    // folder when it is empty).
    explicit OnboardingDialog(AppModel& model, QWidget* parent = nullptr,
                              std::filesystem::path sampleParent = {});

    // Whether a snapshot says the user has not finished the first run yet.
    static bool needed(const Snapshot& snapshot);

    // Sends the chosen preset and onboardingCompleted, then closes.
    void finish();
    // Whether the engine made the sample folders from this dialog.
    bool samplesMade() const { return samplesMade_; }

private:
    AppModel& model_;
    std::filesystem::path sampleParent_;
    bool samplesMade_ = false;
    QButtonGroup* presets_;
};

}  // namespace kelo::gui
