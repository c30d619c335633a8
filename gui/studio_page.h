// Studio: the workspace of one project. A project picker; a compact dashboard of
// the project's insights (totals, newest and largest files, names off the project's
// naming, stale files) with a chart of sizes by category folder; the file grid with
// thumbnails, narrowed by kind, folder, age and words of the name, with saved
// filters; the references board; and per file: open it, show it in the file
// manager, pin it, rename it or sort it into a category folder. What it shows comes
// from the snapshot's `inventory` and board; every change is an engine command sent
// through the model. Main thread only.
#pragma once

#include <QHash>
#include <memory>
#include <optional>

#include "gui/page.h"
#include "studio/studio_filter.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;

namespace kelo {
struct StudioProjectView;
}

namespace kelo::gui {

class SizeChart;
class ThumbnailCache;

class StudioPage : public Page {
public:
    // At most this many files are laid out in the grid at once; the count says how
    // many more the filter matched.
    static constexpr int kGridLimit = 300;

    explicit StudioPage(AppModel& model, QWidget* parent = nullptr);
    ~StudioPage() override;
    void render(const Snapshot* snapshot, bool canOperate) override;

    // The filter the controls describe.
    StudioFilter currentFilter() const;
    // The actions behind the buttons that ask something first, for tests.
    void renameSelected(const QString& newName);
    void saveCurrentFilter(const QString& name);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildFilterRow();
    void openProject(const QString& id);
    void fillProjects(const Snapshot& snapshot);
    void fillDashboard();
    void fillGrid();
    void fillBoard(const Snapshot& snapshot);
    void applySavedFilter(int index);
    void updateButtons();
    void showThumbnail(const QString& fingerprint, const QImage& image);
    QString selectedFile() const;
    QString selectedReference() const;
    QString openProjectId() const;

    QComboBox* project_;
    QComboBox* kind_;
    QComboBox* folder_;
    QComboBox* days_;
    QLineEdit* text_;
    QComboBox* saved_;
    QPushButton* reload_;
    QPushButton* saveFilter_;
    QPushButton* deleteFilter_;
    QLabel* totals_;
    QLabel* highlights_;
    SizeChart* chart_;
    QLabel* shown_;
    QListWidget* grid_;
    QListWidget* references_;
    QPushButton* pin_;
    QPushButton* unpin_;
    QPushButton* open_;
    QPushButton* showInFolder_;
    QPushButton* rename_;
    QPushButton* sort_;
    QLabel* empty_;
    ThumbnailCache* thumbnails_ = nullptr;  // a child, decoded at twice the edge for 2x screens
    QHash<QString, QListWidgetItem*> itemsByFingerprint_;

    SnapshotPtr snapshot_;  // the last one rendered, for its Studio view and board
    std::shared_ptr<const StudioProjectView> view_;
    std::vector<StudioFilter> savedFilters_;
    bool canOperate_ = false;
    bool askedToOpen_ = false;
};

}  // namespace kelo::gui
