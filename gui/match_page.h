// Match: every inbox file with its state, its leading project, the score and the
// signals that explain it; the actions the user takes on the selected files (sort
// into a project, confirm or reject the suggestion, leave alone, rename, group,
// trash, keep both after a name conflict); and the clusters of related files, which
// the user may ignore. Every action is an engine command sent through the model.
#pragma once

#include <QFutureWatcher>
#include <QHash>
#include <QIcon>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "classify/classification_engine.h"
#include "gui/page.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QTableView;

namespace kelo::gui {

class AIAskDialog;
class MatchFilter;
class MatchModel;
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
    // "Ask AI" for the one selected file: opens its dialog (null without one file).
    AIAskDialog* askAI();

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

    void renderClusters(const SnapshotPtr& snapshot);
    void showClusters(const std::vector<Cluster>& found);
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

    // Selects the rows showing these files (keys from PathSafety::key); scrolls to
    // the first when asked. Returns how many were found.
    int selectKeys(const std::set<std::string>& keys, bool scroll);
    void showCount();

    QTableView* table_;
    MatchModel* model_files_;
    MatchFilter* filter_;
    QLineEdit* nameFilter_;
    QComboBox* stateFilter_;
    QLabel* shownCount_;
    ProjectDropList* dropList_;

    // Thumbnails in the File column: the rows on screen ask for theirs (and a few
    // below), and each repaints when its picture arrives.
    void requestVisibleThumbnails();
    ThumbnailCache* thumbnails_;

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
    QPushButton* askAI_;
    QListWidget* clusters_;
    QFutureWatcher<std::vector<Cluster>> clusterSearch_;
    std::shared_ptr<const std::vector<FileRecord>> clusterFiles_;  // what the clusters shown were found in
    std::set<std::string> clusterIgnored_;
    QPushButton* ignoreCluster_;
    QPushButton* restoreIgnored_;
    std::vector<SentSort> sentSorts_;
    std::vector<std::pair<QString, QString>> projectNames_;  // id, name; for the group dialog
    QString namingDetail_;
    bool hasIgnored_ = false;
    bool canOperate_ = false;
};

}  // namespace kelo::gui
