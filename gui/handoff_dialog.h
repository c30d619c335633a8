// HandoffDialog: packs one project into "<project>-handoff.zip" in a folder the
// user chooses, with progress, a stop button and the outcome in words. The packing
// is an engine command (sent through the model like every other), so the app's
// busy indicator and refusals work as usual; this dialog only watches it.
// Main thread only.
#pragma once

#include <QDialog>
#include <QTimer>
#include <atomic>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>

#include "gui/app_model.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace kelo::gui {

class HandoffDialog : public QDialog {
public:
    HandoffDialog(AppModel& model, const QString& projectId, const QString& projectName, QWidget* parent = nullptr);
    ~HandoffDialog() override;

    // For tests and the buttons.
    void setExportFolder(const QString& folder);
    void pack();
    void stop();
    bool packing() const;
    QString outcome() const;

private:
    // Shared with the engine command, which may outlive the dialog.
    struct Packing {
        std::atomic<std::uint64_t> done{0};
        std::atomic<std::uint64_t> total{0};
        std::atomic<bool> finished{false};
        std::stop_source stop;
        std::mutex mutex;  // guards outcome
        std::string outcome;
    };
    void poll();
    void updateButtons();

    AppModel& model_;
    QString projectId_;
    QString exportFolder_;
    QLabel* folder_;
    QLabel* outcome_;
    QProgressBar* progress_;
    QPushButton* choose_;
    QPushButton* pack_;
    QPushButton* stop_;
    QTimer poll_;
    std::shared_ptr<Packing> packing_;  // while a packing runs
};

}  // namespace kelo::gui
