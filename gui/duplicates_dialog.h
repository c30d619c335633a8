// DuplicatesDialog: finds the byte-for-byte identical files of one project beside
// the engine, with a progress bar and a stop button, then shows each group with
// thumbnails; the user picks the copy to keep and sends the others to the Trash,
// one engine command per copy (each re-checks both files first). Main thread only.
#pragma once

#include <QDialog>
#include <QTimer>
#include <atomic>
#include <filesystem>
#include <future>
#include <stop_token>
#include <vector>

#include "gui/app_model.h"
#include "gui/thumbnail_cache.h"
#include "model/file_group.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QVBoxLayout;

namespace kelo::gui {

class DuplicatesDialog : public QDialog {
public:
    // Starts searching `projectId` at once. `model` must outlive the dialog.
    DuplicatesDialog(AppModel& model, const QString& projectId, const QString& projectName, QWidget* parent = nullptr);
    ~DuplicatesDialog() override;

    // For tests and the buttons.
    bool searching() const { return search_.valid(); }
    const std::vector<FileGroup>& groups() const { return groups_; }
    QString status() const;
    void stop();
    void keep(std::size_t group, std::size_t file);
    void trashOthers(std::size_t group);

private:
    struct Row {
        std::filesystem::path path;
        QString fingerprint;
        QLabel* picture;
        QLabel* state;
        QRadioButton* keep;
    };
    void poll();
    void showGroups();
    void refreshRows();

    AppModel& model_;
    QLabel* status_;
    QProgressBar* progress_;
    QPushButton* stop_;
    QVBoxLayout* list_;
    QTimer poll_;
    ThumbnailCache thumbnails_{72, 200, this};
    std::stop_source stopSource_;
    std::atomic<std::uint64_t> done_{0};
    std::atomic<std::uint64_t> total_{0};
    std::future<std::vector<FileGroup>> search_;  // valid while searching
    std::vector<FileGroup> groups_;
    std::vector<std::size_t> kept_;  // per group, the index of the copy kept
    std::vector<std::vector<Row>> rows_;
};

}  // namespace kelo::gui
