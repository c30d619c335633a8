// Match: every inbox file with its state, its leading project, the score and the
// signals that explain it, and the actions the user takes on the selected files.
#pragma once

#include <QIcon>
#include <filesystem>
#include <vector>

#include "gui/page.h"

class QComboBox;
class QLabel;
class QTableWidget;
class QTableWidgetItem;

namespace kelo::gui {

class ThumbnailCache;

class MatchPage : public Page {
public:
    explicit MatchPage(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

private:
    struct Selected {
        std::filesystem::path file;
        QString projectId;  // the leading project, empty when none scored
    };
    std::vector<Selected> selection() const;
    void updateButtons();
    void onSelection(const std::function<EngineCommand(const Selected&)>& build);
    void renameSelected();
    void groupSelected();

    QTableWidget* table_;

    // Thumbnails in the File column: a row asks when it is built, and every row
    // showing a file state gets its picture when it arrives.
    void setThumbnail(QTableWidgetItem* item, const FileRecord& file);
    void showThumbnail(const QString& fingerprint, const QImage& image);
    ThumbnailCache* thumbnails_;
    QIcon placeholder_;  // until a file's thumbnail is decoded

    QLabel* suggestions_;
    QComboBox* projects_;
    QPushButton* sort_;
    QPushButton* confirm_;
    QPushButton* reject_;
    QPushButton* leaveAlone_;
    QPushButton* rename_;
    QPushButton* group_;
    QPushButton* trash_;
    QPushButton* keepBoth_;
    bool canOperate_ = false;
};

}  // namespace kelo::gui
