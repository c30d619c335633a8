// kelo-gui: the desktop app. One window per data directory: a second launch asks
// the running one to show itself and exits.
#include <QApplication>
#include <QCommandLineParser>
#include <QPointer>

#include "gui/app_model.h"
#include "gui/background_mode.h"
#include "gui/live_inbox.h"
#include "gui/companion/companion.h"
#include "gui/main_window.h"
#include "gui/style.h"
#include "gui/onboarding_dialog.h"
#include "gui/single_instance.h"
#include "store/data_directory.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Kelo"));
    QApplication::setApplicationName(QStringLiteral("Kelo"));
    QApplication::setApplicationVersion(QStringLiteral(KELO_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QStringLiteral("app.kelo.Kelo"));
    QApplication::setWindowIcon(kelo::gui::BackgroundMode::applicationIcon());

    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption dataDirOption(QStringLiteral("data-dir"), QStringLiteral("Where Kelo keeps its data."),
                                     QStringLiteral("DIR"));
    parser.addOption(dataDirOption);
    parser.process(app);

    std::optional<std::filesystem::path> override;
    if (parser.isSet(dataDirOption)) override = parser.value(dataDirOption).toStdString();
    const std::filesystem::path dataDirectory = kelo::locateDataDirectory(override);

    const QString serverName = kelo::gui::SingleInstance::serverNameFor(dataDirectory);
    if (kelo::gui::SingleInstance::askRunningToShow(serverName)) return 0;

    kelo::gui::Style::apply(app, kelo::gui::Style::preferred());
    kelo::gui::AppModel model;
    kelo::gui::MainWindow window(model);
    kelo::gui::LiveInbox liveInbox(model);  // a finished download shows up without a rescan
    kelo::gui::SingleInstance instance(serverName, [&window] { window.showAndRaise(); });
    window.installTrayIcon();
    window.show();
    window.companion()->showAtStartIfChosen();

    // The first snapshot decides whether the first-run dialog is due; it is offered
    // once per launch.
    bool onboardingOffered = false;
    QObject::connect(&model, &kelo::gui::AppModel::snapshotChanged, &window, [&] {
        if (onboardingOffered || !model.snapshot() || !kelo::gui::OnboardingDialog::needed(*model.snapshot())) return;
        onboardingOffered = true;
        auto* dialog = new kelo::gui::OnboardingDialog(model, &window);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        // After trying the sample folders, the user lands where the suggestions are.
        QObject::connect(dialog, &QDialog::finished, &window, [&window, dialog] {
            if (dialog->samplesMade()) window.showPage(1);
        });
        dialog->open();
    });
    model.start(dataDirectory);
    return QApplication::exec();
}
