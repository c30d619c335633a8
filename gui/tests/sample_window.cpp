#include "gui/tests/sample_window.h"

#include <QCheckBox>

#include "gui/match_model.h"
#include "gui/onboarding_dialog.h"

namespace kelo::gui {

namespace fs = std::filesystem;

void SampleWindow::start() {
    model.start(root / "data", clock);
    QVERIFY(settle(model));
}

void SampleWindow::open() {
    fs::create_directories(inbox);
    fs::create_directories(home);
    start();
    model.addGrant(inbox, FolderGrant::Role::watch);
    model.addGrant(home, FolderGrant::Role::projectHome);
    QVERIFY(settle(model));
    QVERIFY2(model.refusal().isEmpty(), qPrintable(model.refusal()));
    Settings settings = model.snapshot()->state->settings;
    settings.dryRun = false;
    model.updateSettings(settings);
    QVERIFY(settle(model));
}

void SampleWindow::openSamples() {
    start();
    OnboardingDialog dialog(model);  // the samples go into the data folder
    dialog.findChild<QPushButton*>("trySamples")->click();
    QVERIFY(settle(model));
    sampleMessages = model.snapshot()->messages;
    sampleNoteShown = dialog.samplesMade() && !dialog.findChild<QLabel*>("samplesMade")->isHidden();
    // Until the samples are found, the paths stay inside this test's folder, so a
    // failed start never writes anywhere else.
    inbox = root / "no samples/Downloads";
    home = root / "no samples/Projects";
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(root / "data/Sample folders", none)) {
        inbox = entry.path() / "Downloads";
        home = entry.path() / "Projects";
    }
    page(kSettings)->findChild<QCheckBox*>("dryRun")->setChecked(false);
    find(kSettings, "saveSettings")->click();
    QVERIFY(settle(model));
}

void SampleWindow::press(QAbstractButton* button) {
    QVERIFY(button);
    button->click();
    QVERIFY(settle(model));
}

int SampleWindow::row(const QString& name) const {
    return column(files(), MatchModel::kFile).indexOf(name);
}

void SampleWindow::selectFiles(const QStringList& names) const {
    QTableView* table = files();
    table->clearSelection();
    for (const QString& name : names) {
        const int at = row(name);
        QVERIFY2(at >= 0, qPrintable(name));
        table->selectionModel()->select(table->model()->index(at, 0),
                                        QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
}

void SampleWindow::selectProject(const QString& name) const {
    projects()->selectRow(column(projects(), 0).indexOf(name));
}

void SampleWindow::chooseProject(const QString& name) const {
    auto* choice = find<QComboBox>(kMatch, "projectChoice");
    choice->setCurrentIndex(choice->findText(name));
}

}  // namespace kelo::gui
