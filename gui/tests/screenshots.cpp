// kelo-gui-screenshots DIR: fills a window from sample folders in a temporary
// directory (a real engine, two real sorts so History has batches) and saves a PNG
// of every page, the first-run and rename dialogs and a failed start-up into DIR. Run it on the
// offscreen platform; it never touches the user's own folders or settings.
#include <QApplication>
#include <QDir>
#include <QTableWidget>
#include <cstdio>

#include "gui/app_model.h"
#include "gui/main_window.h"
#include "gui/onboarding_dialog.h"
#include "gui/page.h"
#include "gui/rename_dialog.h"
#include "support/temp_dir.h"

using namespace kelo;
using namespace kelo::gui;
using kelo::testing::TempDir;
using kelo::testing::writeFile;

namespace {

void settle(AppModel& model) {
    while (model.busy()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    QCoreApplication::processEvents();
}

void save(QWidget& widget, const QDir& dir, const QString& name) {
    QCoreApplication::processEvents();
    const QString path = dir.filePath(name + ".png");
    if (!widget.grab().save(path)) std::fprintf(stderr, "could not write %s\n", qPrintable(path));
}

}  // namespace

int main(int argc, char** argv) {
    TempDir root;
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        std::filesystem::create_directories(root / variable);
        qputenv(variable, QByteArray::fromStdString((root / variable).string()));
    }
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: kelo-gui-screenshots DIR\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    QDir().mkpath(out.path());

    for (const char* name :
         {"ACME-Social-Post1.png", "ACME-logo-v2.psd", "ACME-banner-final.png", "Bloom-Packaging-Box.ai",
          "Bloom brief.docx", "CafeSaiGon-menu-Tet.pdf", "Tài liệu tham khảo.pdf", "Screenshot 2026-11-20.png",
          "hoa-don-thang-10.pdf", "Trà Xanh nhãn 1.ai", "Trà Xanh nhãn 2.ai", "Trà Xanh hộp quà.pdf"}) {
        writeFile(root / "Downloads" / name, "sample");
        // Two days old, so the executor does not hold them back as possibly still being written.
        std::filesystem::last_write_time(root / "Downloads" / name,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(48));
    }
    writeFile(root / "Projects/ACME/Working/old.psd", "psd");
    writeFile(root / "Projects/Bloom/Export/box.png", "png");
    std::filesystem::create_directories(root / "Projects/CafeSaiGon");

    AppModel model;
    MainWindow window(model);
    window.resize(1100, 720);
    window.show();
    model.start(root / "data");
    settle(model);
    {
        OnboardingDialog dialog(model);
        dialog.show();
        save(dialog, out, "onboarding");
    }
    model.addGrant(root / "Downloads", FolderGrant::Role::watch);
    model.addGrant(root / "Projects", FolderGrant::Role::projectHome);
    settle(model);
    Settings settings = model.snapshot()->state->settings;
    settings.dryRun = false;
    settings.onboardingCompleted = true;
    settings.usagePreset = UsagePreset::design;
    settings.displayName = "Lan Anh";
    settings.thresholds = {80, 60};
    model.updateSettings(settings);
    model.submit("sort", EngineActions::sortFile(root / "Downloads/ACME-banner-final.png",
                                                 {"ACME", Category::export_, std::nullopt}));
    model.submit("sort", EngineActions::sortFile(root / "Downloads/CafeSaiGon-menu-Tet.pdf",
                                                 {"CafeSaiGon", Category::reference, "Thực đơn Tết"}));
    settle(model);
    if (!model.refusal().isEmpty()) std::fprintf(stderr, "refused: %s\n", qPrintable(model.refusal()));

    // A file chosen on Match shows its actions enabled.
    window.page(1)->findChild<QTableWidget*>("matchTable")->selectRow(0);

    const char* pages[] = {"overview", "match", "projects", "history", "settings"};
    for (int i = 0; i < 5; ++i) {
        window.showPage(i);
        save(window, out, QString("%1-%2").arg(i + 1).arg(pages[i]));
    }

    {
        RenameDialog dialog("ACME-logo-v2.psd", {"ACME", "Logo", "Tệp"});
        dialog.show();
        save(dialog, out, "rename");
    }

    // The same window after a refusal, and a second window whose engine could not start.
    window.showPage(4);
    settings.thresholds = {70, 70};
    model.updateSettings(settings);
    settle(model);
    save(window, out, "settings-refusal");

    AppModel blocked;
    MainWindow failed(blocked);
    failed.resize(1100, 720);
    failed.show();
    blocked.start(root / "data");  // the first model holds the lock
    settle(blocked);
    save(failed, out, "startup-failure");
    return 0;
}
