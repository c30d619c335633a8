// Match: every inbox file with its state, its leading project, the score and the
// signals that explain it; the actions the user takes on the selected files (sort
// into a project, confirm or reject the suggestion, leave alone, rename, group,
// trash, keep both after a name conflict); and the clusters of related files, which
// the user may ignore. Every action is an engine command sent through the model.
#pragma once

#include <QHash>
#include <QIcon>
#include <filesystem>
#include <functional>
#include <vector>

#include "gui/page.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QTableWidget;
class QTableWidgetItem;

namespace kelo::gui {

class ProjectDropList;
class RenameDialog;
class ThumbnailCache;

class MatchPage : public Page {
public:
    explicit MatchPage(AppModel& model, QWidget* parent = nullptr);
    void render(const Snapshot* snapshot, bool canOperate) override;

    // The actions behind the buttons that ask something first, for the dialogs and
    // for tests: each acts on the selected files.
    void renameSelected(const NameParts& parts);
    void groupSelected(const QString& folderName, const QString& projectId);
    // What dropping the selected rows on a project does: sorts them into it, through
    // the same command as the sort button.
    void sortInto(const QString& projectId);
    // Selects the rows of these files (absolute paths); returns how many were found.
    int selectFiles(const QStringList& paths);

private:
    struct Selected {
        std::filesystem::path file;
        QString projectId;  // the leading project, empty when none scored
    };
    // A sort the user sent, remembered so "keep both" can repeat it.
    struct SentSort {
        std::filesystem::path file;
        Placement placement;
        bool conflicted = false;  // the engine reported a name conflict for it
    };

    // Fills one row of the file table from the file's classification.
    void buildFileRow(int row, const Classification& classification, const Snapshot& snapshot);
    void renderClusters(const Snapshot* snapshot);
    void noteConflicts(const Snapshot& snapshot);
    void followSuggestion();
    std::vector<Selected> selection() const;
    void updateButtons();
    void onSelection(const std::function<EngineCommand(const Selected&)>& build);
    Placement chosenPlacement() const;
    void sortSelected();
    void keepBoth();
    void askRename();
    void offerTextReading(RenameDialog& dialog, const std::filesystem::path& file) const;
    void askGroup();

    QTableWidget* table_;
    ProjectDropList* dropList_;

    // Thumbnails in the File column: a row asks when it is built, and every row
    // showing a file state gets its picture when it arrives.
    void setThumbnail(QTableWidgetItem* item, const FileRecord& file);
    void showThumbnail(const QString& fingerprint, const QImage& image);
    // Asks for the thumbnails of the rows on screen (and a few below).
    void requestVisibleThumbnails();
    QHash<QString, int> rowOfFingerprint_;  // the row showing each file state
    ThumbnailCache* thumbnails_;
    QIcon placeholder_;  // until a file's thumbnail is decoded

    QLabel* noFiles_;
    QLabel* dryRunNote_;
    QComboBox* projects_;
    QComboBox* category_;
    QLineEdit* subfolder_;
    QPushButton* sort_;
    QPushButton* confirm_;
    QPushButton* reject_;
    QPushButton* leaveAlone_;
    QPushButton* rename_;
    QPushButton* group_;
    QPushButton* trash_;
    QPushButton* keepBoth_;
    QListWidget* clusters_;
    QPushButton* ignoreCluster_;
    QPushButton* restoreIgnored_;
    std::vector<SentSort> sentSorts_;
    std::vector<std::pair<QString, QString>> projectNames_;  // id, name; for the group dialog
    QString namingDetail_;
    bool hasIgnored_ = false;
    bool canOperate_ = false;
};

}  // namespace kelo::gui
